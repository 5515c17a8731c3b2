#include "ApprovalMaintain.h"

#include <stdexcept>

#include "MemberLists.h"
#include "SqlText.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

// The columns an approval copies from the pending record to the card.
const char* const kApprovedColumns[] = {
    "FCardFlowno", "FVipName",  "mobile",       "FCardType", "FCardStatus", "FVipStartDate", "FVipEndDate",
    "FBranchno",   "FOperDate", "FModifyDate",  "FUserName", "FVipTax",     "limit_use",     "salesman",
    "FVipSex",     "birthday",  "marriage",     "FVipTel",   "company",     "FVipEmail",     "FSocialId",
    "FVipAdd",     "FVipZip",   "FSalaryLevel", "degree",    "favor",       "memo",          "nation"};

} // namespace

std::string approvalBatch(db::TsqlDatabase& db, const platform::RecordList& package)
{
    std::string batch;
    for (const auto& item : package) {
        const std::string card = item.text("FCardId");
        if (!db.query("select FCardId from T_Pos_VipRecord where FCardId=" + quoted(card) +
                      " and FDeleted<>0")
                 .atEnd())
            throw std::runtime_error("会员卡【" + card + "】已被删除，不能审核");
        const auto pending = db.query("select * from T_Pos_VipRecordCheck where FCardId=" + quoted(card) +
                                      " order by FCheckId desc");
        if (pending.atEnd()) throw std::runtime_error("会员卡【" + card + "】没有待审核的档案");
        std::string assignments;
        for (const char* column : kApprovedColumns)
            assignments +=
                std::string(assignments.empty() ? "" : ",") + column + "=" + literal(pending.field(column));
        batch += "update T_Pos_VipRecord set " + assignments + " where FCardId=" + quoted(card) + "\r\n";
        batch += "delete from T_Pos_VipRecordCheck where FCardId=" + quoted(card) + "\r\n";
    }
    return batch;
}

db::Database& ApprovalMaintain::db()
{
    return db::sharedDatabase(m_path);
}

platform::RecordList ApprovalMaintain::getList(std::string& condition)
{
    const std::string sql =
        "select * from (select c.*, t.type_name as type_name, case c.FCardStatus when '0' then '正常' when "
        "'1' then '失效'"
        " when '2' then '挂失' when '3' then '作废' when '4' then '黑名单' when '9' then '未使用' else '' "
        "end as status_name"
        " from T_Pos_VipRecordCheck c left join T_Pos_VipType t on t.FTypeId=c.FCardType"
        // The pending records of a deleted card are not offered.
        " where not exists (select 1 from T_Pos_VipRecord r where r.FCardId=c.FCardId and r.FDeleted<>0)) v"
        " where 1=1 " +
        condition + " order by FCheckId";
    platform::RecordList list = db().query(sql).toRecordList();
    m_lastCards.clear();
    for (const auto& item : list)
        m_lastCards.push_back(item.text("FCardId"));
    return list;
}

platform::RecordList ApprovalMaintain::getRalCurMCInfo()
{
    platform::RecordList current;
    for (const auto& card : m_lastCards) {
        const auto rs = db().query(memberListSql(50, "FCardId=" + quoted(card)));
        current.push_back(rs.atEnd() ? platform::FieldMap{} : rs.currentRecord());
    }
    return current;
}

void ApprovalMaintain::updateMCApproveInfo(platform::RecordList& package)
{
    const std::string batch = approvalBatch(db(), package);
    if (!batch.empty()) db().execute(batch);
}

} // namespace ormex::host

#include "CardMaintain.h"

#include <stdexcept>

#include "SqlText.h"
#include "db/CardSeal.h"
#include "db/OperLog.h"
#include "db/SharedDatabases.h"
#include "platform/HostServices.h"
#include "platform/Text.h"

namespace ormex::host {

namespace {

// The holder's details and the card's standing, which a replacement card takes over.
const char* const kTakenOver[] = {"FVipName",    "mobile",       "FVipSex",   "birthday",     "marriage",
                                  "FVipTel",     "company",      "FVipEmail", "FSocialId",    "FVipAdd",
                                  "FVipZip",     "FSalaryLevel", "degree",    "favor",        "memo",
                                  "nation",      "FAccNum",      "FDecNum",   "FResidualAmt", "FVipStartDate",
                                  "FVipEndDate", "password",     "FVipTax",   "salesman"};

constexpr const char* kCrLf = "\r\n";
// The operation code of a card change (the card screen's 换卡).
constexpr int kCardChangeCode = 8;

} // namespace

std::string CardOperationLogger::statement(const std::string& cardId, int operationCode,
                                           const std::string& operation) const
{
    const auto& system = platform::HostServices::instance().systemInfo();
    std::string address;
    if (system.readTcp(address) != 1) address.clear();
    return db::operLogStatement({userId, session, "MCM0001", operationCode, "会员卡管理---" + operation,
                                 platform::toUpperAscii(system.computerName().value_or("")), address, cardId,
                                 branchNo});
}

std::string cardOperationName(int operationCode, const platform::FieldMap& change)
{
    switch (operationCode) {
    case 4:
        return "挂失";
    case 5:
        return "恢复";
    case 6:
        return "作废";
    case 8:
        return "换卡";
    case 10:
        return "延期至" + change.text("FVipEndDate");
    case 11:
        return "设置密码";
    }
    return "修改会员卡资料";
}

std::string tableInfoSql(int tableNo, const std::string& condition)
{
    std::string base;
    switch (tableNo) {
    case platform::table::GiftCatalogue:
        base =
            "select g.FItemId as FItemID, i.FNumber, i.FBarCode, i.FName, i.FUnit, g.FItemNum,"
            " case when g.FCardType='All' then '' else t.type_name end as type_name, g.FVipNum, g.FBeginDate,"
            " g.FEndDate, s.FName as FStockName, g.FBranchID, g.FBranchNo, g.FCardType, i.FIsAuxi"
            " from T_Pos_VipGift g join t_Item i on i.FItemID=g.FItemId"
            " left join T_Pos_VipType t on t.FTypeId=g.FCardType left join t_stock s on "
            "s.FItemID=g.FBranchID";
        break;
    case platform::table::Goods:
        base = "select FItemID, FNumber, FBarCode, FName, FUnit, FIsAuxi, Fdetail, FDeleted from t_Item";
        break;
    case platform::table::Warehouses:
        base = "select FItemID, FNumber, FName from t_stock";
        break;
    case platform::table::AuxProps:
        base = "select a.FAuxPropID, a.FAuxPropNum, a.FAuxPropName, i.FItemID, i.FNumber, i.FName"
               " from t_AuxProp a join t_Item i on i.FItemID=a.FItemID";
        break;
    case platform::table::PaymentMethods:
        base = "select FItemID, FNumber, FName, FDeleted from t_PayMethod";
        break;
    case platform::table::CardTypes:
        base = "select FTypeId, type_name, FSavingFlag, FAccFlag from T_Pos_VipType";
        break;
    default:
        throw std::invalid_argument("no table " + std::to_string(tableNo));
    }
    std::string sql = "select * from (" + base + ") v";
    if (!platform::trim(condition).empty()) sql += " where " + condition;
    return sql;
}

db::Database& CardMaintain::db()
{
    return db::sharedDatabase(m_path);
}

platform::Recordset CardMaintain::execQuery(const std::string& sql)
{
    return db().query(sql);
}

void CardMaintain::executeSql(const std::string&, const std::string& sql)
{
    db().execute(sql);
}

void CardMaintain::executeSqlChecked(const std::string&, const std::string& sql,
                                     const std::vector<platform::ReadCheck>& checks)
{
    db().executeChecked(sql, checks);
}

platform::Recordset CardMaintain::getTableInfo(int tableNo, const std::string& condition, bool)
{
    return db().query(tableInfoSql(tableNo, condition));
}

bool CardMaintain::checkPassword(const platform::Value& item, const std::string& password)
{
    // The password arrives with its quotes already doubled.
    const auto rs =
        db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(item.toString()) +
                   " and isnull(password,'')='" + password + "'");
    return rs.field("n").toInt() > 0;
}

bool CardMaintain::checkCardExist(const std::string& cardNo, const std::string& condition)
{
    std::string sql = "select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(cardNo);
    if (!platform::trim(condition).empty()) sql += " and (" + condition + ")";
    return db().query(sql).field("n").toInt() > 0;
}

bool CardMaintain::checkCardTypeEqual(const std::string& cardNo, platform::Value& typeId)
{
    const auto rs = db().query("select FCardType from T_Pos_VipRecord where FCardId=" + quoted(cardNo));
    return !rs.atEnd() && platform::iequals(platform::trim(rs.field("FCardType").toString()),
                                            platform::trim(typeId.toString()));
}

std::string CardMaintain::getCardTypeName(const std::string& cardNo)
{
    const auto rs =
        db().query("select t.type_name from T_Pos_VipRecord r join T_Pos_VipType t on t.FTypeId=r.FCardType"
                   " where r.FCardId=" +
                   quoted(cardNo));
    return rs.atEnd() ? std::string() : rs.field("type_name").toString();
}

long CardMaintain::changeMemberCard(platform::Value& oldKey, platform::Value&, std::string& newCardNo,
                                    platform::Value& newType)
{
    const std::string oldNo = oldKey.toString();
    const auto old =
        db().query("select * from T_Pos_VipRecord where FCardId=" + quoted(oldNo) + " and FDeleted=0");
    if (old.atEnd()) return 0;
    const std::string type = newType.toString();
    if (newCardNo == oldNo) {
        if (db().query("select count(*) as n from T_Pos_VipType where FTypeId=" + quoted(type))
                .field("n")
                .toInt() == 0)
            return 0;
        db().execute("update T_Pos_VipRecord set FCardType=" + quoted(type) +
                     " where FCardId=" + quoted(oldNo) + kCrLf +
                     m_logger.statement(oldNo, kCardChangeCode, "更换卡类别：" + type));
        return 1;
    }
    // The new card must be an unused card of this database.
    if (db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(newCardNo) +
                   " and FCardStatus='9' and FDeleted=0")
            .field("n")
            .toInt() == 0)
        return 0;
    db().execute(cardChangeBatch(old, oldNo, newCardNo, type) + kCrLf +
                 m_logger.statement(oldNo, kCardChangeCode, "换卡：更换成" + newCardNo) + kCrLf +
                 m_logger.statement(newCardNo, kCardChangeCode, "换卡：由" + oldNo + "换入"));
    return 1;
}

bool CardMaintain::updateMCInfo(platform::FieldMap& record, int mode, int& operationCode)
{
    return updateMCInfo(record, mode, operationCode, {});
}

bool CardMaintain::updateMCInfo(platform::FieldMap& record, int, int& operationCode,
                                const std::string& followingBatch)
{
    const std::string cardNo = record.text("FCardId");
    if (cardNo.empty()) return false;
    // A card deleted since the screen found it is not written.
    if (db().query("select count(*) as n from T_Pos_VipRecord where FCardId=" + quoted(cardNo) +
                   " and FDeleted=0")
            .field("n")
            .toInt() == 0)
        return false;
    std::string logged = m_logger.statement(cardNo, operationCode, cardOperationName(operationCode, record));
    if (!followingBatch.empty()) logged += kCrLf + followingBatch;
    db().execute(cardRecordBatch(record, logged));
    return true;
}

std::vector<std::string> CardMaintain::cardsChangedOutside(const std::vector<std::string>& cards)
{
    const auto& key = db::sealKey();
    if (!key || cards.empty()) return {};
    std::vector<std::string> changed;
    for (const db::SealMismatch& card : db::sealMismatches(db(), *key, cards))
        changed.push_back(card.card);
    return changed;
}

std::string cardRecordBatch(const platform::FieldMap& record, const std::string& followingBatch)
{
    std::string assignments;
    for (const auto& [column, value] : record) {
        if (platform::iequals(column, "FCardId")) continue;
        if (!assignments.empty()) assignments += ",";
        const bool textColumn = platform::iequals(column, "FCardStatus");
        assignments += column + "=" + (textColumn ? quoted(value.toString()) : literal(value));
    }
    std::string batch;
    if (!assignments.empty())
        batch =
            "update T_Pos_VipRecord set " + assignments + " where FCardId=" + quoted(record.text("FCardId"));
    if (!followingBatch.empty()) batch += "\r\n" + followingBatch;
    return batch;
}

std::string cardChangeBatch(const platform::Recordset& old, const std::string& oldNo,
                            const std::string& newNo, const std::string& type)
{
    std::string assignments;
    for (const char* column : kTakenOver)
        assignments += std::string(column) + "=" + literal(old.field(column)) + ",";
    return "update T_Pos_VipRecord set " + assignments + "FCardType=" + quoted(type) + ",FCardStatus='0'" +
           " where FCardId=" + quoted(newNo) + "\r\n" +
           "update T_Pos_VipRecord set FCardStatus='3',FAccNum=0,FDecNum=0,FResidualAmt='0' where FCardId=" +
           quoted(oldNo) + "\r\n" + "update T_Pos_VipConsume set FCardId=" + quoted(newNo) +
           " where FCardId=" + quoted(oldNo);
}

} // namespace ormex::host

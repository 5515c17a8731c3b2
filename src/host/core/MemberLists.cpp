#include "MemberLists.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "platform/Text.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

const char* const kStatusName =
    "case FCardStatus when '0' then '正常' when '1' then '失效' when '2' then '挂失' when '3' then '作废' "
    "when '4' then '黑名单' when '9' then '未使用' else '' end";

// The select list: the named columns, or every column. Names come from the screens' code, never
// from an operator, but one that is not a plain identifier is refused rather than written into
// the statement.
std::string selectList(const std::vector<std::string>& columns)
{
    if (columns.empty()) return "*";
    std::string list;
    for (const std::string& column : columns) {
        const bool plain = !column.empty() && !std::isdigit(static_cast<unsigned char>(column.front())) &&
                           std::all_of(column.begin(), column.end(), [](char c) {
                               return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
                           });
        if (!plain) throw std::invalid_argument("not a column of a member list: " + column);
        list += (list.empty() ? "" : ", ") + column;
    }
    return list;
}

} // namespace

std::string memberListSql(int listNo, const std::string& condition, const std::vector<std::string>& columns)
{
    std::string base = "select " + selectList(columns) +
                       " from (select r.*, t.type_name as type_name, t.type_name as FCardTypeName, " +
                       kStatusName +
                       " as status_name, r.FAccNum-r.FDecNum as cur_num from T_Pos_VipRecord r "
                       "left join T_Pos_VipType t on t.FTypeId=r.FCardType) v where FDeleted=0";
    if (listNo == 51)
        base += " and FCardStatus='9'";
    else if (listNo != 50)
        throw std::invalid_argument("no member list " + std::to_string(listNo));
    if (platform::trim(condition).empty()) return base;
    return base + " and (" + condition + ")";
}

std::string MemberLists::getListSql(const std::string& condition, const std::string&)
{
    return memberListSql(m_list, condition, m_columns);
}

platform::Recordset MemberLists::getListRecordset(const std::string& condition, const std::string& second)
{
    auto* db = &db::sharedDatabase(m_path);
    return db->query(getListSql(condition, second));
}

platform::RecordList MemberLists::getList(const std::string& condition, const std::string& second)
{
    return getListRecordset(condition, second).toRecordList();
}

} // namespace ormex::host

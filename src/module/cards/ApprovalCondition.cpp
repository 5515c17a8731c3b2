#include "ApprovalCondition.h"

#include "platform/Text.h"

namespace ormex::module::cards {

using platform::entryCode;
using platform::padEntry;
using platform::quoted;
using platform::trim;

const std::vector<std::string>& approvalOperatorEntries()
{
    static const std::vector<std::string> entries = {
        "",
        padEntry("等于", 34, "="),
        padEntry("大于", 34, ">"),
        padEntry("小于", 34, "<"),
        padEntry("大于等于", 34, ">="),
        padEntry("小于等于", 34, "<="),
        padEntry("不等于", 34, "<>"),
    };
    return entries;
}

const std::vector<std::string>& approvalStatusEntries()
{
    static const std::vector<std::string> entries = {
        padEntry("正常", 35, "0"), padEntry("失效", 35, "1"),   padEntry("挂失", 35, "2"),
        padEntry("作废", 35, "3"), padEntry("黑名单", 35, "4"), padEntry("未使用", 35, "9"),
    };
    return entries;
}

std::string buildApprovalCondition(const ApprovalConditionInput& input)
{
    std::string condition;
    if (!trim(input.cardId).empty()) condition += " and FCardId =" + quoted(input.cardId);
    if (!trim(input.name).empty()) condition += " and FVipName =" + quoted(input.name);
    if (const std::string op = entryCode(input.operatorEntry); !op.empty())
        condition += " and FModifyDate " + op + quoted(input.date);
    if (const std::string status = entryCode(input.statusEntry); !status.empty())
        condition += " and FCardStatus =" + quoted(status);
    if (!trim(input.branchNo).empty()) condition += " and FBranchno =" + quoted(input.branchNo);
    if (!trim(input.mobile).empty()) condition += " and mobile =" + quoted(input.mobile);
    return condition;
}

} // namespace ormex::module::cards

#pragma once

#include <string>
#include <vector>

// The condition fields of the approval screen and the condition text they build for the list of
// member records waiting for approval.
namespace ormex::module::cards {

// Entries of the edit-date operator list: an empty entry, then 等于 大于 小于 大于等于 小于等于 不等于,
// each padded to 34 double-byte columns before "|" and its operator.
const std::vector<std::string>& approvalOperatorEntries();
// Entries of the status list: 正常 失效 挂失 作废 黑名单 未使用, padded to 35 columns before "|" and
// the status code.
const std::vector<std::string>& approvalStatusEntries();

struct ApprovalConditionInput
{
    std::string cardId = {};        // 会员卡号
    std::string name = {};          // 姓名
    std::string operatorEntry = {}; // the chosen operator entry ("" for none)
    std::string date = {};          // yyyy-mm-dd
    std::string statusEntry = {};   // the chosen status entry ("" for none)
    std::string branchNo = {};      // 分店机构
    std::string mobile = {};        // 手机
};

// "" or a text beginning with " and ". Field texts are inserted as typed (not trimmed, quotes
// not doubled); a field counts as filled when it is not blank.
std::string buildApprovalCondition(const ApprovalConditionInput& input);

} // namespace ormex::module::cards

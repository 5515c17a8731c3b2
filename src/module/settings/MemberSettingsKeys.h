#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/FieldMap.h"

// The member settings of category "VIP" in t_SystemProfile: which control of the settings screen
// shows each, how, and whether a branch linked to headquarters may edit it. Loading, collecting,
// change tracking and branch locking of the screen all read this one table, in the order the
// screen loads and saves the keys.
namespace ormex::module::settings {

enum class SettingKind {
    List,    // drop-down list; stored as the index of the entry ("0" 条码卡, "1" 磁卡)
    Text,    // text box; stored as typed, quotes doubled in the statement
    Flag,    // check box; "1" ticked, "0" not
    Options, // pair of option buttons <control>_0 and <control>_1; "0" for the first, else "1"
    Amount,  // number field, two decimals; an untouched field is written back as it was stored
};

struct MemberSetting
{
    std::string_view key;
    std::string_view control; // the control's objectName
    SettingKind kind;
    bool linkedBranchEditable; // false: disabled in a branch linked to headquarters
    bool marksChange = true;   // false: changing it does not count as a change of the settings
};

inline constexpr std::array<MemberSetting, 21> kMemberSettings = {{
    {"MCType", "cmbMCType", SettingKind::List, false},
    {"SVCType", "cmbSVCType", SettingKind::List, false},
    {"CardNumProfix", "txtCardNumProfix", SettingKind::Text, false},
    {"CardNumSuffix", "txtCardNumSuffix", SettingKind::Text, false},
    {"GoodsPointWork", "chkGoodsPointWork", SettingKind::Flag, true},
    {"CoverCardNum", "chkCoverCardNum", SettingKind::Flag, true},
    {"PrintCardNum", "chkPrintCardNum", SettingKind::Flag, true},
    {"UptMemMsgDirect", "chkUptMemMsgDirect", SettingKind::Flag, true},
    {"PrintMemName", "chkPrintMemName", SettingKind::Flag, true},
    {"BranchShareMem", "chkBranchShareMem", SettingKind::Flag, true},
    {"ManPointRuleIndep", "chkManPointRuleIndep", SettingKind::Flag, true},
    {"SetVipGiftAtZb", "ChkSetVipGift", SettingKind::Flag, true},
    {"SVCardShareType", "optSVCardShareType", SettingKind::Options, true},
    {"LeaveAmount", "fltLeaveAmount", SettingKind::Amount, false},
    {"DailyAmtLimit", "fltDailyAmtLimit", SettingKind::Amount, false},
    {"MaxFillAmount", "fltMaxFillAmount", SettingKind::Amount, false},
    {"MothlyAmtLimit", "fltMothlyAmtLimit", SettingKind::Amount, false},
    {"AllowFillPlusAmt", "chkAllowFillPlusAmt", SettingKind::Flag, false},
    {"PrintCardShowNum", "chkPrintCardShowNum", SettingKind::Flag, false},
    {"InputPSWOverLim", "chkInputPSWOverLim", SettingKind::Flag, false, false},
    {"LimitAmount", "fltLimitAmount", SettingKind::Amount, false},
}};

// The update batch of a save: one UPDATE per key in the table's order, each followed by CR LF.
// Every value has its quotes doubled. Throws std::invalid_argument naming the key when `values` lacks one: a
// missing value is never written over a stored one.
std::string buildSettingsSaveBatch(const platform::FieldMap& values);

// The message of the one rule the screen checks, or "" when the limits are acceptable: the
// monthly spending limit may not be below the daily limit (equal limits pass).
std::string checkSpendingLimits(std::string_view dailyLimit, std::string_view monthlyLimit);

} // namespace ormex::module::settings

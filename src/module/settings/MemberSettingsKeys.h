#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/FieldMap.h"

// The member settings of category "VIP" in t_SystemProfile, in the order the settings screen
// loads and saves them.
namespace ormex::module::settings {

inline constexpr std::array<std::string_view, 21> kMemberSettingKeys = {
    "MCType",          "SVCType",          "CardNumProfix",     "CardNumSuffix",
    "GoodsPointWork",  "CoverCardNum",     "PrintCardNum",      "UptMemMsgDirect",
    "PrintMemName",    "BranchShareMem",   "ManPointRuleIndep", "SetVipGiftAtZb",
    "SVCardShareType", "LeaveAmount",      "DailyAmtLimit",     "MaxFillAmount",
    "MothlyAmtLimit",  "AllowFillPlusAmt", "PrintCardShowNum",  "InputPSWOverLim",
    "LimitAmount",
};

// The update batch of a save: one UPDATE per key in the order above, each followed by CR LF. The
// reader prefix and suffix have their quotes doubled; every other value is written as given.
// A key missing from `values` is written with an empty value.
std::string buildSettingsSaveBatch(const platform::FieldMap& values);

// The message of the one rule the screen checks, or "" when the limits are acceptable: the
// monthly spending limit may not be below the daily limit (equal limits pass).
std::string checkSpendingLimits(std::string_view dailyLimit, std::string_view monthlyLimit);

} // namespace ormex::module::settings

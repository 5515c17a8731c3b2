#pragma once

#include <utility>

#include "sql/Database.h"

// The demo data that makes every screen meaningful on first start: card types and point tiers,
// about two hundred cards in every status with balances and points, each with the money rows,
// points movements and branch totals that explain them (DemoMovements), gifts, goods, warehouses,
// payment methods, member records waiting for approval and the settings. The same cards and
// movements are seeded for a branch and for its headquarters; dates are relative to the platform
// clock.
namespace ormex::db {

enum class DemoRole { Branch, Headquarters };

// The demo branch: BranchID 2, BranchNum "01"; headquarters: BranchID 1, BranchNum "00".
inline constexpr const char* kDemoBranchNum = "01";
inline constexpr int kDemoBranchId = 2;
inline constexpr const char* kDemoHeadquartersNum = "00";
inline constexpr int kDemoHeadquartersId = 1;

// The member settings of the demo databases, in the settings screen's order.
inline constexpr std::pair<const char*, const char*> kDemoMemberSettings[] = {
    {"MCType", "0"},
    {"SVCType", "1"},
    {"CardNumProfix", ";"},
    {"CardNumSuffix", "?"},
    {"GoodsPointWork", "1"},
    {"CoverCardNum", "0"},
    {"PrintCardNum", "1"},
    {"UptMemMsgDirect", "1"},
    {"PrintMemName", "1"},
    {"BranchShareMem", "1"},
    {"ManPointRuleIndep", "0"},
    {"SetVipGiftAtZb", "1"},
    {"SVCardShareType", "1"},
    {"LeaveAmount", "0"},
    {"DailyAmtLimit", "2000"},
    {"MaxFillAmount", "5000"},
    {"MothlyAmtLimit", "20000"},
    {"AllowFillPlusAmt", "0"},
    {"PrintCardShowNum", "1"},
    {"InputPSWOverLim", "1"},
    {"LimitAmount", "500"},
};

// Seeds an empty database that has the schema, in one transaction. Throws DbError.
void seedDemo(Database& db, DemoRole role);

} // namespace ormex::db

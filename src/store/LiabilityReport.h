#pragma once

#include <string>
#include <vector>

#include "platform/Recordset.h"
#include "sql/TsqlDatabase.h"

// What the company owes its members as of now: the stored value on their cards (each balance
// decoded with the one balance codec) and the points they have left (accumulated minus used), by
// card type, by card status and by branch, with the number of cards; and what moved in a period:
// recharges, points turned into stored value, opening amounts, and the points movements by kind.
// A balance that does not decode is never counted as 0: it is listed apart, and its card still
// counts, with its points. The period takes dates as dates, whatever the time's form. A deleted card
// that still holds stored value or points is still owed them: it stands on a line of its own, out
// of the groups, and counts in the total.
namespace ormex::db {

struct LiabilityLine
{
    std::string group; // the type, status or branch, as the screens name it
    long cards = 0;
    double balance = 0;
    double points = 0;
};

struct UndecodableBalance
{
    std::string card;
    std::string stored; // FResidualAmt as it stands
};

struct MovementLine
{
    std::string kind; // 充值, 积分转储值, 初始金额; 积分冲减, 礼品兑换, 积分奖励, 积分转储值, 积分清零
    long rows = 0;
    double total = 0; // money, or points
};

struct LiabilityReport
{
    std::vector<LiabilityLine> byType, byStatus, byBranch; // live cards
    LiabilityLine deleted; // deleted cards that hold a balance or points other than 0
    LiabilityLine total;   // the groups and the deleted cards
    std::vector<UndecodableBalance> undecodable;
    std::string from, to;             // the period, dates yyyy-mm-dd, both days included
    std::vector<MovementLine> money;  // stored-value movements of the period
    std::vector<MovementLine> points; // points movements of the period
};

// Reads the report from a database of either engine. Throws DbError.
LiabilityReport liabilityReport(TsqlDatabase& db, const std::string& from, const std::string& to);

// The report as tables, each with a title: 按卡类别, 按卡状态, 按分店, the deleted cards, 合计,
// 无法解码的余额, and the period's movements.
std::vector<std::pair<std::string, platform::Recordset>> liabilityTables(const LiabilityReport& report);

} // namespace ormex::db

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/DateTime.h"
#include "platform/Money.h"
#include "platform/Recordset.h"

// The history of one card: every points movement (T_Pos_VipGiftList), every money-list row
// (T_Pos_AddMoneyList) and every card operation of the operation log (t_OperLog), newest first,
// with the points and stored value the card held after each.
//
// The running values are counted back from what the card holds now through the changes listed,
// so the newest row ends at the card's present points and balance. A card starts with nothing:
// when the changes do not explain what it holds (a sale paid at a till, a change outside the
// system), what is left before the oldest row is the difference, and the history says so.
namespace ormex::module::cards {

// Which database the history is read from: the session's own, or headquarters in a linked
// branch, which holds the replays of every branch.
enum class HistoryDatabase { Local, Headquarters };

struct HistoryEntry
{
    std::optional<platform::DateTime> when; // nothing when the row's date cannot be read
    std::string branch;
    std::string operatorName; // the operator's name; their number where the name is not known
    std::string kind; // 积分奖励 积分冲减 礼品兑换 积分转储值 积分清零 充值 初始金额 换卡转出 换卡转入 卡操作
    double points = 0;      // the change of the card's points
    platform::Money amount; // the change of the card's stored value
    double pointsAfter = 0;
    std::optional<platform::Money> balanceAfter; // nothing when the card's balance does not decode
    std::string detail;
};

struct CardHistory
{
    std::string card;
    std::string name, typeName, status;
    double points = 0;                      // accumulated minus used, now
    std::optional<platform::Money> balance; // decoded, now; nothing when it does not decode
    std::vector<HistoryEntry> entries;      // newest first
    // What the card held before its oldest row: its present values less every change listed. Both
    // are 0 when the changes explain what the card holds; the balance is nothing when it does not
    // decode.
    double openingPoints = 0;
    std::optional<platform::Money> openingBalance;
};

// The kinds in the order the filter offers them.
const std::vector<std::string>& HistoryKinds();

// The reads of a card's history, in the system's T-SQL (either engine).
std::string CardRowSql(const std::string& card);
std::string PointsMovementsSql(const std::string& card);
std::string MoneyRowsSql(const std::string& card);
std::string CardOperationsSql(const std::string& card);

// Merges the rows of the three reads into one list with running values. `cardRow` is the result
// of CardRowSql; an empty one leaves the card's values at 0.
CardHistory BuildCardHistory(const std::string& card, const platform::Recordset& cardRow,
                             const platform::Recordset& points, const platform::Recordset& money,
                             const platform::Recordset& operations);

// Reads and builds the history from a database. Throws when a read fails, headquarters cannot be
// reached or the card is not there (a deleted card is not); the operation log is left out of a
// database that has no card column in it yet.
CardHistory ReadCardHistory(const std::string& card, HistoryDatabase from);

struct HistoryFilter
{
    std::optional<platform::Date> from, to; // both days included
    std::string kind;                       // "" for every kind
};
std::vector<HistoryEntry> FilterHistory(const std::vector<HistoryEntry>& entries,
                                        const HistoryFilter& filter);

struct HistoryTotals
{
    long rows = 0;
    double points = 0;
    platform::Money amount;
};
HistoryTotals TotalsOf(const std::vector<HistoryEntry>& entries);

// A change as the list shows it: "+100", "-40", "" for none; money with two decimals.
std::string SignedPoints(double change);
std::string SignedAmount(platform::Money change);

// What the window says when the card's changes do not explain what it holds: the difference of
// the balance and of the points, each named only when it is not 0. "" when the history adds up.
std::string MismatchText(const CardHistory& history);

} // namespace ormex::module::cards

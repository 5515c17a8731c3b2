// The batches of the points and stored-value screens over N cards, run by the T-SQL executor
// (Database::execute: parse, compile each statement shape once, bind the literals, one
// transaction) next to a floor: the same row changes made by libsqlite3 directly, each statement
// compiled once and bound, in one transaction, on a connection with the same settings. The ratio
// of the two is the price of running the screens' T-SQL instead of hand-written native code.
//
// The shapes the screens send one card (or one save) at a time run N times, each its own
// execute() and so its own transaction, against a floor that commits N transactions as well (its
// statements compiled once for all of them).
//
// Every iteration starts both from a copy of the same database of N generated cards. The floor's
// result is checked against the executor's after every run (totals of every table the shapes
// touch) and row by row after the first run of each benchmark, so the floor cannot get cheaper by
// doing less.
//
// The reported time is the executor's; the counters give both sides:
//   exec_ms, floor_ms      mean time of one run over all N cards (gift rows, settings saves)
//   ratio                  executor time / floor time, over all runs
//   per_card_us            executor time per card; floor_per_card_us the same for the floor
//   batch_mb               size of the batch text (of all N batches of a single-card shape)
//   peak_extra_mb          the highest resident memory during execute() above what the process
//                          held just before it (the largest over the runs)
#pragma once

#include <sqlite3.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "NativeSqlite.h"

namespace ormex::bench {

// The session every batch and floor runs in.
inline constexpr const char* kOperDate = "2026-11-23 10:00:00";
inline constexpr const char* kUserId = "16394";
inline constexpr long long kUser = 16394;
inline constexpr long long kBranchId = 1;
inline constexpr const char* kBranchNo = "01";

// A generated card as the template holds it.
struct Card
{
    std::string id;
    double accumulated = 0; // FAccNum
    double used = 0;        // FDecNum
    double balance = 0;     // FResidualAmt decoded
};

// What a template holds besides its cards and the branch number, written over a copy of the
// cards' template.
struct Fixture
{
    const char* name = "";                    // added to the template's file name
    std::string (*sql)(long cards) = nullptr; // the native SQL that writes it
};

// One run of a floor over a copy of the template. `now` is the getdate() of the batch: one
// date-time for the whole run (empty for the shapes sent one card at a time).
using Floor = std::function<void(sqlite3* db, const std::string& now)>;

// A shape of batch: the executor's batches from the screens' builders, and the floor's native
// equivalent.
struct Shape
{
    // Nothing but the cards when null.
    const Fixture* fixture = nullptr;
    // Sent one card (or one save) at a time: N batches, N transactions, and a floor that commits
    // each card itself. Otherwise the floor runs in one transaction of the caller's.
    bool perCard = false;
    std::vector<std::string> (*batches)(const std::vector<Card>& cards) = nullptr;
    // The floor over these cards, what it needs besides the card list prepared before the clock
    // starts, as the batch text is.
    Floor (*floor)(const std::vector<Card>& cards) = nullptr;
};

// The floor of a shape that needs nothing besides the card list.
template <void (*run)(sqlite3*, const std::vector<Card>&, const std::string&)>
Floor cardsFloor(const std::vector<Card>& cards)
{
    return [&cards](sqlite3* db, const std::string& now) { run(db, cards, now); };
}

// The statements of every card in one text: group(n, card), n counting the cards from 1.
template <typename Group> std::string everyCard(const std::vector<Card>& cards, Group&& group)
{
    std::string batch;
    int n = 0;
    for (const Card& c : cards)
        batch += group(++n, c);
    return batch;
}

inline std::vector<std::string> oneBatch(std::string batch)
{
    std::vector<std::string> batches;
    batches.push_back(std::move(batch));
    return batches;
}

// A batch per card: batch(n, card), n counting the cards from 1.
template <typename Batch> std::vector<std::string> batchPerCard(const std::vector<Card>& cards, Batch&& batch)
{
    std::vector<std::string> batches;
    batches.reserve(cards.size());
    long n = 0;
    for (const Card& c : cards)
        batches.push_back(batch(++n, c));
    return batches;
}

// The points minus total of a card the branch has no T_Pos_VipConsume row for yet.
inline constexpr const char* kMinusInsertSql = "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno,"
                                               " FVipMinusTotalNum, FComFlag) VALUES (?1, ?2, ?3, ?4, ?5)";

// True when the batch's g_branch_no test holds: the database is the session's branch. It is the
// same for every card, so a floor asks once.
bool isOwnBranch(sqlite3* db);

// The benchmark `name` of a shape, over 1,000 to 100,000 cards (1,000 and 10,000 for the shapes
// sent one card at a time).
void registerShape(const char* name, const Shape& shape);

// The benchmark `name` of a shape sent one card at a time, over 1,000 cards, under
// synchronous=NORMAL and FULL, executor and floor. Its counters:
//   commits                        transactions per run (one per card)
//   normal_us, full_us             executor time per commit under each setting
//   floor_normal_us, floor_full_us the floor's time per commit under each setting
//   full_vs_normal                 executor FULL / NORMAL; floor_full_vs_normal the same for the floor
//   ratio_normal, ratio_full       executor / floor under each setting
void registerCommitSync(const char* name, const Shape& shape);

} // namespace ormex::bench

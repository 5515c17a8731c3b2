#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Money.h"
#include "platform/Recordset.h"
#include "sql/Database.h"
#include "sql/TsqlDatabase.h"

// Whether a branch linked to headquarters and headquarters agree on the cards they share: for
// every card of the branch, its stored value (decoded) and its accumulated and used points at both
// ends. A difference is explained when a change of the card still waits to reach headquarters (a
// queued or held replay, a reward not yet exchanged); one that nothing explains was made at one end
// behind the other's back, or belongs to a change that was discarded. A card whose movement ledger
// here is behind what headquarters saw of it from this branch is listed too, whatever its values:
// the branch's file was restored from an older copy.
namespace ormex::db {

struct CardValues
{
    std::optional<platform::Money> balance; // nothing when the stored balance does not decode
    double accumulated = 0;
    double used = 0;
    bool operator==(const CardValues&) const = default;
};

struct CardDifference
{
    std::string card;
    CardValues branch;
    std::optional<CardValues> headquarters; // nothing when headquarters has no such card
    std::vector<std::string> explanations; // "待上传：第3笔 积分冲减", "总部拒收：…", "积分奖励待交换：2笔"
    // Set when the card's movement ledger here is behind the head headquarters last saw of it from
    // this branch: the branch database was put back from an older copy. Never explained.
    std::string ledgerBehind;
    bool explained() const { return !explanations.empty() && ledgerBehind.empty(); }
};

struct Reconciliation
{
    long cardsCompared = 0;
    std::vector<CardDifference> differences; // by card number
    long unexplained() const;
};

// Compares the branch's cards with headquarters'. Throws DbError when either cannot be read.
Reconciliation reconcile(Database& branch, TsqlDatabase& headquarters);

// The differences as a table (card, both values of each, explanation), for printing and CSV.
platform::Recordset differencesTable(const Reconciliation& reconciliation);

} // namespace ormex::db

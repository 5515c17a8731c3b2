#pragma once

#include <string>
#include <vector>

#include "CardSeal.h"

// The movement ledger of each card. Every row of the points movements (T_Pos_VipGiftList) and of
// the money list (T_Pos_AddMoneyList) that the system writes carries the card's next sequence
// number (FSeq) and a link (FChain): a keyed hash over the previous link, the sequence number and
// the row's content. The card row keeps the head of its chain (FLedgerSeq, FLedgerHash), and the
// card's seal covers the head with the balance and points, so:
//   - a movement deleted, altered or added outside the system breaks the chain;
//   - an older state of the card written back (its balance and seal copied from before a
//     recharge) no longer matches its seal, or its head is behind its movements;
//   - where the card's values come from this database alone, they must equal what the chain
//     started from plus every movement after it.
// The system's own connections write the links in the movement's transaction, by temporary
// triggers that call functions only they register (with the seal key); the statements the screens
// send are not changed.
//
// A chain starts empty when the card is created, or from the card as it stands when an older
// database is brought to the ledger or an administrator accepts the card (t_CardLedgerStart:
// where it started, the values then, and a link over them and every movement before).
//
// What the chain cannot tell inside one file: the whole file put back from an older copy, or one
// card's newest movements removed together with its row written back as it was before them.
// Headquarters keeps the head it last saw of each card of each branch for that (BranchLedger.h).
namespace ormex::db {

class Database;
class TsqlDatabase;

// Registers the ledger functions and creates the triggers that chain the movements, on a
// connection that seals (installSealing). Throws DbError.
void installLedger(Database& db);

// Starts the chains of the named cards (every card when empty) from the cards as they stand: their
// movements are linked again in the order they were written, and the start records the values the
// card holds now. Cards that do not match their seal are left out (they are accepted first). Runs
// in one transaction (inside the caller's, when one is open). Returns the number of chains
// started. Needs a connection that seals; throws DbError.
long startLedgers(Database& db, const std::vector<std::string>& cards, const std::string& reason);

// Accepts cards as they stand after an administrator's review: the named ones, or every card with a
// finding (a broken seal or chain) when `cards` is empty. A card that does not match its seal is
// sealed anew (resealCards, with its log row naming `who`), and each card's chain starts again from
// what it holds. One transaction; returns the number of cards accepted. Throws DbError.
long acceptCards(Database& db, const SealKey& key, const std::vector<std::string>& cards,
                 const std::string& who);

struct LedgerFinding
{
    std::string card;
    std::string text; // what was found, in words an administrator reads
};

// Every break of a card's chain, and the cards whose balance or points are not explained by the
// start of their chain and their movements (left out in a branch linked to headquarters, whose
// cards take their values from there). Cards whose seal does not match are sealMismatches'. Either
// engine; needs this process's seal key. Throws DbError.
enum class LedgerCheck {
    ChainsAndValues,
    ChainsOnly, // the links, numbers and heads, not the values they explain
};
std::vector<LedgerFinding> ledgerFindings(TsqlDatabase& db, LedgerCheck check = LedgerCheck::ChainsAndValues);

} // namespace ormex::db

#pragma once

#include <string>
#include <vector>

#include "sql/Database.h"

// The changes a branch linked to headquarters has queued for it (t_HqOutbox), as an administrator
// sees and handles them: the module sends them; what headquarters refused for good is held aside
// here, to be retried once its cause is mended or discarded. Retrying and discarding are logged
// with the operator (t_OperLog, function "HQOUTBOX").
//
// A discarded change never reaches headquarters: the card there keeps the values it had, while the
// branch's copy holds the change. Reconciliation (Reconciliation.h) then lists the card as
// differing, and that difference is no longer explained by a queued change: an administrator
// settles it at headquarters (or at the branch) by hand.
namespace ormex::db {

struct QueuedChange
{
    long long seq = 0;
    std::string date;
    int operation = 0;
    std::string operationName; // 积分冲减 …
    bool held = false;
    int refusals = 0;
    std::string lastError;
    std::string heldDate;
    std::vector<std::string> cards;
};

// Every queued change, oldest first (only the held ones with `heldOnly`).
std::vector<QueuedChange> queuedChanges(Database& db, bool heldOnly = false);

// Who retries or discards, for the log row.
struct OutboxOperator
{
    int userId = 0;
    std::string name;
    std::string machine;
};

// Puts a held change back in line: waiting again, its refusals counted anew; the next sending
// tries it in its turn. Throws DbError when no held change has that number (nothing changed).
void retryHeldChange(Database& db, long long seq, const OutboxOperator& who);
// Removes a held change for good, with its checks and cards, logging what it was (operation,
// cards, error and a fingerprint of its statements). Throws DbError when no held change has that
// number (nothing changed).
void discardHeldChange(Database& db, long long seq, const OutboxOperator& who);

} // namespace ormex::db

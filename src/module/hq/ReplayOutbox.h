#pragma once

#include <string>
#include <vector>

#include "HqOperation.h"
#include "platform/BusinessObjects.h"

// The changes a branch linked to headquarters owes headquarters. An operation's statements are
// queued in the branch's own database (t_HqOutbox, with the values they were computed from in
// t_HqOutboxCheck and the cards they touch in t_HqOutboxCard) in the same transaction as the local
// change, so a change made here is never lost on the way; they are sent in the order they were
// made, and headquarters records each replay it applies (t_HqReplay) in the replay's transaction,
// so a replay sent twice is applied once. A change that could not be sent because headquarters
// could not be reached stays queued and blocks the changes after it; one that headquarters
// refused kHeldAfterRefusals times is held aside with its error for an administrator, and the
// changes after it go on. Sending happens at start, when the operator checks the link, and after
// every operation; the branch's data exchange (DataExchange.h) goes with it.
namespace ormex::module::hq {

// Refusals by headquarters after which a queued change is held aside.
inline constexpr int kHeldAfterRefusals = 3;

// The statements that queue `statements` + CR LF + the operation's t_Log row for headquarters, to
// be run in the same batch as the local change; "" outside a linked branch. The replay runs at
// headquarters only while the values of `checks` still stand there; `cards` are the cards it
// touches.
std::string QueueOnHQ(const std::string& statements, HQOperation operation,
                      const std::vector<platform::ReadCheck>& checks = {},
                      const std::vector<std::string>& cards = {});

// Which database the branch's changes come from, as headquarters keys them: made on first use and
// kept in the branch's settings. Throws when the branch database cannot be written.
std::string ReplayOrigin();

struct ReplayState
{
    int waiting = 0;       // changes not yet held by headquarters, held ones not counted
    int held = 0;          // changes headquarters refused, set aside
    std::string lastError; // why the oldest waiting change was not applied the last time ("" if unknown)
};

// Sends the waiting changes, oldest first, until one is not taken because headquarters cannot be
// reached (or refused it and is not yet held), then the data exchange. Nothing outside a linked
// branch. Never throws.
ReplayState SendQueuedToHQ();
// What is queued, without sending. Never throws (an unreadable queue counts as empty).
ReplayState QueuedForHQ();
// True outside a linked branch, and inside one when nothing waits for headquarters once what can
// be sent was sent; else the operator is told why, and false. An operation that reads headquarters' values to
// compute its change asks first: values read while an earlier change waits would not include it.
// Held changes do not count: they wait for an administrator, not for headquarters.
bool NothingWaitsForHQ();

} // namespace ormex::module::hq

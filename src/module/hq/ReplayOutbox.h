#pragma once

#include <string>
#include <vector>

#include "HqOperation.h"
#include "platform/BusinessObjects.h"

// The changes a branch linked to headquarters owes headquarters. An operation's statements are
// queued in the branch's own database (t_HqOutbox) in the same transaction as the local change,
// so a change made here is never lost on the way; they are sent in the order they were made, and
// headquarters records each replay it applies (t_HqReplay) in the replay's transaction, so a
// replay sent twice is applied once. What could not be sent stays queued with its error and is
// sent again on the next attempt: at start, when the operator checks the link, after the next
// operation.
namespace ormex::module::hq {

// The statement that queues `statements` + CR LF + the operation's t_Log row for headquarters, to
// be run in the same batch as the local change; "" outside a linked branch. The replay runs at
// headquarters only while the values of `checks` still stand there.
std::string QueueOnHQ(const std::string& statements, HQOperation operation,
                      const std::vector<platform::ReadCheck>& checks = {});

struct ReplayState
{
    int waiting = 0;       // changes not yet held by headquarters
    std::string lastError; // why the oldest of them was not applied the last time ("" if unknown)
};

// Sends the queued changes, oldest first, stopping at the first that headquarters does not take.
// Nothing outside a linked branch. Never throws.
ReplayState SendQueuedToHQ();
// What is queued, without sending. Never throws (an unreadable queue counts as empty).
ReplayState QueuedForHQ();
// True outside a linked branch, and inside one when nothing waits for headquarters once what can
// be sent was sent; else the operator is told why, and false. An operation that reads headquarters' values to
// compute its change asks first: values read while an earlier change waits would not include it.
bool NothingWaitsForHQ();

// Read checks as one text for the queue, and back.
std::string EncodeChecks(const std::vector<platform::ReadCheck>& checks);
std::vector<platform::ReadCheck> DecodeChecks(const std::string& text);

} // namespace ormex::module::hq

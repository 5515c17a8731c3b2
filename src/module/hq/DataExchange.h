#pragma once

#include <string>

#include "platform/FieldMap.h"

// The branch's part of the data exchange with headquarters, for a branch linked to it. The points
// rewards the screens write here (movement rows with FComFlag 0) need no answer from headquarters
// at the moment they are made, so they are not replayed as operations are; they are sent
// afterwards, in the order they were written, with the effect they had here (the card's
// accumulated points and this branch's totals), each applied there once (recorded in t_HqReplay
// under the branch's origin for the exchange and the movement's number, in the same transaction)
// and marked 1 here once headquarters holds it. Sent before a change reads headquarters' values, a
// reward is never overwritten by the accumulated points read there. A branch's totals rows written
// with FComFlag 0 are marked 1 once nothing of their card waits for headquarters.
namespace ormex::module::hq {

// Sends what waits; nothing outside a linked branch or when headquarters cannot be reached.
// Throws nothing: what was not sent waits for the next time.
void ExchangeWithHQ();
// The movements that wait to be sent (0 outside a linked branch). Throws nothing.
int PendingExchange();

// The statements that apply one movement row of this branch (its columns as the branch holds
// them) at headquarters: the row itself (marked 1), and for a reward the card's accumulated
// points and this branch's totals there.
std::string ExchangedMovementStatements(const platform::FieldMap& movement);

} // namespace ormex::module::hq

#pragma once

#include <vector>

#include "sql/WriteLocks.h"

// What a batch of the member-card system changes, for the write locks of a headquarters that many
// branches write at once: the card rows of the cards it names (FCardId = '…' or FCardId in (…), in
// its statements and in the reads it is checked against; their totals rows and the heads of their
// ledgers at a branch are only ever written by a write that holds the card), each shared table it changes
// (the gift catalogue, the settings), and the whole database when it changes card rows without naming the
// cards. Appending to the movement and log tables needs no lock of its own: rows appended by two writes never
// meet.
namespace ormex::db {

WriteLocks cardWriteLocks(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks);

} // namespace ormex::db

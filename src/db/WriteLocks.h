#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BatchProgram.h"
#include "platform/BusinessObjects.h"

// What a write takes before it changes anything on a server that many writers share (a
// headquarters of many branches). Each key names one thing the write changes; a write waits only
// for writes that name one of its keys, and takes its keys all at once, in one order, so two
// writes never wait for each other in a circle. A write that cannot name what it changes takes the
// whole database and waits for every other write (and they for it).
namespace ormex::db {

struct WriteLocks
{
    bool whole = false;
    std::vector<std::string> keys; // in any order, duplicates allowed
};

// What a parsed batch changes, and what the reads it is checked against read, as the caller's data
// model knows it. The engine knows no table of its own: without a planner every write takes the
// whole database.
using WriteLockPlanner =
    std::function<WriteLocks(const BatchProgram& batch, const std::vector<platform::ReadCheck>& checks)>;

} // namespace ormex::db

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BatchProgram.h"
#include "platform/BusinessObjects.h"

// What a write takes before it changes anything on a server that many writers share (a
// headquarters of many branches), so that a write waits only for writes of the same things and
// two writes never wait for each other in a circle:
// - the rows it changes of one table, chosen by one column, locked in that column's order (there
//   may be thousands of them: row locks cost the server no shared memory);
// - a few other things by name (a shared table), locked in one fixed order;
// - or the whole database, when it cannot name what it changes: it then waits for every other
//   write, and they for it.
namespace ormex::db {

struct WriteLocks
{
    bool whole = false;
    std::vector<std::string> keys; // names; in any order, duplicates allowed
    struct Rows
    {
        std::string table;
        std::string column;
        std::vector<std::string> values; // in any order, duplicates allowed
    } rows;
};

// What a parsed batch changes, and what the reads it is checked against read, as the caller's data
// model knows it. The engine knows no table of its own: without a planner every write takes the
// whole database.
using WriteLockPlanner =
    std::function<WriteLocks(const BatchProgram& batch, const std::vector<platform::ReadCheck>& checks)>;

} // namespace ormex::db

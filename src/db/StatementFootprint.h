#pragma once

#include <set>
#include <string>

struct sqlite3;

// What a compiled statement touches, as SQLite reports it while compiling: the tables it reads
// and writes, and whether it calls a function whose value is not fixed by its arguments (the
// clock, for instance). The executor uses it to know which conditions give the same answer for
// the same arguments throughout a batch.
namespace ormex::db {

struct StatementFootprint
{
    std::set<std::string> reads;  // lower-case table names
    std::set<std::string> writes; // lower-case table names
    bool variableFunction = false;
};

// Records the footprint of every statement compiled on `db` while it lives.
class FootprintRecorder
{
public:
    FootprintRecorder(sqlite3* db, StatementFootprint& footprint);
    ~FootprintRecorder();
    FootprintRecorder(const FootprintRecorder&) = delete;
    FootprintRecorder& operator=(const FootprintRecorder&) = delete;

private:
    sqlite3* m_db;
};

} // namespace ormex::db

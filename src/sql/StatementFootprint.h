#pragma once

#include <set>
#include <string>
#include <string_view>

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

// What a statement touches, read from its T-SQL text, for an engine that does not report it: the
// tables named after FROM and JOIN (read), after INSERT [INTO], UPDATE and DELETE [FROM]
// (written), and whether it calls a function other than those whose value depends only on their
// arguments. Text it cannot read counts as calling such a function.
StatementFootprint footprintOfText(std::string_view tsql);

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

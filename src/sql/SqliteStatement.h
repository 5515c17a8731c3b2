#pragma once

#include <string>

#include "DbError.h"
#include "StatementFootprint.h"
#include "platform/Value.h"

struct sqlite3;
struct sqlite3_stmt;

// A prepared SQLite statement that finalizes itself.
namespace ormex::db {

// Throws the error of a failed SQLite call: BusyError when the database was locked by another
// connection (SQLITE_BUSY) or a table by this one (SQLITE_LOCKED), DbError with the reason
// otherwise.
[[noreturn]] void throwSqliteError(int resultCode, const std::string& reason);

class SqliteStatement
{
public:
    // SQLite could not read the text at all (as opposed to naming a table or column it lacks).
    class SyntaxError : public DbError
    {
    public:
        using DbError::DbError;
    };

    // Throws SyntaxError, BusyError or DbError with SQLite's reason when the text does not compile.
    SqliteStatement(sqlite3* db, const std::string& sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    sqlite3_stmt* handle() const { return m_stmt; }
    // The tables it reads and writes and whether it calls a clock-like function.
    const StatementFootprint& footprint() const { return m_footprint; }
    void bind(int index, const platform::Value& value);
    // Makes the statement ready to run again; bound values stay until bound anew.
    void reset();
    // Forgets every bound value (so that none points into text that is gone).
    void clearBindings();
    // Steps once; true while a row is available. Throws BusyError or DbError on failure.
    bool step();
    int columnCount() const;
    std::string columnName(int column) const;
    platform::Value column(int column) const;

private:
    sqlite3* m_db;
    sqlite3_stmt* m_stmt = nullptr;
    StatementFootprint m_footprint;
};

} // namespace ormex::db

// Native SQLite, for the floors and for reading and comparing the databases: a connection with
// the executor's settings, statements compiled once and bound by position, transactions.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace ormex::bench {

[[noreturn]] void fail(sqlite3* db, const std::string& what);

void exec(sqlite3* db, const std::string& sql);

class Connection
{
public:
    explicit Connection(const std::filesystem::path& path, int flags = SQLITE_OPEN_READWRITE);
    ~Connection() { sqlite3_close(m_db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
};

// A statement compiled once; binding by position, text bound without a copy (the caller keeps it
// alive until the statement is reset).
class Statement
{
public:
    Statement(sqlite3* db, const char* sql);
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& text(int i, std::string_view value)
    {
        sqlite3_bind_text(m_stmt, i, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
        return *this;
    }
    Statement& integer(int i, long long value)
    {
        sqlite3_bind_int64(m_stmt, i, value);
        return *this;
    }
    Statement& real(int i, double value)
    {
        sqlite3_bind_double(m_stmt, i, value);
        return *this;
    }
    // Steps once: true on a row.
    bool step()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        sqlite3_reset(m_stmt);
        fail(m_db, std::string("cannot run ") + sqlite3_sql(m_stmt));
    }
    // Runs a statement that changes rows.
    void run()
    {
        step();
        sqlite3_reset(m_stmt);
    }
    // Runs a query: true when it returns a row.
    bool exists()
    {
        const bool row = step();
        sqlite3_reset(m_stmt);
        return row;
    }
    sqlite3_stmt* handle() const { return m_stmt; }

private:
    sqlite3* m_db;
    sqlite3_stmt* m_stmt = nullptr;
};

// Runs `work` in a transaction of its own.
template <typename Work> void inTransaction(sqlite3* db, Work&& work)
{
    exec(db, "BEGIN IMMEDIATE");
    try {
        work();
        exec(db, "COMMIT");
    } catch (...) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

} // namespace ormex::bench

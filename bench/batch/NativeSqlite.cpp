#include "NativeSqlite.h"

#include <stdexcept>

#include "sql/Database.h"

namespace ormex::bench {

namespace {

constexpr const char* kPragmas = "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;";

} // namespace

[[noreturn]] void fail(sqlite3* db, const std::string& what)
{
    throw std::runtime_error(what + ": " + sqlite3_errmsg(db));
}

void exec(sqlite3* db, const std::string& sql)
{
    char* error = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        const std::string reason = error ? error : sqlite3_errmsg(db);
        sqlite3_free(error);
        throw std::runtime_error(sql + ": " + reason);
    }
}

Connection::Connection(const std::filesystem::path& path, int flags)
{
    if (sqlite3_open_v2(path.c_str(), &m_db, flags, nullptr) != SQLITE_OK) {
        const std::string reason = m_db ? sqlite3_errmsg(m_db) : "out of memory";
        sqlite3_close(m_db);
        throw std::runtime_error("cannot open " + path.string() + ": " + reason);
    }
    // The executor's connection settings (Database::open).
    sqlite3_busy_timeout(m_db, static_cast<int>(ormex::db::Database::kBusyTimeout.count()));
    exec(m_db, kPragmas);
}

Statement::Statement(sqlite3* db, const char* sql) : m_db(db)
{
    if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_stmt, nullptr) != SQLITE_OK)
        fail(db, std::string("cannot compile ") + sql);
}

} // namespace ormex::bench

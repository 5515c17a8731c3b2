#include "Database.h"

#include <sqlite3.h>

#include "DbError.h"

namespace ormex::db {

// Minimal connection; the dialect executor replaces query() and execute().
std::unique_ptr<Database> Database::open(const std::string& path, OpenMode mode)
{
    sqlite3* handle = nullptr;
    int flags = SQLITE_OPEN_READWRITE | (mode == OpenMode::Create ? SQLITE_OPEN_CREATE : 0);
    if (sqlite3_open_v2(path.c_str(), &handle, flags, nullptr) != SQLITE_OK) {
        std::string reason = handle ? sqlite3_errmsg(handle) : "out of memory";
        sqlite3_close(handle);
        throw OpenError("cannot open database " + path + ": " + reason);
    }
    return std::unique_ptr<Database>(new Database(path, handle));
}

Database::Database(std::string path, sqlite3* db) : m_path(std::move(path)), m_db(db) {}

Database::~Database() { sqlite3_close(m_db); }

platform::Recordset Database::query(std::string_view) { throw DbError("not implemented"); }

void Database::execute(std::string_view) { throw DbError("not implemented"); }

void Database::executeNative(std::string_view script)
{
    char* err = nullptr;
    if (sqlite3_exec(m_db, std::string(script).c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
        std::string reason = err ? err : "unknown error";
        sqlite3_free(err);
        throw DbError(reason);
    }
}

Database::Transaction::Transaction(Database& db) : m_db(db) { m_db.executeNative("BEGIN IMMEDIATE"); }

Database::Transaction::~Transaction()
{
    if (!m_done)
        sqlite3_exec(m_db.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Database::Transaction::commit()
{
    m_db.executeNative("COMMIT");
    m_done = true;
}

} // namespace ormex::db

#include "SqliteStatement.h"

#include <sqlite3.h>

namespace ormex::db {

namespace {

bool isSyntaxError(const std::string& reason)
{
    return reason.find("syntax error") != std::string::npos ||
           reason.find("incomplete input") != std::string::npos ||
           reason.find("unrecognized token") != std::string::npos;
}

} // namespace

void throwSqliteError(int resultCode, const std::string& reason)
{
    const int primary = resultCode & 0xff; // extended codes keep the primary one in the low byte
    if (primary == SQLITE_BUSY || primary == SQLITE_LOCKED) throw BusyError(reason);
    throw DbError(reason);
}

SqliteStatement::SqliteStatement(sqlite3* db, const std::string& sql) : m_db(db)
{
    int rc = SQLITE_OK;
    {
        FootprintRecorder recorder(db, m_footprint);
        rc = sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &m_stmt, nullptr);
    }
    if (rc != SQLITE_OK) {
        std::string reason = sqlite3_errmsg(db);
        sqlite3_finalize(m_stmt);
        m_stmt = nullptr;
        if (isSyntaxError(reason)) throw SyntaxError(reason);
        throwSqliteError(rc, reason);
    }
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_stmt);
}

void SqliteStatement::bind(int index, const platform::Value& value)
{
    using Type = platform::Value::Type;
    switch (value.type()) {
    case Type::Null:
        sqlite3_bind_null(m_stmt, index);
        break;
    case Type::Bool:
        sqlite3_bind_int(m_stmt, index, value.toBool() ? 1 : 0);
        break;
    case Type::Int:
        sqlite3_bind_int64(m_stmt, index, value.toInt());
        break;
    case Type::Double:
        sqlite3_bind_double(m_stmt, index, value.toDouble());
        break;
    case Type::Text: {
        const std::string text = value.toString();
        sqlite3_bind_text(m_stmt, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        break;
    }
    }
}

void SqliteStatement::reset()
{
    if (m_stmt) sqlite3_reset(m_stmt);
}

void SqliteStatement::clearBindings()
{
    if (m_stmt) sqlite3_clear_bindings(m_stmt);
}

bool SqliteStatement::step()
{
    if (!m_stmt) return false;
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throwSqliteError(rc, sqlite3_errmsg(m_db));
}

int SqliteStatement::columnCount() const
{
    return m_stmt ? sqlite3_column_count(m_stmt) : 0;
}

std::string SqliteStatement::columnName(int column) const
{
    const char* name = sqlite3_column_name(m_stmt, column);
    return name ? name : "";
}

platform::Value SqliteStatement::column(int column) const
{
    switch (sqlite3_column_type(m_stmt, column)) {
    case SQLITE_INTEGER:
        return platform::Value(static_cast<long long>(sqlite3_column_int64(m_stmt, column)));
    case SQLITE_FLOAT:
        return platform::Value(sqlite3_column_double(m_stmt, column));
    case SQLITE_NULL:
        return {};
    default: {
        const unsigned char* text = sqlite3_column_text(m_stmt, column);
        return platform::Value(std::string(text ? reinterpret_cast<const char*>(text) : ""));
    }
    }
}

} // namespace ormex::db

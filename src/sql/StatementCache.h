#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "SqliteStatement.h"

struct sqlite3;

// The compiled statements of one connection, by their text. Literals and variables are
// parameters, so the screens' statements have a few hundred distinct texts at most and are
// compiled once per connection. A statement in use stays alive when the cache lets it go.
namespace ormex::db {

class StatementCache
{
public:
    explicit StatementCache(sqlite3* db, std::size_t capacity = 256) : m_db(db), m_capacity(capacity) {}
    // Throws SqliteStatement::SyntaxError or DbError when the text does not compile.
    std::shared_ptr<SqliteStatement> get(const std::string& sql);
    void clear() { m_statements.clear(); }

private:
    sqlite3* m_db;
    std::size_t m_capacity;
    std::unordered_map<std::string, std::shared_ptr<SqliteStatement>> m_statements;
};

// Resets a statement when its use ends, however it ends, so that it holds no lock and is ready
// for the next use. With `forget`, it also keeps no value bound from text that may be gone; a
// batch, whose steps bind every parameter anew, forgets once at its end instead.
class StatementUse
{
public:
    explicit StatementUse(SqliteStatement& statement, bool forget = true)
        : m_statement(statement), m_forget(forget)
    {
    }
    ~StatementUse()
    {
        m_statement.reset();
        if (m_forget) m_statement.clearBindings();
    }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    SqliteStatement& m_statement;
    bool m_forget;
};

} // namespace ormex::db

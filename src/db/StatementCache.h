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
    std::size_t size() const { return m_statements.size(); }

private:
    sqlite3* m_db;
    std::size_t m_capacity;
    std::unordered_map<std::string, std::shared_ptr<SqliteStatement>> m_statements;
};

// Resets a statement when its use ends, however it ends, so that it holds no lock, keeps no value
// bound from text that may be gone, and is ready for the next use.
class StatementUse
{
public:
    explicit StatementUse(SqliteStatement& statement) : m_statement(statement) {}
    ~StatementUse()
    {
        m_statement.reset();
        m_statement.clearBindings();
    }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

private:
    SqliteStatement& m_statement;
};

} // namespace ormex::db

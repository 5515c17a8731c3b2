#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SqliteStatement.h"
#include "TsqlParser.h"
#include "platform/Value.h"

struct sqlite3;

// Runs parsed statements on one connection: data statements as prepared statements with the
// batch's variables bound by name, control flow here. Every statement is prepared before the
// first one runs, so text SQLite cannot read stops the batch before it changes anything. The
// caller owns the transaction.
namespace ormex::db {

class BatchRunner
{
public:
    explicit BatchRunner(sqlite3* db) : m_db(db) {}
    // Throws ParseError when SQLite finds a statement unreadable (nothing ran), StatementError
    // naming the statement that could not be prepared or failed.
    void run(const std::vector<Statement>& statements);

private:
    void prepare(const std::vector<Statement>& statements);
    void runAll(const std::vector<Statement>& statements);
    void run(const Statement& statement);
    platform::Value scalar(const Statement& statement);
    void execute(const Statement& statement);
    SqliteStatement& prepared(const Statement& statement);

    sqlite3* m_db;
    std::map<std::string, platform::Value> m_variables;                      // lower-case name with '@'
    std::map<const Statement*, std::unique_ptr<SqliteStatement>> m_prepared; // the first ones of the batch
    std::unique_ptr<SqliteStatement> m_scratch; // the one running, when it was not kept
};

} // namespace ormex::db

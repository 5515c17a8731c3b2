#pragma once

#include <map>
#include <string>
#include <vector>

#include "TsqlParser.h"
#include "platform/Value.h"

struct sqlite3;

// Runs parsed statements on one connection: data statements as prepared statements with the
// batch's variables bound by name, control flow here. The caller owns the transaction.
namespace ormex::db {

class BatchRunner
{
public:
    explicit BatchRunner(sqlite3* db) : m_db(db) {}
    // Throws StatementError naming the statement that failed.
    void run(const std::vector<Statement>& statements);

private:
    void run(const Statement& statement);
    platform::Value scalar(const Statement& statement);
    void execute(const Statement& statement);

    sqlite3* m_db;
    std::map<std::string, platform::Value> m_variables;
};

} // namespace ormex::db

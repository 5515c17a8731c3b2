#include "BatchRunner.h"

#include <sqlite3.h>

#include "DbError.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Statements kept compiled between the check and the run. Past this many a statement is checked,
// dropped and compiled again when it runs, so a batch over every card of a large database does
// not hold tens of thousands of compiled statements at once.
constexpr std::size_t kKeptPrepared = 512;

void bindVariables(SqliteStatement& stmt, const std::map<std::string, platform::Value>& variables)
{
    const int count = sqlite3_bind_parameter_count(stmt.handle());
    for (int i = 1; i <= count; ++i) {
        const char* name = sqlite3_bind_parameter_name(stmt.handle(), i);
        if (!name) continue;
        auto it = variables.find(platform::toLowerAscii(name));
        stmt.bind(i, it == variables.end() ? platform::Value() : it->second);
    }
}

} // namespace

void BatchRunner::run(const std::vector<Statement>& statements)
{
    prepare(statements);
    runAll(statements);
}

void BatchRunner::prepare(const std::vector<Statement>& statements)
{
    for (const auto& statement : statements) {
        if (statement.kind == Statement::Kind::Data || statement.kind == Statement::Kind::Set ||
            statement.kind == Statement::Kind::If) {
            try {
                auto compiled = std::make_unique<SqliteStatement>(m_db, statement.sql);
                if (m_prepared.size() < kKeptPrepared) m_prepared[&statement] = std::move(compiled);
            } catch (const SqliteStatement::SyntaxError& error) {
                throw ParseError(statement.line, "not understood: " + std::string(error.what()));
            } catch (const DbError& error) {
                throw StatementError(statement.line, statement.text, error.what());
            }
        }
        prepare(statement.children);
    }
}

void BatchRunner::runAll(const std::vector<Statement>& statements)
{
    for (const auto& statement : statements)
        run(statement);
}

void BatchRunner::run(const Statement& statement)
{
    switch (statement.kind) {
    case Statement::Kind::Declare:
        m_variables[statement.variable] = platform::Value();
        break;
    case Statement::Kind::Set:
        m_variables[statement.variable] = scalar(statement);
        break;
    case Statement::Kind::Block:
        runAll(statement.children);
        break;
    case Statement::Kind::If:
        // A condition that is unknown (null) takes the ELSE branch, as on the server.
        if (scalar(statement).toInt() == 1)
            run(statement.children.at(0));
        else if (statement.children.size() > 1)
            run(statement.children[1]);
        break;
    case Statement::Kind::Data:
        execute(statement);
        break;
    }
}

SqliteStatement& BatchRunner::prepared(const Statement& statement)
{
    auto kept = m_prepared.find(&statement);
    if (kept == m_prepared.end()) m_scratch = std::make_unique<SqliteStatement>(m_db, statement.sql);
    auto& stmt = kept == m_prepared.end() ? *m_scratch : *kept->second;
    stmt.reset();
    bindVariables(stmt, m_variables);
    return stmt;
}

platform::Value BatchRunner::scalar(const Statement& statement)
{
    try {
        auto& stmt = prepared(statement);
        platform::Value value;
        if (stmt.step()) value = stmt.column(0);
        while (stmt.step()) {
        }
        return value;
    } catch (const DbError& error) {
        throw StatementError(statement.line, statement.text, error.what());
    }
}

void BatchRunner::execute(const Statement& statement)
{
    try {
        auto& stmt = prepared(statement);
        while (stmt.step()) {
        }
    } catch (const DbError& error) {
        throw StatementError(statement.line, statement.text, error.what());
    }
}

} // namespace ormex::db

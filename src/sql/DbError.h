#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

// Typed errors of the database layer. The layer never shows anything to an operator: it throws,
// and the caller decides what the operator sees.
namespace ormex::db {

class DbError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The database file could not be opened (missing, unreadable, not a database).
class OpenError : public DbError
{
public:
    using DbError::DbError;
};

// Another connection held the database locked for longer than this connection waits for it
// (Database::setBusyTimeout). The transaction was rolled back, so nothing of it was written, and
// the connection stays usable: the same work may simply be tried again.
// what(): the text the operator reads; reason(): SQLite's own ("database is locked").
class BusyError : public DbError
{
public:
    static constexpr const char* kMessage = "数据库正忙，请稍后再试！";
    explicit BusyError(std::string reason) : DbError(kMessage), m_reason(std::move(reason)) {}
    const std::string& reason() const { return m_reason; }

private:
    std::string m_reason;
};

// The server ended the transaction to resolve a deadlock or a serialization failure between two
// writers. Nothing of it stands, and running the same work again normally succeeds: the layer does
// so itself a few times before it lets this through.
class ConflictError : public BusyError
{
public:
    using BusyError::BusyError;
};

// The server did not answer within the connection's deadline (PgDatabase::setDeadline): it hangs,
// or the link to it carries nothing. The statement was cancelled and the connection closed; a later
// call opens it again. Nothing the call wrote was committed by it, except that a COMMIT already sent
// may still be carried out by the server (headquarters records each replay, so sending it again
// applies it once).
// what(): the text the operator reads, the same as for a server that cannot be reached at all,
// with the deadline.
class UnreachableError : public DbError
{
public:
    static constexpr const char* kMessage = "总部数据库无法连接";
    explicit UnreachableError(std::chrono::milliseconds deadline)
        : DbError(std::string(kMessage) + "：服务器" + seconds(deadline) + "秒内没有应答"),
          m_deadline(deadline)
    {
    }
    std::chrono::milliseconds deadline() const { return m_deadline; }

private:
    static std::string seconds(std::chrono::milliseconds wait)
    {
        std::string text = std::to_string(wait.count() / 1000);
        if (wait.count() % 1000) text += "." + std::to_string(wait.count() % 1000 / 100);
        return text;
    }
    std::chrono::milliseconds m_deadline;
};

// The batch holds text outside the dialect. Nothing of the batch ran.
// what(): "line <n>: <what was not understood>"
class ParseError : public DbError
{
public:
    ParseError(int line, const std::string& message)
        : DbError("line " + std::to_string(line) + ": " + message), m_line(line), m_message(message)
    {
    }
    int line() const { return m_line; }
    const std::string& message() const { return m_message; }

private:
    int m_line;
    std::string m_message;
};

// A statement failed while the batch ran; the whole batch was rolled back.
// what(): "statement at line <n> failed: <statement text>: <database's reason>"
class StatementError : public DbError
{
public:
    StatementError(int line, const std::string& statement, const std::string& reason)
        : DbError("statement at line " + std::to_string(line) + " failed: " + statement + ": " + reason),
          m_line(line), m_statement(statement), m_reason(reason)
    {
    }
    int line() const { return m_line; }
    const std::string& statement() const { return m_statement; }
    const std::string& reason() const { return m_reason; }

private:
    int m_line;
    std::string m_statement;
    std::string m_reason;
};

} // namespace ormex::db

#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "PgResult.h"

struct pg_conn;
struct pg_result;

// libpq's connection to a PostgreSQL server with every wait for the server bounded. libpq runs in
// nonblocking mode and each wait (to connect, to send, for an answer) is a poll() on the socket
// here. The deadline bounds the server's silence, not the call: a wait ends in failure when the
// server has neither sent nor taken a byte for that long, so an exchange whose answers keep coming
// (a replay of 100,000 cards) runs as long as it needs, while a hung server or a dead link is
// given up on in time. Then the statement is cancelled, the connection closed and UnreachableError
// thrown; every later call throws it at once until the connection is made again.
namespace ormex::db {

// Called about every 100 ms while the calling thread waits for a server (not from within itself),
// so that a program with windows can let them repaint; nullptr: none. Each thread has its own.
void setServerWaitHook(std::function<void()> hook);

class PgConnection
{
public:
    using Clock = std::chrono::steady_clock;

    // Connects with a libpq URL or connection string within its connect_timeout (when it has
    // one) and the deadline, whichever is shorter. Throws OpenError when the server refuses the
    // connection or cannot be found, UnreachableError when it does not answer in time.
    PgConnection(const std::string& conninfo, std::chrono::milliseconds deadline);
    ~PgConnection();
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    pg_conn* handle() const { return m_conn; }
    std::chrono::milliseconds deadline() const { return m_deadline; }
    void setDeadline(std::chrono::milliseconds deadline) { m_deadline = deadline; }

    // True while connected and not given up on.
    bool usable() const;
    // When a wait for the server last ran out (connecting or in a call); Clock's epoch if never.
    Clock::time_point lastUnanswered() const { return m_unansweredAt; }

    // Connects again with the same parameters. Throws as the constructor does.
    void reconnect();

    // As PQexec, PQexecParams, PQprepare and PQexecPrepared, within the deadline: the last result
    // (null when the statement could not be sent; libpq's message then says why). Throw
    // UnreachableError.
    PgResultPtr exec(const std::string& sql);
    PgResultPtr execParams(const std::string& sql, int count, const unsigned* types,
                           const char* const* values);
    PgResultPtr prepare(const std::string& name, const std::string& sql, int count, const unsigned* types);
    PgResultPtr execPrepared(const std::string& name, int count, const char* const* values);
    // Runs a command whose outcome does not matter (a rollback while an error unwinds): never
    // throws, and does nothing on a connection given up on.
    void execQuietly(const std::string& sql) noexcept;

    // Sends everything libpq holds for the server. Throws UnreachableError.
    void flush();
    // The next result of what was sent (PQgetResult), once the server has sent it: null after each
    // statement's last result. Throws UnreachableError.
    pg_result* nextResult();
    // Throws for a statement libpq would not send: UnreachableError on a connection given up on,
    // else DbError with libpq's reason.
    [[noreturn]] void throwSendFailure() const;

private:
    void connect(bool again);
    PgResultPtr lastResult();
    // Waits until the socket can be read, or written too with `writing`; gives up when the deadline
    // passes first.
    void await(bool writing);
    // Cancels what the server runs, closes the connection, and throws UnreachableError.
    [[noreturn]] void giveUp();

    pg_conn* m_conn = nullptr;
    std::chrono::milliseconds m_deadline;
    bool m_lost = false;
    Clock::time_point m_unansweredAt{};
};

} // namespace ormex::db

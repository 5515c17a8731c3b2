#include "PgConnection.h"

#include <libpq-fe.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "DbError.h"

namespace ormex::db {

namespace {

using std::chrono::milliseconds;
using Clock = PgConnection::Clock;

// How often the wait hook runs while a wait goes on: often enough for windows to repaint.
constexpr milliseconds kHookInterval{100};

thread_local std::function<void()> t_hook;
thread_local bool t_inHook = false;

// Waits until the socket is ready for `events` (or failed); false when `until` passed first.
bool waitForSocket(int socket, short events, Clock::time_point until)
{
    if (socket < 0) return true; // no socket: libpq reports why
    pollfd polled{socket, events, 0};
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (now >= until) return false;
        milliseconds step = std::chrono::ceil<milliseconds>(until - now);
        const bool hook = t_hook && !t_inHook;
        if (hook) step = std::min(step, kHookInterval);
        const int ready = ::poll(&polled, 1, static_cast<int>(step.count()));
        if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
        if (hook && ready == 0) {
            t_inHook = true;
            try {
                t_hook();
            } catch (...) {
                // A window that failed to repaint does not end the wait.
            }
            t_inHook = false;
        }
    }
}

// How long connecting may take: the connection's connect_timeout, but no longer than the deadline.
milliseconds connectLimit(PGconn* conn, milliseconds deadline)
{
    milliseconds limit = deadline;
    if (PQconninfoOption* options = PQconninfo(conn)) {
        for (const PQconninfoOption* option = options; option->keyword; ++option)
            if (std::strcmp(option->keyword, "connect_timeout") == 0 && option->val) {
                const int seconds = std::atoi(option->val);
                if (seconds > 0) limit = std::min(limit, milliseconds(seconds * 1000L));
            }
        PQconninfoFree(options);
    }
    return limit;
}

std::string reasonOf(PGconn* conn)
{
    return "cannot connect to PostgreSQL: " + trimmedMessage(PQerrorMessage(conn));
}

} // namespace

void setServerWaitHook(std::function<void()> hook)
{
    t_hook = std::move(hook);
}

PgConnection::PgConnection(const std::string& conninfo, milliseconds deadline) : m_deadline(deadline)
{
    m_conn = PQconnectStart(conninfo.c_str());
    if (!m_conn) throw OpenError("cannot connect to PostgreSQL: out of memory");
    try {
        connect(false);
    } catch (...) {
        PQfinish(m_conn);
        throw;
    }
}

PgConnection::~PgConnection()
{
    // Nonblocking: the goodbye to a server that takes nothing more is dropped, not waited for.
    PQfinish(m_conn);
}

void PgConnection::connect(bool again)
{
    if (again && PQresetStart(m_conn) != 1) throw OpenError(reasonOf(m_conn));
    if (PQstatus(m_conn) == CONNECTION_BAD) throw OpenError(reasonOf(m_conn));
    const milliseconds limit = connectLimit(m_conn, m_deadline);
    const Clock::time_point until = Clock::now() + limit;
    // As libpq asks: before the first poll, wait as if it had asked to write.
    PostgresPollingStatusType state = PGRES_POLLING_WRITING;
    while (state != PGRES_POLLING_OK) {
        if (state == PGRES_POLLING_FAILED) throw OpenError(reasonOf(m_conn));
        if (!waitForSocket(PQsocket(m_conn), state == PGRES_POLLING_READING ? POLLIN : POLLOUT, until)) {
            m_unansweredAt = Clock::now();
            m_lost = true;
            throw UnreachableError(limit);
        }
        state = again ? PQresetPoll(m_conn) : PQconnectPoll(m_conn);
    }
    if (PQsetnonblocking(m_conn, 1) != 0) throw OpenError(reasonOf(m_conn));
    // Notices (an extension that already exists, an implicit index) are not errors: dropped
    // instead of written to stderr.
    PQsetNoticeProcessor(
        m_conn, [](void*, const char*) {}, nullptr);
    m_lost = false;
}

void PgConnection::reconnect()
{
    connect(true);
}

bool PgConnection::usable() const
{
    return !m_lost && PQstatus(m_conn) == CONNECTION_OK;
}

void PgConnection::throwSendFailure() const
{
    if (m_lost) throw UnreachableError(m_deadline);
    throw DbError("cannot send to PostgreSQL: " + trimmedMessage(PQerrorMessage(m_conn)));
}

void PgConnection::await(bool writing)
{
    const short events = POLLIN | (writing ? POLLOUT : 0);
    if (!waitForSocket(PQsocket(m_conn), events, Clock::now() + m_deadline)) giveUp();
}

void PgConnection::giveUp()
{
    m_unansweredAt = Clock::now();
    m_lost = true;
    // The cancel request travels on a connection of its own to a server that may not take it
    // either, so a thread of its own sends it and ends when the server has it (or the link fails).
    if (PGcancel* cancel = PQgetCancel(m_conn)) {
        std::thread([cancel] {
            char error[256];
            PQcancel(cancel, error, sizeof error);
            PQfreeCancel(cancel);
        }).detach();
    }
    // Closed: the socket is shut, and libpq drops the connection on reading its end. The server
    // ends the session (rolling back what was not committed) when it reads that end too.
    if (const int socket = PQsocket(m_conn); socket >= 0) ::shutdown(socket, SHUT_RDWR);
    for (int read = 0; read < 16 && PQstatus(m_conn) == CONNECTION_OK; ++read)
        if (PQconsumeInput(m_conn) == 0) break;
    throw UnreachableError(m_deadline);
}

void PgConnection::flush()
{
    if (m_lost) throw UnreachableError(m_deadline);
    for (;;) {
        const int left = PQflush(m_conn);
        if (left == 0) return;
        if (left < 0) throwSendFailure();
        // The server may be waiting for its answers to be read before it takes more.
        await(true);
        if (PQconsumeInput(m_conn) == 0) throwSendFailure();
    }
}

pg_result* PgConnection::nextResult()
{
    if (m_lost) throw UnreachableError(m_deadline);
    // A failure to send or to read is left for PQgetResult to report, as an error result.
    bool sent = true;
    for (int left = PQflush(m_conn); left != 0 && sent; left = PQflush(m_conn)) {
        if (left < 0) {
            sent = false;
        } else {
            await(true);
            sent = PQconsumeInput(m_conn) != 0;
        }
    }
    while (sent && PQstatus(m_conn) == CONNECTION_OK && PQisBusy(m_conn)) {
        await(false);
        if (PQconsumeInput(m_conn) == 0) break;
    }
    return PQgetResult(m_conn);
}

PgResultPtr PgConnection::lastResult()
{
    // As PQexec: the last result, stopping at a copy (the caller carries it on) or a lost connection.
    PgResultPtr last;
    while (pg_result* result = nextResult()) {
        last.reset(result);
        const ExecStatusType status = PQresultStatus(result);
        if (status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH ||
            PQstatus(m_conn) == CONNECTION_BAD)
            break;
    }
    return last;
}

PgResultPtr PgConnection::exec(const std::string& sql)
{
    if (m_lost) throw UnreachableError(m_deadline);
    if (PQsendQuery(m_conn, sql.c_str()) != 1) return nullptr;
    return lastResult();
}

PgResultPtr PgConnection::execParams(const std::string& sql, int count, const unsigned* types,
                                     const char* const* values)
{
    if (m_lost) throw UnreachableError(m_deadline);
    if (PQsendQueryParams(m_conn, sql.c_str(), count, types, values, nullptr, nullptr, 0) != 1)
        return nullptr;
    return lastResult();
}

PgResultPtr PgConnection::prepare(const std::string& name, const std::string& sql, int count,
                                  const unsigned* types)
{
    if (m_lost) throw UnreachableError(m_deadline);
    if (PQsendPrepare(m_conn, name.c_str(), sql.c_str(), count, types) != 1) return nullptr;
    return lastResult();
}

PgResultPtr PgConnection::execPrepared(const std::string& name, int count, const char* const* values)
{
    if (m_lost) throw UnreachableError(m_deadline);
    if (PQsendQueryPrepared(m_conn, name.c_str(), count, values, nullptr, nullptr, 0) != 1) return nullptr;
    return lastResult();
}

void PgConnection::execQuietly(const std::string& sql) noexcept
{
    if (!usable()) return;
    try {
        exec(sql);
    } catch (...) {
        // Given up on: the server rolls back what the closed session left open.
    }
}

} // namespace ormex::db

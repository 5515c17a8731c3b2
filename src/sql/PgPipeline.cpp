#include "PgPipeline.h"

#include <libpq-fe.h>

#include "DbError.h"
#include "PgDatabase.h"

namespace ormex::db {

namespace {

// Statements sent before their answers are read. The server writes every answer as it goes: a
// client that sent many more without reading would only grow its buffers.
constexpr std::size_t kMaxPending = 512;
// Statements after which the server is asked to send the answers it holds (it sends them on its
// own only when its buffer fills, or at the end): the connection's deadline bounds the server's
// silence, so that silence must not last longer than these few statements take.
constexpr std::size_t kFlushEvery = 16;

} // namespace

PgPipeline::PgPipeline(PgDatabase& db, FailureHandler onFailure)
    : m_db(db), m_link(db.link()), m_conn(db.handle()), m_onFailure(std::move(onFailure))
{
    if (!m_link.usable() || PQenterPipelineMode(m_conn) != 1) m_link.throwSendFailure();
    m_inPipeline = true;
}

PgPipeline::~PgPipeline()
{
    leave();
}

void PgPipeline::send(const std::string& sql, const std::vector<unsigned>& types, const char* const* values,
                      std::size_t tag, int guess, const platform::ReadCheck* check)
{
    const int count = static_cast<int>(types.size());
    const Oid* oids = reinterpret_cast<const Oid*>(types.data());
    const PgDatabase::Prepared statement = m_db.prepared(sql, types);
    if (statement.name.empty()) {
        if (PQsendQueryParams(m_conn, sql.c_str(), count, oids, values, nullptr, nullptr, 0) != 1)
            m_link.throwSendFailure();
    } else {
        if (statement.isNew) {
            if (PQsendPrepare(m_conn, statement.name.c_str(), sql.c_str(), count, oids) != 1) {
                m_db.forgetPrepared(statement.key);
                m_link.throwSendFailure();
            }
            m_pending.push_back({tag, true, statement.key, -1, nullptr});
        }
        if (PQsendQueryPrepared(m_conn, statement.name.c_str(), count, values, nullptr, nullptr, 0) != 1)
            m_link.throwSendFailure();
    }
    m_pending.push_back({tag, false, {}, guess, check});
    if (m_pending.size() >= kMaxPending) {
        flush();
        drainTo(0);
    } else if (++m_unflushed >= kFlushEvery) {
        requestFlush();
    }
}

void PgPipeline::sendCommand(const std::string& sql)
{
    if (PQsendQueryParams(m_conn, sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0) != 1)
        m_link.throwSendFailure();
    m_pending.push_back({0, false, {}, -1, nullptr});
    // A command may wait (for a lock): its answer comes back as soon as it is done.
    requestFlush();
}

PgResultPtr PgPipeline::answer()
{
    flush();
    drainTo(1);
    return takeFront();
}

PgResultPtr PgPipeline::oldest()
{
    flush();
    // Preparations, commands and checks answer nothing the caller asked for.
    while (m_pending.front().prepare || m_pending.front().tag == 0)
        takeFront();
    return takeFront();
}

PgResultPtr PgPipeline::takeFront()
{
    const Pending pending = m_pending.front();
    m_pending.pop_front();
    PgResultPtr result = next(pending);
    if (!succeeded(result.get())) fail(pending, std::move(result));
    if (pending.guess >= 0 && (firstValue(result.get()).toInt() == 1 ? 1 : 0) != pending.guess) {
        leave();
        throw WrongGuess{};
    }
    if (pending.check) {
        const platform::ReadCheck& check = *pending.check;
        const platform::Recordset now = recordsetOf(result.get());
        const platform::Value current = now.atEnd() ? platform::Value("") : now.field(check.field);
        if (!platform::sameReadValue(current, check.expected)) {
            leave();
            throw platform::ChangedSinceReadError("changed since read: " + check.sql + " gave '" +
                                                  check.expected.toString() + "', now '" +
                                                  current.toString() + "'");
        }
    }
    return result;
}

void PgPipeline::finish()
{
    if (PQpipelineSync(m_conn) != 1) m_link.throwSendFailure();
    m_syncSent = true;
    drainTo(0);
    leave();
}

void PgPipeline::drainTo(std::size_t keepLast)
{
    while (m_pending.size() > keepLast)
        takeFront();
}

PgResultPtr PgPipeline::next(const Pending&)
{
    PgResultPtr result(m_link.nextResult());
    // Each statement's answer ends with a null result.
    while (PGresult* more = m_link.nextResult())
        PQclear(more);
    return result;
}

void PgPipeline::fail(const Pending& pending, PgResultPtr result)
{
    if (pending.prepare) m_db.forgetPrepared(pending.key);
    leave();
    m_onFailure(pending.tag, result.get());
    throw DbError("a statement failed");
}

void PgPipeline::flush()
{
    requestFlush();
    m_link.flush();
}

void PgPipeline::requestFlush()
{
    if (PQsendFlushRequest(m_conn) != 1) m_link.throwSendFailure();
    m_unflushed = 0;
}

void PgPipeline::leave()
{
    if (!m_inPipeline) return;
    m_inPipeline = false;
    // What was still to come was not run (a statement before it failed) or is no longer wanted; a
    // statement prepared among it may not exist.
    for (const Pending& pending : m_pending)
        if (pending.prepare) m_db.forgetPrepared(pending.key);
    m_pending.clear();
    if (!m_link.usable() || (!m_syncSent && PQpipelineSync(m_conn) != 1)) return; // the connection is gone
    m_syncSent = true;
    try {
        while (m_link.usable()) {
            PGresult* result = m_link.nextResult();
            if (!result) continue;
            const ExecStatusType status = PQresultStatus(result);
            PQclear(result);
            if (status == PGRES_PIPELINE_SYNC) break;
        }
    } catch (const DbError&) {
        return; // given up on: the connection is closed, and with it the pipeline
    }
    PQexitPipelineMode(m_conn);
}

} // namespace ormex::db

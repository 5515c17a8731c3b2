#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "PgResult.h"

struct pg_conn;

// Statements sent to a PostgreSQL server one after the other without waiting for each answer
// (libpq's pipeline mode): a batch whose next step does not depend on an answer costs one round
// trip for many statements instead of one each. Answers come back in the order the statements
// were sent; an answer is waited for only when the caller needs its value.
//
// Every statement is part of the transaction the caller opened before; the first one that fails
// ends the pipeline: the statements after it are not run, `onFailure` is called with its tag and
// result (and must throw), and the transaction is left for the caller to roll back.
namespace ormex::db {

class PgDatabase;

class PgPipeline
{
public:
    using FailureHandler = std::function<void(std::size_t tag, const pg_result* result)>;

    // Enters pipeline mode on the connection, which must have nothing under way.
    PgPipeline(PgDatabase& db, FailureHandler onFailure);
    // Leaves pipeline mode, reading and dropping what is still to come.
    ~PgPipeline();
    PgPipeline(const PgPipeline&) = delete;
    PgPipeline& operator=(const PgPipeline&) = delete;

    // Sends a statement (prepared once per text and parameter types, as PgDatabase::run does).
    void send(const std::string& sql, const std::vector<unsigned>& types, const char* const* values,
              std::size_t tag);
    // The answer to the statement sent last, once every statement before it has succeeded.
    PgResultPtr answer();
    // Waits until every statement sent has succeeded, and leaves pipeline mode.
    void finish();

private:
    struct Pending
    {
        std::size_t tag;
        bool prepare;    // the preparation of a statement, not a statement
        std::string key; // the prepared statement's key, for a preparation
    };
    // Reads the answers of the pending statements up to `keepLast` from the end, checking each.
    void drainTo(std::size_t keepLast);
    PgResultPtr next(const Pending& pending);
    void fail(const Pending& pending, PgResultPtr result);
    void flush();
    void leave();

    PgDatabase& m_db;
    pg_conn* m_conn;
    FailureHandler m_onFailure;
    std::deque<Pending> m_pending;
    bool m_inPipeline = false;
    bool m_syncSent = false;
};

} // namespace ormex::db

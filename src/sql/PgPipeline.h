#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "PgResult.h"
#include "platform/BusinessObjects.h"

struct pg_conn;

// Statements sent to a PostgreSQL server one after the other without waiting for each answer
// (libpq's pipeline mode): a batch whose next step does not depend on an answer costs one round
// trip for many statements instead of one each. Answers come back in the order the statements
// were sent; an answer is waited for only when the caller needs its value.
//
// Every statement is part of the transaction the caller opened before; the first one that fails
// ends the pipeline: the statements after it are not run, `onFailure` is called with its tag and
// result (and must throw), and the transaction is left for the caller to roll back.
//
// A condition whose answer the caller guessed goes out with its guess: the caller goes on as if
// the guess were the answer, and when the true answer comes back and differs, the pipeline ends
// with WrongGuess (the statements sent on the guess must then be undone by the caller). A read
// check goes out the same way, with the value it must still give: when it gives another, the
// pipeline ends with platform::ChangedSinceReadError.
namespace ormex::db {

class PgConnection;
class PgDatabase;

struct WrongGuess
{
};

class PgPipeline
{
public:
    using FailureHandler = std::function<void(std::size_t tag, const pg_result* result)>;

    // Enters pipeline mode on the connection, which must have nothing under way.
    PgPipeline(PgDatabase& db, FailureHandler onFailure);
    // Leaves pipeline mode, reading and dropping what is still to come (within the deadline).
    ~PgPipeline();
    PgPipeline(const PgPipeline&) = delete;
    PgPipeline& operator=(const PgPipeline&) = delete;

    // Sends a statement (prepared once per text and parameter types, as PgDatabase::run does).
    // `guess` is -1, or the first value (0 or 1) its answer must have; `check`, if any, the read
    // check whose value the answer must give (it must outlive the pipeline).
    void send(const std::string& sql, const std::vector<unsigned>& types, const char* const* values,
              std::size_t tag, int guess = -1, const platform::ReadCheck* check = nullptr);
    // Sends a command of the server's own without parameters (BEGIN, SAVEPOINT …), unprepared,
    // tag 0.
    void sendCommand(const std::string& sql);
    // The answer to the statement sent last, once every statement before it has succeeded.
    PgResultPtr answer();
    // The answer to the oldest statement sent by send() whose answer has not been read.
    PgResultPtr oldest();
    // Waits until every statement sent has succeeded, and leaves pipeline mode.
    void finish();

private:
    struct Pending
    {
        std::size_t tag;
        bool prepare;                               // the preparation of a statement, not a statement
        std::string key;                            // the prepared statement's key, for a preparation
        int guess;                                  // the first value the answer must have, or -1
        const platform::ReadCheck* check = nullptr; // the read whose value the answer must give
    };
    // Reads the answers of the pending statements up to `keepLast` from the end, checking each.
    void drainTo(std::size_t keepLast);
    PgResultPtr next(const Pending& pending);
    // The oldest pending statement's answer, checked (a failure or a wrong guess throws).
    PgResultPtr takeFront();
    void fail(const Pending& pending, PgResultPtr result);
    // Sends what is held for the server, asking it to send the answers it holds.
    void flush();
    // Asks the server to send the answers it holds once it gets here (sent with what follows).
    void requestFlush();
    void leave();

    PgDatabase& m_db;
    PgConnection& m_link;
    pg_conn* m_conn;
    FailureHandler m_onFailure;
    std::deque<Pending> m_pending;
    bool m_inPipeline = false;
    bool m_syncSent = false;
    std::size_t m_unflushed = 0; // statements sent since the server was last asked to send its answers
};

} // namespace ormex::db

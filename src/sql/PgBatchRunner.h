#pragma once

#include <string>
#include <vector>

#include "AnswerCache.h"
#include "BatchProgram.h"
#include "PgParameters.h"
#include "platform/BusinessObjects.h"
#include "platform/Value.h"

// Runs a parsed batch on a PostgreSQL connection: each step's statement prepared once per text and
// parameter types, its literals and variables bound, control flow here.
//
// Statements are pipelined, so a batch over many cards does not wait for the server once per
// statement. Where the control flow needs an answer, the runner uses one it kept (a condition on
// tables the batch does not write) or one it guessed: before the batch changes anything, every
// condition that depends only on the batch's literals is asked at once, and each answer is the
// guess for where the condition stands (a condition asked again with the same literals, as for a
// card twice in one batch, is not guessed but waited for). The condition is still asked in its
// place, and its true answer checked when it comes back; should one differ (the batch changed what
// it reads), everything the batch did is undone and it runs again, waiting for each answer. Either
// way it leaves what running it step by step would.
namespace ormex::db {

class PgDatabase;
class PgPipeline;

class PgBatchRunner
{
public:
    explicit PgBatchRunner(PgDatabase& db);

    // Runs the batch within the caller's transaction. Throws ParseError for a statement the server
    // cannot parse, BusyError for a lock waited for too long, ConflictError for a deadlock,
    // StatementError naming the statement that failed.
    void run(const BatchProgram& program);

    // Runs a write of its own: begins a transaction, runs `locking` (the server's commands that
    // take the write's locks), checks that each read still gives its value, runs the batch and
    // commits, in as few round trips as the batch's control flow allows (one for the locks, the
    // checks and the guesses, one for the batch, one for the commit). Throws what run() throws,
    // and platform::ChangedSinceReadError when a check reads another value; nothing is written
    // then.
    void runWrite(const BatchProgram& program, const std::vector<std::string>& locking,
                  const std::vector<platform::ReadCheck>& checks);

private:
    void prepare(const BatchProgram& program);
    std::size_t guessableConditions(const BatchProgram& program, std::size_t enough) const;
    void runSteps(PgPipeline& pipeline, const BatchProgram& program, bool guessing);
    // The answers of the conditions that depend only on literals, where the batch begins.
    void guessConditions(PgPipeline& pipeline, const BatchProgram& program);
    bool guessable(const BatchProgram& program, const Step& step) const;
    // Sends a step's shape with its arguments bound (see PgPipeline::send for `guess`).
    void send(PgPipeline& pipeline, const BatchProgram& program, const Step& step, int guess = -1);
    void sendCheck(PgPipeline& pipeline, const platform::ReadCheck& check);
    // The session's clock for the batch's getdate(), as a command; "" when the batch reads no clock.
    std::string clockCommand(const BatchProgram& program) const;

    PgDatabase& m_db;
    PgParameters m_parameters;
    AnswerCache m_answers;
    std::vector<platform::Value> m_variables; // by slot
    std::vector<signed char> m_guesses;       // by a condition's first argument: 1, 0, or -1 for none
};

} // namespace ormex::db

#pragma once

#include <vector>

#include "AnswerCache.h"
#include "BatchProgram.h"
#include "PgParameters.h"
#include "platform/Value.h"

// Runs a parsed batch on a PostgreSQL connection: each step's statement prepared once per text and
// parameter types, its literals and variables bound, control flow here. Statements are pipelined:
// the runner waits for the server only where the control flow needs an answer (a condition, a
// variable set from a query) that it has not kept from earlier in the batch, so a batch over many
// cards costs about one round trip per card instead of one per statement. The caller owns the
// transaction.
namespace ormex::db {

class PgDatabase;
class PgPipeline;

class PgBatchRunner
{
public:
    explicit PgBatchRunner(PgDatabase& db);
    // Throws ParseError for a statement the server cannot parse, BusyError for a lock waited for
    // too long, ConflictError for a deadlock, StatementError naming the statement that failed.
    void run(const BatchProgram& program);

private:
    // Sends a step's shape with its arguments bound.
    void send(PgPipeline& pipeline, const BatchProgram& program, const Step& step);

    PgDatabase& m_db;
    PgParameters m_parameters;
    AnswerCache m_answers;
    std::vector<platform::Value> m_variables; // by slot
};

} // namespace ormex::db

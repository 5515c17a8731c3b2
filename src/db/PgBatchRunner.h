#pragma once

#include <vector>

#include "BatchProgram.h"
#include "PgParameters.h"
#include "platform/Value.h"

// Runs a parsed batch on a PostgreSQL connection: each step's statement prepared once per text and
// parameter types, its literals and variables bound, control flow here. The caller owns the
// transaction.
namespace ormex::db {

class PgDatabase;

class PgBatchRunner
{
public:
    explicit PgBatchRunner(PgDatabase& db);
    // Throws ParseError for a statement the server cannot parse, BusyError for a lock waited for
    // too long, StatementError naming the statement that failed.
    void run(const BatchProgram& program);

private:
    // Runs a step's shape with its arguments bound; the first value of its first row, if asked.
    platform::Value run(const BatchProgram& program, const Step& step, bool wantValue);

    PgDatabase& m_db;
    PgParameters m_parameters;
    std::vector<platform::Value> m_variables; // by slot
};

} // namespace ormex::db

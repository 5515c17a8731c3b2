#include "PgBatchRunner.h"

#include "PgDatabase.h"
#include "PgResult.h"
#include "StepInterpreter.h"

namespace ormex::db {

PgBatchRunner::PgBatchRunner(PgDatabase& db) : m_db(db) {}

void PgBatchRunner::run(const BatchProgram& program)
{
    for (const std::string& shape : program.shapes)
        if (shape.find("ormex_getdate") != std::string::npos) {
            m_db.setClock(); // one date-time for the whole batch
            break;
        }
    m_variables.assign(program.slotCount, platform::Value());
    interpretSteps(
        program, m_variables, [&](const Step& step) { run(program, step, false); },
        [&](const Step& step) { return run(program, step, true); });
}

platform::Value PgBatchRunner::run(const BatchProgram& program, const Step& step, bool wantValue)
{
    m_parameters.clear();
    m_parameters.add(program.text, program.arguments, step.firstArgument, step.argumentCount, m_variables,
                     program.slotTypes);
    const PgResultPtr result(
        m_db.run(program.shapes[step.shape], m_parameters.types(), m_parameters.values()));
    throwIfFailed(result.get(), m_db.handle(), program.line(step), program.statementText(step));
    return wantValue ? firstValue(result.get()) : platform::Value();
}

} // namespace ormex::db

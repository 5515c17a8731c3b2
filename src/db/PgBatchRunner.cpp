#include "PgBatchRunner.h"

#include "ArgumentBinding.h"
#include "PgDatabase.h"
#include "PgResult.h"

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
    const auto& steps = program.steps;
    for (std::size_t next = 0; next < steps.size();) {
        const Step& step = steps[next];
        switch (step.kind) {
        case Step::Kind::Run:
            run(program, step, false);
            ++next;
            break;
        case Step::Kind::SetValue:
            m_variables[step.target] =
                argumentValue(program.text, program.arguments[step.firstArgument], m_variables);
            ++next;
            break;
        case Step::Kind::SetQuery:
            m_variables[step.target] = run(program, step, true);
            ++next;
            break;
        case Step::Kind::IfNot:
            // A condition that is unknown (null) takes the ELSE branch, as on the server.
            next = run(program, step, true).toInt() == 1 ? next + 1 : step.target;
            break;
        case Step::Kind::Jump:
            next = step.target;
            break;
        }
    }
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

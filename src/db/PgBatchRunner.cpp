#include "PgBatchRunner.h"

#include <cstdint>

#include "PgDatabase.h"
#include "PgPipeline.h"
#include "PgResult.h"
#include "StatementFootprint.h"
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
    m_answers.reset(program, [&](std::size_t shape) {
        const Step& first = program.steps[program.shapeFirstStep[shape]];
        return footprintOfText(program.text.substr(first.textAt, first.textLength));
    });
    // A step is told by its address: the steps stay where they are while the batch runs.
    PgPipeline pipeline(m_db, [&](std::size_t tag, const pg_result* result) {
        const Step& step = *reinterpret_cast<const Step*>(tag);
        // The line is counted only now: counting it for every statement would make a long batch
        // cost the square of its length.
        throwIfFailed(result, m_db.handle(), program.line(step), program.statementText(step));
    });
    interpretSteps(
        program, m_variables, [&](const Step& step) { send(pipeline, program, step); },
        [&](const Step& step) {
            return m_answers.answer(program, step, m_variables, [&] {
                send(pipeline, program, step);
                return firstValue(pipeline.answer().get());
            });
        });
    pipeline.finish();
}

void PgBatchRunner::send(PgPipeline& pipeline, const BatchProgram& program, const Step& step)
{
    m_parameters.clear();
    m_parameters.add(program.text, program.arguments, step.firstArgument, step.argumentCount, m_variables,
                     program.slotTypes);
    pipeline.send(program.shapes[step.shape], m_parameters.types(), m_parameters.values(),
                  reinterpret_cast<std::uintptr_t>(&step));
}

} // namespace ormex::db

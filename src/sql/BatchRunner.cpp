#include "BatchRunner.h"

#include <algorithm>

#include "ArgumentBinding.h"
#include "DbError.h"
#include "StepInterpreter.h"
#include "platform/BatchProgress.h"

namespace ormex::db {

namespace {

// Statement texts kept compiled by the batch itself between the check and the run. A batch with
// more distinct texts than this (long IN lists that differ) has the rest checked, left to the
// connection's cache and compiled again if the cache let them go.
constexpr std::size_t kKeptCompiled = 512;

} // namespace

BatchRunner::~BatchRunner()
{
    // The batch text goes away after the run: no statement keeps a value bound from it.
    for (const auto& statement : m_compiled)
        if (statement) statement->clearBindings();
}

void BatchRunner::run(const BatchProgram& program)
{
    compile(program);
    m_variables.assign(program.slotCount, platform::Value());
    // A batch of a screen runs on a worker while the window shows how far it has got.
    // Counted in statements run; those of a branch not taken are never reached.
    platform::BatchProgress* const progress = platform::currentBatchProgress();
    std::size_t ran = 0;
    if (progress) {
        const auto statements = std::count_if(program.steps.begin(), program.steps.end(),
                                              [](const Step& step) { return step.kind == Step::Kind::Run; });
        progress->done.store(0, std::memory_order_relaxed);
        progress->total.store(static_cast<std::size_t>(statements), std::memory_order_relaxed);
    }
    interpretSteps(
        program, m_variables,
        [&](const Step& step) {
            run(program, step, false);
            if (progress) progress->done.store(++ran, std::memory_order_relaxed);
        },
        [&](const Step& step) { return ask(program, step); });
}

platform::Value BatchRunner::ask(const BatchProgram& program, const Step& step)
{
    return m_answers.answer(program, step, m_variables, [&] { return run(program, step, true); });
}

void BatchRunner::compile(const BatchProgram& program)
{
    m_compiled.assign(program.shapes.size(), nullptr);
    for (std::size_t shape = 0; shape < program.shapes.size(); ++shape) {
        const Step& first = program.steps[program.shapeFirstStep[shape]];
        try {
            auto compiled = m_cache.get(program.shapes[shape]);
            if (shape < kKeptCompiled) m_compiled[shape] = std::move(compiled);
        } catch (const SqliteStatement::SyntaxError& error) {
            throw ParseError(program.line(first), "not understood: " + std::string(error.what()));
        } catch (const BusyError&) {
            throw;
        } catch (const DbError& error) {
            throw StatementError(program.line(first), program.statementText(first), error.what());
        }
    }
    keepAnswers(program);
}

void BatchRunner::keepAnswers(const BatchProgram& program)
{
    m_answers.reset(program, [&](std::size_t shape) {
        return (m_compiled[shape] ? m_compiled[shape] : m_cache.get(program.shapes[shape]))->footprint();
    });
}

platform::Value BatchRunner::run(const BatchProgram& program, const Step& step, bool wantValue)
{
    try {
        SqliteStatement* statement = m_compiled[step.shape].get();
        std::shared_ptr<SqliteStatement> recompiled;
        if (!statement) {
            recompiled = m_cache.get(program.shapes[step.shape]);
            statement = recompiled.get();
        }
        StatementUse use(*statement, recompiled != nullptr);
        bindArguments(*statement, program.text, program.arguments, step.firstArgument, step.argumentCount,
                      m_variables);
        platform::Value value;
        // Stepping past the end would run the statement again: stop at the first "done".
        bool row = statement->step();
        if (row && wantValue) value = statement->column(0);
        while (row)
            row = statement->step();
        return value;
    } catch (const BusyError&) {
        throw; // not the statement's fault: the same batch may run once the lock is free
    } catch (const DbError& error) {
        throw StatementError(program.line(step), program.statementText(step), error.what());
    }
}

} // namespace ormex::db

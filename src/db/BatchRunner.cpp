#include "BatchRunner.h"

#include "ArgumentBinding.h"
#include "DbError.h"

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
        } catch (const DbError& error) {
            throw StatementError(program.line(first), program.statementText(first), error.what());
        }
    }
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
    } catch (const DbError& error) {
        throw StatementError(program.line(step), program.statementText(step), error.what());
    }
}

} // namespace ormex::db

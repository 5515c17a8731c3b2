#include "BatchRunner.h"

#include <set>

#include "ArgumentBinding.h"
#include "DbError.h"
#include "StepInterpreter.h"

namespace ormex::db {

namespace {

// Statement texts kept compiled by the batch itself between the check and the run. A batch with
// more distinct texts than this (long IN lists that differ) has the rest checked, left to the
// connection's cache and compiled again if the cache let them go.
constexpr std::size_t kKeptCompiled = 512;

// Answers kept per condition: a condition asked with ever new arguments stops being remembered.
constexpr std::size_t kKeptAnswers = 4096;

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
    interpretSteps(
        program, m_variables, [&](const Step& step) { run(program, step, false); },
        [&](const Step& step) { return ask(program, step); });
}

platform::Value BatchRunner::ask(const BatchProgram& program, const Step& step)
{
    if (!m_answersKept[step.shape]) return run(program, step, true);
    m_key.clear();
    for (std::uint32_t k = 0; k < step.argumentCount; ++k) {
        const Argument& a = program.arguments[step.firstArgument + k];
        if (a.kind() == Argument::Kind::Variable) {
            const platform::Value& value = m_variables[a.at];
            m_key += static_cast<char>('0' + static_cast<int>(value.type()));
            if (value.type() == platform::Value::Type::Double) {
                // Every bit: two reals that print alike are still two values.
                const double number = value.toDouble();
                m_key.append(reinterpret_cast<const char*>(&number), sizeof number);
            } else if (!value.isNull()) {
                m_key += value.toString();
            }
        } else {
            m_key += a.kind() == Argument::Kind::Text ? 'T' : 'N';
            m_key.append(program.text.substr(a.at, a.length()));
        }
        m_key += '\0';
    }
    auto& answers = m_answers[step.shape];
    if (auto found = answers.find(m_key); found != answers.end()) return found->second;
    platform::Value value = run(program, step, true);
    if (answers.size() < kKeptAnswers) answers.emplace(m_key, value);
    return value;
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
    std::set<std::string> written;
    std::vector<std::shared_ptr<SqliteStatement>> statements(program.shapes.size());
    for (std::size_t shape = 0; shape < program.shapes.size(); ++shape) {
        statements[shape] = m_compiled[shape] ? m_compiled[shape] : m_cache.get(program.shapes[shape]);
        const auto& writes = statements[shape]->footprint().writes;
        written.insert(writes.begin(), writes.end());
    }
    m_answersKept.assign(program.shapes.size(), false);
    m_answers.assign(program.shapes.size(), {});
    for (std::size_t shape = 0; shape < program.shapes.size(); ++shape) {
        const Step& first = program.steps[program.shapeFirstStep[shape]];
        const StatementFootprint& footprint = statements[shape]->footprint();
        if (first.kind != Step::Kind::IfNot && first.kind != Step::Kind::SetQuery) continue;
        if (footprint.variableFunction || footprint.reads.empty() || !footprint.writes.empty()) continue;
        bool unwritten = true;
        for (const auto& table : footprint.reads)
            unwritten = unwritten && written.count(table) == 0;
        m_answersKept[shape] = unwritten;
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
    } catch (const BusyError&) {
        throw; // not the statement's fault: the same batch may run once the lock is free
    } catch (const DbError& error) {
        throw StatementError(program.line(step), program.statementText(step), error.what());
    }
}

} // namespace ormex::db

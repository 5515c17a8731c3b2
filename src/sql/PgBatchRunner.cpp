#include "PgBatchRunner.h"

#include <libpq-fe.h>

#include <cstdint>
#include <unordered_set>

#include "DbError.h"
#include "PgDatabase.h"
#include "PgDialect.h"
#include "PgPipeline.h"
#include "PgResult.h"
#include "StatementFootprint.h"
#include "StepInterpreter.h"
#include "TsqlParser.h"
#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Guessing within the caller's transaction costs a round trip of its own (and a savepoint): worth
// it from this many conditions on. In a write of its own the guesses ride the first round trip.
constexpr std::size_t kFewestGuesses = 2;
// Conditions asked in one go while guessing: well below what a pipeline holds unread.
constexpr std::size_t kGuessesAtOnce = 256;

// Rolls back the connection's transaction when it leaves the scope before commit().
class OpenTransaction
{
public:
    explicit OpenTransaction(PgConnection& link) : m_link(link) {}
    ~OpenTransaction()
    {
        // A destructor cannot report anything: a failed rollback leaves the server to roll back
        // when the connection closes.
        if (!m_done && PQtransactionStatus(m_link.handle()) != PQTRANS_IDLE) m_link.execQuietly("ROLLBACK");
    }
    void commit()
    {
        const PgResultPtr committed = m_link.exec("COMMIT");
        throwIfFailed(committed.get(), m_link.handle(), 1, "COMMIT");
        m_done = true;
    }

private:
    PgConnection& m_link;
    bool m_done = false;
};

} // namespace

PgBatchRunner::PgBatchRunner(PgDatabase& db) : m_db(db) {}

void PgBatchRunner::prepare(const BatchProgram& program)
{
    m_answers.reset(program, [&](std::size_t shape) {
        const Step& first = program.steps[program.shapeFirstStep[shape]];
        return footprintOfText(program.text.substr(first.textAt, first.textLength));
    });
}

std::string PgBatchRunner::clockCommand(const BatchProgram& program) const
{
    for (const std::string& shape : program.shapes)
        if (shape.find("ormex_getdate") != std::string::npos)
            return "SELECT set_config('ormex.now', " + platform::quoted(platform::now().toString()) +
                   ", false)";
    return {};
}

std::size_t PgBatchRunner::guessableConditions(const BatchProgram& program, std::size_t enough) const
{
    std::size_t conditions = 0;
    for (const Step& step : program.steps)
        if (guessable(program, step) && ++conditions >= enough) break;
    return conditions;
}

void PgBatchRunner::run(const BatchProgram& program)
{
    prepare(program);
    const std::string clock = clockCommand(program);
    if (!clock.empty()) m_db.setClock();
    auto attempt = [&](bool guessing) {
        PgPipeline pipeline(m_db, [&](std::size_t tag, const pg_result* result) {
            if (tag == 0) throwIfFailed(result, m_db.handle(), 1, "(a savepoint of the batch)");
            const Step& step = *reinterpret_cast<const Step*>(tag);
            throwIfFailed(result, m_db.handle(), program.line(step), program.statementText(step));
        });
        if (guessing) {
            pipeline.sendCommand("SAVEPOINT ormex_guess");
            guessConditions(pipeline, program);
        }
        runSteps(pipeline, program, guessing);
        pipeline.finish();
    };
    if (guessableConditions(program, kFewestGuesses) >= kFewestGuesses) {
        try {
            attempt(true);
            // Only now is every guess known right: until then the savepoint had to stay.
            const PgResultPtr released = m_db.link().exec("RELEASE SAVEPOINT ormex_guess");
            throwIfFailed(released.get(), m_db.handle(), 1, "(a savepoint of the batch)");
            return;
        } catch (const WrongGuess&) {
            const PgResultPtr undone =
                m_db.link().exec("ROLLBACK TO SAVEPOINT ormex_guess; RELEASE SAVEPOINT ormex_guess");
            throwIfFailed(undone.get(), m_db.handle(), 1, "(undoing a batch run on guesses)");
        }
    }
    attempt(false);
}

void PgBatchRunner::runWrite(const BatchProgram& program, const std::vector<std::string>& locking,
                             const std::vector<platform::ReadCheck>& checks)
{
    prepare(program);
    const std::string clock = clockCommand(program);
    for (bool guessing : {guessableConditions(program, 1) > 0, false}) {
        try {
            OpenTransaction transaction(m_db.link());
            {
                PgPipeline pipeline(m_db, [&](std::size_t tag, const pg_result* result) {
                    if (tag == 0) throwIfFailed(result, m_db.handle(), 1, "(beginning the write)");
                    const Step& step = *reinterpret_cast<const Step*>(tag);
                    // The line is counted only now: counting it for every statement would make a
                    // long batch cost the square of its length.
                    throwIfFailed(result, m_db.handle(), program.line(step), program.statementText(step));
                });
                pipeline.sendCommand("BEGIN");
                for (const std::string& command : locking)
                    pipeline.sendCommand(command);
                if (!clock.empty()) pipeline.sendCommand(clock);
                for (const platform::ReadCheck& check : checks)
                    sendCheck(pipeline, check);
                if (guessing) guessConditions(pipeline, program);
                runSteps(pipeline, program, guessing);
                pipeline.finish();
            }
            transaction.commit();
            return;
        } catch (const WrongGuess&) {
            // Undone with the transaction; once more, waiting for each answer.
            prepare(program);
        }
    }
}

void PgBatchRunner::runSteps(PgPipeline& pipeline, const BatchProgram& program, bool guessing)
{
    m_variables.assign(program.slotCount, platform::Value());
    interpretSteps(
        program, m_variables, [&](const Step& step) { send(pipeline, program, step); },
        [&](const Step& step) {
            return m_answers.answer(program, step, m_variables, [&] {
                if (guessing && step.argumentCount > 0) {
                    const int guess = m_guesses[step.firstArgument];
                    if (guess >= 0) {
                        send(pipeline, program, step, guess);
                        return platform::Value(guess);
                    }
                }
                send(pipeline, program, step);
                return firstValue(pipeline.answer().get());
            });
        });
}

bool PgBatchRunner::guessable(const BatchProgram& program, const Step& step) const
{
    if (step.kind != Step::Kind::IfNot || step.argumentCount == 0 || m_answers.keeps(step.shape))
        return false;
    for (std::uint32_t k = 0; k < step.argumentCount; ++k)
        if (program.arguments[step.firstArgument + k].kind() == Argument::Kind::Variable) return false;
    return true;
}

void PgBatchRunner::guessConditions(PgPipeline& pipeline, const BatchProgram& program)
{
    m_guesses.assign(program.arguments.size(), -1);
    // A condition asked a second time with the same literals (a card twice in the batch) likely
    // sees what the batch wrote since: it is waited for instead. Texts compare as keys do, without
    // regard to case or trailing blanks.
    std::unordered_set<std::string> seen;
    std::string key;
    auto firstTime = [&](const Step& step) {
        key = std::to_string(step.shape);
        for (std::uint32_t k = 0; k < step.argumentCount; ++k) {
            const Argument& a = program.arguments[step.firstArgument + k];
            key += '\0';
            key += platform::toLowerAscii(platform::trimRight(program.text.substr(a.at, a.length())));
        }
        return seen.insert(key).second;
    };
    std::vector<const Step*> asked;
    auto readAnswers = [&] {
        for (const Step* step : asked)
            m_guesses[step->firstArgument] =
                static_cast<signed char>(firstValue(pipeline.oldest().get()).toInt() == 1 ? 1 : 0);
        asked.clear();
    };
    for (const Step& step : program.steps) {
        if (!guessable(program, step) || !firstTime(step)) continue;
        send(pipeline, program, step);
        asked.push_back(&step);
        if (asked.size() == kGuessesAtOnce) readAnswers();
    }
    readAnswers();
}

void PgBatchRunner::send(PgPipeline& pipeline, const BatchProgram& program, const Step& step, int guess)
{
    m_parameters.clear();
    m_parameters.add(program.text, program.arguments, step.firstArgument, step.argumentCount, m_variables,
                     program.slotTypes);
    pipeline.send(program.shapes[step.shape], m_parameters.types(), m_parameters.values(),
                  reinterpret_cast<std::uintptr_t>(&step), guess);
}

void PgBatchRunner::sendCheck(PgPipeline& pipeline, const platform::ReadCheck& check)
{
    const QueryShape shape = parseQueryShape(check.sql, PgDialect::instance());
    m_parameters.clear();
    m_parameters.add(check.sql, shape.arguments, 0, shape.arguments.size(), {}, {});
    pipeline.send(shape.sql, m_parameters.types(), m_parameters.values(), 0, -1, &check);
}

} // namespace ormex::db

#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "AnswerCache.h"
#include "BatchMemory.h"
#include "BatchProgram.h"
#include "SqliteStatement.h"
#include "StatementCache.h"
#include "platform/Value.h"

// Runs a parsed batch on one connection: each distinct statement text compiled once (from the
// connection's cache), each step binding its literals and variables, control flow here. Every
// statement text is compiled before the first step runs, so text SQLite cannot read stops the
// batch before it changes anything. The caller owns the transaction.
namespace ormex::db {

class BatchRunner
{
public:
    explicit BatchRunner(StatementCache& cache) : m_cache(cache) {}
    ~BatchRunner();
    BatchRunner(const BatchRunner&) = delete;
    BatchRunner& operator=(const BatchRunner&) = delete;
    // Throws ParseError when SQLite finds a statement unreadable (nothing ran), BusyError when the
    // database stayed locked by another connection, StatementError naming the statement that could
    // not be compiled or failed.
    void run(const BatchProgram& program);

private:
    void compile(const BatchProgram& program);
    void keepAnswers(const BatchProgram& program);
    // A condition's or a value query's answer, kept where it cannot change in the batch.
    platform::Value ask(const BatchProgram& program, const Step& step);
    // Runs a step's shape with its arguments bound; the first value of its first row, if asked.
    platform::Value run(const BatchProgram& program, const Step& step, bool wantValue);

    StatementCache& m_cache;
    AnswerCache m_answers;
    std::vector<std::shared_ptr<SqliteStatement>> m_compiled; // by shape; null past kKeptCompiled
    BatchMemory m_memory;                                     // for the variables of a long batch
    std::pmr::vector<platform::Value> m_variables{
        std::pmr::polymorphic_allocator<platform::Value>(&m_memory)}; // by slot
};

} // namespace ormex::db

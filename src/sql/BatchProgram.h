#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BatchMemory.h"
#include "Dialect.h"

// A parsed batch, ready to run: a flat list of steps over a handful of distinct statement texts
// (shapes). A step names its shape and the arguments bound to the shape's parameters; literals
// are views of the batch text, so a batch over 100,000 cards holds a few hundred bytes per card
// besides its text, and compiles each shape once.
namespace ormex::db {

struct Step
{
    enum class Kind : std::uint8_t {
        Run,      // run the shape
        SetValue, // the variable in `target` takes the one argument's value
        SetQuery, // the variable in `target` takes the shape's one value
        IfNot,    // go to step `target` unless the shape's one value is 1
        Jump,     // go to step `target`
    };
    // 24 bytes: a batch over every card holds millions of steps.
    Kind kind = Kind::Run;
    std::uint16_t argumentCount = 0; // at most kMaxArguments
    std::uint32_t shape = 0;         // Run, SetQuery, IfNot
    std::uint32_t firstArgument = 0;
    std::uint32_t target = 0; // the variable's slot, or the step to go to
    std::uint32_t textAt = 0; // the statement as written in the batch, for messages
    std::uint32_t textLength = 0;
};

// What a variable was declared as, for an engine that types the values it binds.
enum class VariableType : std::uint8_t { Other, Integer, Real, Text, Date };

// The type a DECLARE names (int, varchar, …).
VariableType variableTypeOf(std::string_view typeName);

struct BatchProgram
{
    // The parameters one statement may take.
    static constexpr std::size_t kMaxArguments = 0xffff;

    BatchProgram() = default;
    BatchProgram(BatchProgram&&) = default;
    // Steps and arguments live in the program's own memory: assigning would leave them behind.
    BatchProgram& operator=(BatchProgram&&) = delete;

    std::unique_ptr<BatchMemory> memory = std::make_unique<BatchMemory>(); // first: it outlives the rest
    std::string_view text; // the batch; steps and arguments point into it
    std::pmr::deque<Step> steps{std::pmr::polymorphic_allocator<Step>(memory.get())};
    std::pmr::deque<Argument> arguments{std::pmr::polymorphic_allocator<Argument>(memory.get())};
    std::vector<std::string> shapes;
    std::vector<std::uint32_t> shapeFirstStep; // the first step of each shape, to name it in errors
    std::size_t slotCount = 0;                 // the batch's variables
    std::vector<VariableType> slotTypes;       // by slot

    // The line (from 1) of a place in the text.
    int lineAt(std::size_t offset) const;
    int line(const Step& step) const { return lineAt(step.textAt); }
    std::string statementText(const Step& step) const
    {
        return std::string(text.substr(step.textAt, step.textLength));
    }
};

// One query with its literals lifted out: the shape to compile and the arguments to bind, which
// point into the query's text.
struct QueryShape
{
    std::string sql;
    std::vector<Argument> arguments;
};

} // namespace ormex::db

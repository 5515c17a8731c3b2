#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "TsqlLexer.h"

// What differs between database engines when the system's T-SQL runs on them: function names,
// data types, how a condition or a variable's value is queried, and how parameters are written.
// The parser and the executor know nothing else about the engine.
namespace ormex::db {

// A value a translated statement takes as a parameter instead of as text: a literal of the batch
// (a view of its text) or a variable of the batch. Statements that differ only in their literals
// and variables thus translate to the same text and are compiled once.
// Eight bytes: a batch over every card holds millions of them.
struct Argument
{
    enum class Kind : std::uint8_t { Text, Number, Variable };
    Argument() = default;
    // `length` is below 2^30: batches are shorter than that.
    Argument(Kind kind, std::uint32_t offsetOrSlot, std::uint32_t length)
        : at(offsetOrSlot), m_lengthAndKind(length << 2 | static_cast<std::uint32_t>(kind))
    {
    }
    Kind kind() const { return static_cast<Kind>(m_lengthAndKind & 3u); }
    // Text, Number: the literal's length (a text without its quotes); Variable: where the variable
    // stands in the batch text.
    std::uint32_t length() const { return m_lengthAndKind >> 2; }

    std::uint32_t at = 0; // Text, Number: offset in the batch text; Variable: the variable's slot

private:
    std::uint32_t m_lengthAndKind = 0;
};

// The argument a literal token stands for, or a variable token with its slot.
inline Argument argumentOf(const Token& t, std::uint32_t slot = 0)
{
    switch (t.kind) {
    case Token::Kind::String:
        return {Argument::Kind::Text, static_cast<std::uint32_t>(t.textOffset() + 1),
                static_cast<std::uint32_t>(t.text.size() - 2)};
    case Token::Kind::Number:
        return {Argument::Kind::Number, static_cast<std::uint32_t>(t.textOffset()),
                static_cast<std::uint32_t>(t.text.size())};
    default:
        return {Argument::Kind::Variable, slot, t.offset};
    }
}

struct Translation
{
    // The slot of a declared variable (with its '@', in any case), or -1 when it is not declared.
    std::function<long(std::string_view)> slot;
    // Where parameters go, numbered from 1 in the order they are added. Without it everything
    // stays text and variables are written by name.
    std::vector<Argument>* arguments = nullptr;
    // Literals become parameters too; off where a literal means something as text (a column
    // position in ORDER BY, the name of a result column).
    bool liftLiterals = true;
};

class Dialect
{
public:
    virtual ~Dialect() = default;
    // Translates an expression or the body of a statement, tokens [begin, end). Throws ParseError
    // for anything outside the dialect (an unknown function, an unsupported keyword, an
    // undeclared variable).
    virtual std::string translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                                  Translation& translation) const = 0;
    // A query whose one value is 1 when the translated condition holds, else 0.
    virtual std::string conditionQuery(const std::string& condition) const
    {
        return "SELECT CASE WHEN (" + condition + ") THEN 1 ELSE 0 END";
    }
    // A query whose one value is the translated expression.
    virtual std::string valueQuery(const std::string& expression) const
    {
        return "SELECT (" + expression + ")";
    }
    // How a variable is written when it is not a numbered parameter (the name it is bound by).
    virtual std::string variableName(const std::string& variable) const = 0;
    // How numbered parameter n (from 1) is written.
    virtual std::string parameter(std::size_t n) const = 0;
};

} // namespace ormex::db

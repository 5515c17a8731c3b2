#pragma once

#include <functional>
#include <string>
#include <vector>

#include "TsqlLexer.h"

// What differs between database engines when the system's T-SQL runs on them: function names,
// data types, how a condition or a variable's value is queried, and how variables are written.
// The parser and the executor know nothing else about the engine.
namespace ormex::db {

class Dialect
{
public:
    // Answers whether a variable (lower case, with its '@') is declared at this point.
    using VariableCheck = std::function<bool(const std::string&)>;

    virtual ~Dialect() = default;
    // Translates an expression or the body of a statement, tokens [begin, end). Throws ParseError
    // for anything outside the dialect (an unknown function, an unsupported keyword, an
    // undeclared variable).
    virtual std::string translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                                  const VariableCheck& declared) const = 0;
    // A query whose one value is 1 when the translated condition holds, else 0.
    virtual std::string conditionQuery(const std::string& condition) const = 0;
    // A query whose one value is the translated expression.
    virtual std::string valueQuery(const std::string& expression) const = 0;
    // How a variable is written in a translated statement (the name it is bound by).
    virtual std::string variableName(const std::string& variable) const = 0;
};

} // namespace ormex::db

#include "ArgumentBinding.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace ormex::db {

namespace {

std::string unquoted(std::string_view literal)
{
    std::string text;
    text.reserve(literal.size());
    for (std::size_t i = 0; i < literal.size(); ++i) {
        text += literal[i];
        if (literal[i] == '\'' && i + 1 < literal.size() && literal[i + 1] == '\'') ++i;
    }
    return text;
}

// The literal as a whole number, or nothing for a fraction, an exponent or a number too large.
std::optional<long long> wholeNumber(std::string_view digits)
{
    long long value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc() && end == digits.data() + digits.size()) return value;
    return std::nullopt;
}

platform::Value number(std::string_view digits)
{
    if (const auto whole = wholeNumber(digits)) return platform::Value(*whole);
    // A fraction, an exponent or an integer too large: a real, as the engine reads such a literal,
    // read with a decimal point whatever the process's locale.
    double value = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec ==
        std::errc::result_out_of_range) {
        // Beyond a double's range: infinite, or zero for a negative exponent, as strtod gives.
        const std::size_t e = digits.find_first_of("eE");
        value = e != std::string_view::npos && e + 1 < digits.size() && digits[e + 1] == '-' ? 0.0 : HUGE_VAL;
    }
    return platform::Value(value);
}

const platform::Value& variable(std::span<const platform::Value> variables, std::size_t slot)
{
    if (slot >= variables.size()) throw std::out_of_range("no such variable in the batch");
    return variables[slot];
}

} // namespace

platform::Value argumentValue(std::string_view text, const Argument& argument,
                              std::span<const platform::Value> variables)
{
    switch (argument.kind()) {
    case Argument::Kind::Text:
        return platform::Value(unquoted(text.substr(argument.at, argument.length())));
    case Argument::Kind::Number:
        return number(text.substr(argument.at, argument.length()));
    case Argument::Kind::Variable:
        break;
    }
    return variable(variables, argument.at);
}

void bindArgument(SqliteStatement& statement, int index, std::string_view text, const Argument& argument,
                  std::span<const platform::Value> variables)
{
    if (argument.kind() == Argument::Kind::Text) {
        const std::string_view literal = text.substr(argument.at, argument.length());
        if (literal.find('\'') == std::string_view::npos) {
            // The batch text outlives the statement's run: no copy.
            sqlite3_bind_text(statement.handle(), index, literal.data(), static_cast<int>(literal.size()),
                              SQLITE_STATIC);
            return;
        }
    }
    if (argument.kind() == Argument::Kind::Variable) {
        statement.bind(index, variable(variables, argument.at));
        return;
    }
    if (argument.kind() == Argument::Kind::Number) {
        // Most literals of a batch are whole numbers (branch ids, quantities): bound straight away.
        if (const auto whole = wholeNumber(text.substr(argument.at, argument.length()))) {
            sqlite3_bind_int64(statement.handle(), index, *whole);
            return;
        }
    }
    statement.bind(index, argumentValue(text, argument, variables));
}

} // namespace ormex::db

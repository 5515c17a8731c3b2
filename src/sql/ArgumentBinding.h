#pragma once

#include <span>
#include <string_view>

#include "Dialect.h"
#include "SqliteStatement.h"
#include "platform/Value.h"

// Binds a statement's arguments to its numbered parameters: a literal from the text it was read
// from (a number without a point or exponent stays an integer; a text has its doubled quotes
// undone), a variable from the batch's values.
namespace ormex::db {

// The value of a literal or variable argument.
platform::Value argumentValue(std::string_view text, const Argument& argument,
                              std::span<const platform::Value> variables);

template <typename Arguments>
void bindArguments(SqliteStatement& statement, std::string_view text, const Arguments& arguments,
                   std::size_t first, std::size_t count, std::span<const platform::Value> variables)
{
    for (std::size_t k = 0; k < count; ++k)
        bindArgument(statement, static_cast<int>(k + 1), text, arguments[first + k], variables);
}

void bindArgument(SqliteStatement& statement, int index, std::string_view text, const Argument& argument,
                  std::span<const platform::Value> variables);

} // namespace ormex::db

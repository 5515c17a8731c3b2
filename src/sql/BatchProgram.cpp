#include "BatchProgram.h"

#include <algorithm>

#include "platform/Text.h"

namespace ormex::db {

static_assert(sizeof(Step) == 24);
static_assert(sizeof(Argument) == 8);

int BatchProgram::lineAt(std::size_t offset) const
{
    const auto upTo = text.substr(0, std::min(offset, text.size()));
    return 1 + static_cast<int>(std::count(upTo.begin(), upTo.end(), '\n'));
}

VariableType variableTypeOf(std::string_view typeName)
{
    using platform::iequals;
    for (std::string_view name : {"int", "bigint", "smallint", "tinyint", "bit"})
        if (iequals(typeName, name)) return VariableType::Integer;
    for (std::string_view name : {"float", "real", "decimal", "numeric", "money"})
        if (iequals(typeName, name)) return VariableType::Real;
    for (std::string_view name : {"varchar", "nvarchar", "char", "nchar", "text"})
        if (iequals(typeName, name)) return VariableType::Text;
    for (std::string_view name : {"datetime", "date", "smalldatetime"})
        if (iequals(typeName, name)) return VariableType::Date;
    return VariableType::Other;
}

} // namespace ormex::db

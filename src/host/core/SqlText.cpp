#include "SqlText.h"

#include "platform/Text.h"

namespace ormex::host {

std::string literal(const platform::Value& value)
{
    if (value.isNull()) return "NULL";
    if (value.isNumber()) return value.toString();
    if (value.type() == platform::Value::Type::Bool) return value.toBool() ? "1" : "0";
    return quoted(value.toString());
}

} // namespace ormex::host

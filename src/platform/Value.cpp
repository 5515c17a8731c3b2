#include "Value.h"

#include <cmath>

#include "NumberText.h"
#include "Text.h"

namespace ormex::platform {

bool Value::isBlank() const
{
    if (isNull()) return true;
    if (isText()) return trim(std::get<std::string>(m_data)).empty();
    return false;
}

std::string Value::toString() const
{
    switch (type()) {
    case Type::Null:
        return {};
    case Type::Bool:
        return std::get<bool>(m_data) ? "True" : "False";
    case Type::Int:
        return std::to_string(std::get<std::int64_t>(m_data));
    case Type::Double:
        return formatNumber(std::get<double>(m_data));
    case Type::Text:
        return std::get<std::string>(m_data);
    }
    return {};
}

double Value::toDouble() const
{
    switch (type()) {
    case Type::Null:
        return 0.0;
    case Type::Bool:
        return std::get<bool>(m_data) ? -1.0 : 0.0;
    case Type::Int:
        return static_cast<double>(std::get<std::int64_t>(m_data));
    case Type::Double:
        return std::get<double>(m_data);
    case Type::Text: {
        const std::string& s = std::get<std::string>(m_data);
        if (iequals(trim(s), "true")) return -1.0;
        return numberOr0(s);
    }
    }
    return 0.0;
}

std::int64_t Value::toInt() const
{
    if (type() == Type::Int) return std::get<std::int64_t>(m_data);
    return static_cast<std::int64_t>(std::llround(toDouble()));
}

bool Value::toBool() const
{
    switch (type()) {
    case Type::Null:
        return false;
    case Type::Bool:
        return std::get<bool>(m_data);
    case Type::Int:
        return std::get<std::int64_t>(m_data) != 0;
    case Type::Double:
        return std::get<double>(m_data) != 0.0;
    case Type::Text: {
        std::string t = trim(std::get<std::string>(m_data));
        if (iequals(t, "true")) return true;
        if (iequals(t, "false")) return false;
        return numberOr0(t) != 0.0;
    }
    }
    return false;
}

bool Value::isNumeric() const
{
    if (isNumber()) return true;
    if (isText()) return isNumericText(std::get<std::string>(m_data));
    return false;
}

} // namespace ormex::platform

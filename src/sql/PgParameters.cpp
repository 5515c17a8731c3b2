#include "PgParameters.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "ArgumentBinding.h"

namespace ormex::db {

namespace {

std::string numberText(double number)
{
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
    char buffer[32];
    // The shortest text that reads back as the same double: nothing is lost on the way.
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return std::string(buffer, end);
}

} // namespace

void PgParameters::clear()
{
    m_types.clear();
    m_texts.clear();
    m_null.clear();
}

void PgParameters::add(std::string_view text, const Argument& argument,
                       std::span<const platform::Value> variables, const std::vector<VariableType>& slotTypes)
{
    switch (argument.kind()) {
    case Argument::Kind::Text:
        m_types.push_back(pgtype::kUnknown);
        m_texts.push_back(argumentValue(text, argument, variables).toString());
        m_null.push_back(false);
        return;
    case Argument::Kind::Number: {
        const std::string_view digits = text.substr(argument.at, argument.length());
        m_types.push_back(pgtype::kUnknown);
        m_texts.emplace_back(digits);
        m_null.push_back(false);
        return;
    }
    case Argument::Kind::Variable:
        break;
    }
    if (argument.at >= variables.size()) throw std::out_of_range("no such variable in the batch");
    add(variables[argument.at],
        argument.at < slotTypes.size() ? slotTypes[argument.at] : VariableType::Other);
}

void PgParameters::add(const platform::Value& value, VariableType declared)
{
    switch (value.type()) {
    case platform::Value::Type::Null:
        m_types.push_back(declared == VariableType::Integer ? pgtype::kInt8
                          : declared == VariableType::Real  ? pgtype::kFloat8
                                                            : pgtype::kUnknown);
        m_texts.emplace_back();
        m_null.push_back(true);
        return;
    case platform::Value::Type::Bool:
        m_types.push_back(pgtype::kBool);
        m_texts.emplace_back(value.toBool() ? "true" : "false");
        break;
    case platform::Value::Type::Int:
        m_types.push_back(pgtype::kInt8);
        m_texts.push_back(std::to_string(value.toInt()));
        break;
    case platform::Value::Type::Double:
        m_types.push_back(pgtype::kFloat8);
        m_texts.push_back(numberText(value.toDouble()));
        break;
    case platform::Value::Type::Text:
        m_types.push_back(pgtype::kUnknown);
        m_texts.push_back(value.toString());
        break;
    }
    m_null.push_back(false);
}

const char* const* PgParameters::values()
{
    m_values.resize(m_texts.size());
    for (std::size_t k = 0; k < m_texts.size(); ++k)
        m_values[k] = m_null[k] ? nullptr : m_texts[k].c_str();
    return m_values.data();
}

} // namespace ormex::db

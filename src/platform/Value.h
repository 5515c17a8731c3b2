#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

// The platform's variant: what a field, a cell, a setting or a property holds. It converts the way
// the original platform did: numbers to text through formatNumber, text to numbers only when the
// whole text is a number, null to empty text or 0.
namespace ormex::platform {

class Value
{
public:
    enum class Type { Null, Bool, Int, Double, Text };

    Value() = default;
    Value(std::nullptr_t) {}
    Value(bool b) : m_data(b) {}
    Value(int i) : m_data(static_cast<std::int64_t>(i)) {}
    Value(long i) : m_data(static_cast<std::int64_t>(i)) {}
    Value(long long i) : m_data(static_cast<std::int64_t>(i)) {}
    Value(unsigned i) : m_data(static_cast<std::int64_t>(i)) {}
    Value(double d) : m_data(d) {}
    Value(const char* s) : m_data(std::string(s ? s : "")) {}
    Value(std::string s) : m_data(std::move(s)) {}
    Value(std::string_view s) : m_data(std::string(s)) {}

    Type type() const { return static_cast<Type>(m_data.index()); }
    bool isNull() const { return type() == Type::Null; }
    bool isNumber() const { return type() == Type::Int || type() == Type::Double; }
    bool isText() const { return type() == Type::Text; }
    // Null, or text that is empty after trimming.
    bool isBlank() const;

    // Text form: null gives "", numbers use formatNumber, Booleans "True"/"False".
    std::string toString() const;
    // Numeric value: numbers as they are, Booleans -1/0 as the original platform had them, text
    // when the whole text is a number, anything else 0.
    double toDouble() const;
    // toDouble rounded half away from zero.
    std::int64_t toInt() const;
    // Booleans as they are; numbers are true when not 0; text "True"/"False" in any case, or a
    // number; anything else false.
    bool toBool() const;
    // True when the value is a number or a text that is a number.
    bool isNumeric() const;

    friend bool operator==(const Value& a, const Value& b) { return a.m_data == b.m_data; }

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string> m_data;
};

} // namespace ormex::platform

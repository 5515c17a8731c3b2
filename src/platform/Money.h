#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// An amount of money held exactly, as a whole number of ten-thousandths of a yuan: the precision
// of the balance encoding. Sums and differences are exact, and the conversions to and from text
// never pass through a binary fraction, so 131.78 - 131.58 is 0.2 and three recharges of 0.1 are
// 0.3. Text is read and written without regard to the system locale.
namespace ormex::platform {

class Money
{
public:
    static constexpr std::int64_t kUnitsPerYuan = 10000;
    static constexpr int kDecimals = 4;
    // The largest magnitude held: 15 significant digits, the most a stored number keeps exactly.
    static constexpr std::int64_t kMaxUnits = 999'999'999'999'999;

    constexpr Money() = default;
    static constexpr Money fromUnits(std::int64_t units) { return Money(units); }

    // A plain decimal written as an operator or a statement writes it: blanks around it, an
    // optional sign, digits with at most one point and at most four decimals. Nothing for
    // anything else (an exponent, a fifth decimal, a thousands separator, more than kMaxUnits),
    // so nothing typed is ever silently changed into another amount.
    static std::optional<Money> parse(std::string_view text);
    // An amount that arrived as a double (a number column, a computed rate): rounded half away
    // from zero to four decimals on its 15-digit text, so binary noise never decides a digit.
    // Nothing when it is not finite or beyond kMaxUnits.
    static std::optional<Money> fromDouble(double value);
    // fromDouble for values known to be amounts; 0 for anything fromDouble refuses.
    static Money ofDouble(double value) { return fromDouble(value).value_or(Money()); }

    constexpr std::int64_t units() const { return m_units; }
    double toDouble() const;
    // The shortest text of the amount: "100", "12.5", "-0.3", "0".
    std::string toString() const;
    // With a fixed number of decimals (0 to 4), rounded half away from zero: "12.50".
    std::string toFixed(int decimals) const;
    // Rounded half away from zero to the given decimals (0 to 4).
    Money rounded(int decimals) const;

    constexpr bool isZero() const { return m_units == 0; }
    constexpr bool isNegative() const { return m_units < 0; }
    constexpr Money abs() const { return Money(m_units < 0 ? -m_units : m_units); }

    constexpr Money operator-() const { return Money(-m_units); }
    constexpr Money operator+(Money other) const { return Money(m_units + other.m_units); }
    constexpr Money operator-(Money other) const { return Money(m_units - other.m_units); }
    constexpr Money& operator+=(Money other)
    {
        m_units += other.m_units;
        return *this;
    }
    constexpr Money& operator-=(Money other)
    {
        m_units -= other.m_units;
        return *this;
    }
    constexpr auto operator<=>(const Money&) const = default;

    // True when the amount is within kMaxUnits (a sum of two amounts may not be).
    constexpr bool inRange() const { return m_units >= -kMaxUnits && m_units <= kMaxUnits; }

private:
    constexpr explicit Money(std::int64_t units) : m_units(units) {}
    std::int64_t m_units = 0;
};

// Amounts written in code as they are read: 0.1_yuan is exactly one tenth, never the double
// nearest to it. A literal that is not an amount throws std::invalid_argument.
namespace money_literals {
Money operator""_yuan(const char* literal);
} // namespace money_literals

} // namespace ormex::platform

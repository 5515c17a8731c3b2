#include "Money.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace ormex::platform {

namespace {

constexpr std::int64_t kPowers[] = {1, 10, 100, 1000, 10000};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// The units of a decimal written as `digits` times ten to the power `exponent` (digits without
// sign or point), rounded half away from zero to whole units. Nothing beyond kMaxUnits.
std::optional<std::int64_t> unitsOf(std::string_view digits, int exponent)
{
    const auto nonZero = digits.find_first_not_of('0');
    if (nonZero == std::string_view::npos) return 0;
    digits.remove_prefix(nonZero);
    const int shift = exponent + Money::kDecimals; // where the units' point falls
    const int kept = static_cast<int>(digits.size()) + std::min(shift, 0);
    if (kept + std::max(shift, 0) > 15) return std::nullopt;
    std::int64_t units = 0;
    for (int i = 0; i < kept; ++i)
        units = units * 10 + (digits[static_cast<std::size_t>(i)] - '0');
    for (int i = 0; i < shift; ++i)
        units *= 10;
    if (kept >= 0 && kept < static_cast<int>(digits.size()) && digits[static_cast<std::size_t>(kept)] >= '5')
        ++units;
    if (units > Money::kMaxUnits) return std::nullopt;
    return units;
}

} // namespace

std::optional<Money> Money::parse(std::string_view text)
{
    text = trimmed(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::string digits;
    int decimals = -1; // -1 until the point is seen
    for (char c : text) {
        if (isDigit(c)) {
            digits += c;
            if (decimals >= 0) ++decimals;
        } else if (c == '.' && decimals < 0) {
            decimals = 0;
        } else {
            return std::nullopt;
        }
    }
    if (digits.empty() || decimals > kDecimals) return std::nullopt;
    const auto units = unitsOf(digits, -std::max(decimals, 0));
    if (!units) return std::nullopt;
    return Money(negative ? -*units : *units);
}

std::optional<Money> Money::fromDouble(double value)
{
    if (!std::isfinite(value)) return std::nullopt;
    char buf[40];
    const auto written = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, 14);
    if (written.ec != std::errc()) return std::nullopt;
    std::string_view text(buf, static_cast<std::size_t>(written.ptr - buf));
    const bool negative = text.front() == '-';
    if (negative) text.remove_prefix(1);
    // d.dddddddddddddde±x: fifteen significant digits and the exponent of the first.
    const auto e = text.find('e');
    std::string digits;
    for (char c : text.substr(0, e))
        if (isDigit(c)) digits += c;
    int exponent = 0;
    std::string_view power = text.substr(e + 1);
    if (!power.empty() && power.front() == '+') power.remove_prefix(1);
    std::from_chars(power.data(), power.data() + power.size(), exponent);
    const auto units = unitsOf(digits, exponent - static_cast<int>(digits.size()) + 1);
    if (!units) return std::nullopt;
    return Money(negative ? -*units : *units);
}

double Money::toDouble() const
{
    return static_cast<double>(m_units) / static_cast<double>(kUnitsPerYuan);
}

std::string Money::toString() const
{
    std::string text = toFixed(kDecimals);
    while (text.back() == '0')
        text.pop_back();
    if (text.back() == '.') text.pop_back();
    return text;
}

Money Money::rounded(int decimals) const
{
    if (decimals >= kDecimals) return *this;
    const std::int64_t step = kPowers[kDecimals - std::max(decimals, 0)];
    std::int64_t whole = m_units / step;
    const std::int64_t rest = m_units % step;
    if ((rest < 0 ? -rest : rest) * 2 >= step) whole += m_units < 0 ? -1 : 1;
    return Money(whole * step);
}

std::string Money::toFixed(int decimals) const
{
    decimals = std::clamp(decimals, 0, kDecimals);
    const std::int64_t units = rounded(decimals).m_units;
    const std::int64_t magnitude = units < 0 ? -units : units;
    std::string text = (units < 0 ? "-" : "") + std::to_string(magnitude / kUnitsPerYuan);
    if (decimals > 0) {
        std::string fraction = std::to_string(magnitude % kUnitsPerYuan);
        fraction.insert(0, static_cast<std::size_t>(kDecimals) - fraction.size(), '0');
        text += "." + fraction.substr(0, static_cast<std::size_t>(decimals));
    }
    return text;
}

Money money_literals::operator""_yuan(const char* literal)
{
    const auto money = Money::parse(literal);
    if (!money) throw std::invalid_argument(std::string("not an amount: ") + literal);
    return *money;
}

} // namespace ormex::platform

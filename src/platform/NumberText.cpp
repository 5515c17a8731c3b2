#include "NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "Text.h"

namespace ormex::platform {

namespace {

// Number texts never follow the process's locale (a Qt program adopts the system's, and a till set
// to write decimals with a comma would put "12,5" into a statement): every conversion here goes
// through to_chars and from_chars, which always write and read a decimal point.

// `value` as printf's %.<precision>g or %.<precision>f would write it in the C locale.
std::string charsOf(double value, std::chars_format format, int precision)
{
    char buf[400]; // a fixed double of 15 decimals is at most 309 + 1 + 15 characters
    const auto written = std::to_chars(buf, buf + sizeof buf, value, format, precision);
    if (written.ec != std::errc()) throw std::range_error("a number too long to write");
    return std::string(buf, written.ptr);
}

// The decimal text (an optional '+' allowed) as a double; nothing when it is not one whole.
std::optional<double> doubleOf(std::string_view text)
{
    if (!text.empty() && text.front() == '+') text.remove_prefix(1); // from_chars takes no plus sign
    double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

// Drops trailing zeros of the fractional part and a dangling decimal point.
void stripZeros(std::string& s)
{
    if (s.find('.') == std::string::npos) return;
    while (!s.empty() && s.back() == '0')
        s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
}

} // namespace

std::string formatNumber(double value)
{
    if (std::isnan(value)) return "0";
    if (value == 0.0) return "0"; // also turns -0 into 0
    // Whole numbers of up to 15 digits, as most amounts and points are: %.15g writes them as
    // they are.
    if (std::fabs(value) < 1e15 && value == std::trunc(value))
        return std::to_string(static_cast<long long>(value));
    std::string s = charsOf(value, std::chars_format::general, 15);
    const double magnitude = std::fabs(value);
    if (s.find('e') != std::string::npos && magnitude >= 1e-10 && magnitude < 1e15) {
        // Small amounts are written out in full, still with 15 significant digits.
        const int exponent = static_cast<int>(std::floor(std::log10(magnitude)));
        const int decimals = exponent < 14 ? 14 - exponent : 0;
        s = charsOf(value, std::chars_format::fixed, decimals);
        stripZeros(s);
        return s;
    }
    if (s.find('e') == std::string::npos) stripZeros(s);
    if (s == "-0") return "0";
    return s;
}

double roundTo(double value, int decimals)
{
    // Round on the 15-digit decimal text so binary noise does not decide the direction.
    const double exact = doubleOf(formatNumber(value)).value_or(value);
    const double scale = std::pow(10.0, decimals);
    const double scaled = doubleOf(formatNumber(exact * scale)).value_or(exact * scale);
    const double rounded = std::round(scaled); // half away from zero
    return rounded / scale;
}

std::string formatFixed(double value, int decimals)
{
    std::string s = charsOf(roundTo(value, decimals), std::chars_format::fixed, decimals);
    if (s.find_first_not_of("-0.") == std::string::npos && s.front() == '-') s.erase(0, 1);
    return s;
}

int decimalPlaces(double value)
{
    const std::string text = formatNumber(std::fabs(value));
    const std::size_t e = text.find('e');
    const std::string mantissa = text.substr(0, e);
    const std::size_t point = mantissa.find('.');
    const int decimals = point == std::string::npos ? 0 : static_cast<int>(mantissa.size() - point - 1);
    int exponent = 0;
    if (e != std::string::npos) {
        const char* digits = text.c_str() + e + 1;
        if (*digits == '+') ++digits;
        std::from_chars(digits, text.c_str() + text.size(), exponent);
    }
    return std::max(0, decimals - exponent);
}

std::optional<double> parseNumber(std::string_view text)
{
    std::string s = trim(text);
    if (s.empty()) return std::nullopt;
    std::size_t i = 0;
    if (s[i] == '+' || s[i] == '-') ++i;
    std::size_t digits = 0;
    bool point = false;
    for (; i < s.size(); ++i) {
        char c = s[i];
        if (c >= '0' && c <= '9')
            ++digits;
        else if (c == '.' && !point)
            point = true;
        else
            break;
    }
    if (digits == 0) return std::nullopt;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        std::size_t expDigits = 0;
        while (j < s.size() && s[j] >= '0' && s[j] <= '9') {
            ++j;
            ++expDigits;
        }
        if (expDigits == 0) return std::nullopt;
        i = j;
    }
    if (i != s.size()) return std::nullopt;
    // from_chars reports a value beyond a double's range as out of range.
    const auto v = doubleOf(s);
    if (!v || !std::isfinite(*v)) return std::nullopt;
    return v;
}

std::optional<double> parseTypedNumber(std::string_view text, int decimals)
{
    const std::string s = trim(text);
    if (s.empty()) return std::nullopt;
    std::size_t i = s[0] == '+' || s[0] == '-' ? 1 : 0;
    std::size_t digits = 0, significant = 0;
    int fraction = -1; // -1 until the point
    for (; i < s.size(); ++i) {
        const char c = s[i];
        if (c >= '0' && c <= '9') {
            ++digits;
            if (significant > 0 || c != '0') ++significant;
            if (fraction >= 0) ++fraction;
        } else if (c == '.' && fraction < 0) {
            fraction = 0;
        } else {
            return std::nullopt;
        }
    }
    if (digits == 0 || fraction > decimals || significant > 15) return std::nullopt;
    const auto value = doubleOf(s);
    if (!value) return std::nullopt;
    return *value == 0 ? 0.0 : *value; // no negative zero
}

std::string sqlNumber(std::string_view text)
{
    if (!parseTypedNumber(text, 15))
        throw std::invalid_argument("“" + std::string(text) + "”不是数字，不能写入语句！");
    return trim(text);
}

bool isNumericText(std::string_view text)
{
    return parseNumber(text).has_value();
}

double numberOr0(std::string_view text)
{
    return parseNumber(text).value_or(0.0);
}

bool isAllDigits(std::string_view text)
{
    if (text.empty()) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    return true;
}

} // namespace ormex::platform

#include "BalanceCodec.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "NumberText.h"
#include "Text.h"

namespace ormex::platform {

namespace {

std::vector<char32_t> toCodePoints(std::string_view s)
{
    std::vector<char32_t> out;
    for (std::size_t i = 0; i < s.size();) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        char32_t cp;
        int extra;
        if (c < 0x80) {
            cp = c;
            extra = 0;
        } else if ((c & 0xE0) == 0xC0) {
            cp = c & 0x1F;
            extra = 1;
        } else if ((c & 0xF0) == 0xE0) {
            cp = c & 0x0F;
            extra = 2;
        } else {
            cp = c & 0x07;
            extra = 3;
        }
        ++i;
        for (int k = 0; k < extra && i < s.size(); ++k, ++i)
            cp = (cp << 6) | (static_cast<unsigned char>(s[i]) & 0x3F);
        out.push_back(cp);
    }
    return out;
}

void appendUtf8(std::string& out, char32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

long shiftAt(std::size_t n, std::size_t i) // i is 1-based
{
    return 3 * (static_cast<long>(n) - 4 + static_cast<long>(i));
}

} // namespace

std::string encodeBalance(std::string_view value)
{
    const auto number = parseNumber(trimRight(value));
    if (!number) return "0";
    std::string digits = formatNumber(*number * 10000.0);
    std::reverse(digits.begin(), digits.end());
    const std::size_t n = digits.size();
    std::string out;
    for (std::size_t i = 1; i <= n; ++i) {
        const long cp = static_cast<long>(static_cast<unsigned char>(digits[i - 1])) + shiftAt(n, i);
        appendUtf8(out, static_cast<char32_t>(std::max(cp, 1L)));
    }
    return out;
}

std::string encodeBalance(double value)
{
    return encodeBalance(formatNumber(value));
}

std::string encodeBalance(Money value)
{
    return encodeBalance(value.toString());
}

std::optional<double> tryDecodeBalance(std::string_view stored)
{
    if (stored.empty() || stored == "0") return 0.0;
    const std::vector<char32_t> cps = toCodePoints(stored);
    const std::size_t n = cps.size();
    std::string plain;
    for (std::size_t i = 1; i <= n; ++i) {
        const long cp = static_cast<long>(cps[i - 1]) - shiftAt(n, i);
        if (cp < 32 || cp > 126) return std::nullopt; // not a character the encoding produces from a number
        plain += static_cast<char>(cp);
    }
    std::reverse(plain.begin(), plain.end());
    const auto number = parseNumber(plain);
    if (!number) return std::nullopt;
    return *number / 10000.0;
}

std::optional<Money> tryDecodeMoney(std::string_view stored)
{
    const auto balance = tryDecodeBalance(stored);
    return balance ? Money::fromDouble(*balance) : std::nullopt;
}

std::string decodeBalance(std::string_view stored)
{
    const double balance = tryDecodeBalance(stored).value_or(0.0);
    const auto exact = Money::fromDouble(balance);
    return exact ? exact->toString() : formatNumber(balance);
}

double decodeBalanceValue(std::string_view stored)
{
    return numberOr0(decodeBalance(stored));
}

} // namespace ormex::platform

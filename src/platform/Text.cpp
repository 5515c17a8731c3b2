#include "Text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace ormex::platform {

namespace {
char lowerAscii(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
char upperAscii(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}
bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}
bool isSpaceOrBreak(char c)
{
    return isBlank(c) || c == '\r' || c == '\n';
}
} // namespace

std::size_t NoCaseHash::operator()(std::string_view s) const
{
    std::size_t hash = 1469598103934665603ull; // FNV-1a
    for (char c : s)
        hash = (hash ^ static_cast<unsigned char>(lowerAscii(c))) * 1099511628211ull;
    return hash;
}

bool iequals(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
    return true;
}

std::string toLowerAscii(std::string_view s)
{
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), lowerAscii);
    return out;
}

std::string toUpperAscii(std::string_view s)
{
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), upperAscii);
    return out;
}

std::string trimLeft(std::string_view s)
{
    std::size_t b = 0;
    while (b < s.size() && isSpaceOrBreak(s[b]))
        ++b;
    return std::string(s.substr(b));
}

std::string trimRight(std::string_view s)
{
    std::size_t e = s.size();
    while (e > 0 && isSpaceOrBreak(s[e - 1]))
        --e;
    return std::string(s.substr(0, e));
}

std::string trim(std::string_view s)
{
    return trimLeft(trimRight(s));
}

std::string quoteDoubled(std::string_view s)
{
    std::string out;
    out.reserve(s.size() + 4);
    for (char c : s) {
        out += c;
        if (c == '\'') out += '\'';
    }
    return out;
}

std::string quoted(std::string_view s)
{
    return "'" + quoteDoubled(s) + "'";
}

std::vector<std::string> split(std::string_view s, char separator)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        std::size_t pos = s.find(separator, start);
        if (pos == std::string_view::npos) {
            parts.emplace_back(s.substr(start));
            return parts;
        }
        parts.emplace_back(s.substr(start, pos - start));
        start = pos + 1;
    }
}

std::string join(const std::vector<std::string>& parts, std::string_view separator)
{
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i) out += separator;
        out += parts[i];
    }
    return out;
}

bool startsWithNoCase(std::string_view s, std::string_view prefix)
{
    return s.size() >= prefix.size() && iequals(s.substr(0, prefix.size()), prefix);
}

bool containsText(std::string_view haystack, std::string_view needle)
{
    return haystack.find(needle) != std::string_view::npos;
}

std::size_t utf8Length(std::string_view s)
{
    std::size_t n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

std::string firstCharacters(std::string_view s, std::size_t count)
{
    std::size_t characters = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        if ((c & 0xC0) != 0x80 && characters++ == count) return std::string(s.substr(0, i));
    }
    return std::string(s);
}

std::size_t invalidUtf8At(std::string_view s)
{
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t n = s.size();
    std::size_t i = 0;
    while (i < n) {
        // Runs of ASCII, eight bytes at a time.
        while (i + 8 <= n) {
            std::uint64_t word;
            std::memcpy(&word, p + i, 8);
            if (word & 0x8080808080808080u) break;
            i += 8;
        }
        while (i < n && p[i] < 0x80)
            ++i;
        if (i >= n) break;
        // One multi-byte character. The second byte's range rules out overlong forms (after E0
        // and F0), surrogates (after ED) and code points past U+10FFFF (after F4).
        const unsigned char lead = p[i];
        std::size_t length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            return i; // a continuation byte without a lead, C0, C1 or F5 to FF
        }
        if (i + 1 >= n || p[i + 1] < low || p[i + 1] > high) return i;
        for (std::size_t k = 2; k < length; ++k)
            if (i + k >= n || (p[i + k] & 0xC0) != 0x80) return i;
        i += length;
    }
    return std::string_view::npos;
}

std::size_t dbcsWidth(std::string_view s)
{
    std::size_t width = 0;
    for (unsigned char c : s) {
        if (c < 0x80)
            width += 1;
        else if ((c & 0xC0) != 0x80)
            width += 2;
    }
    return width;
}

std::string entryCode(std::string_view entry)
{
    std::size_t bar = entry.find('|');
    return std::string(bar == std::string_view::npos ? entry : entry.substr(bar + 1));
}

std::string padEntry(std::string_view name, std::size_t width, std::string_view code)
{
    std::string out(name);
    for (std::size_t w = dbcsWidth(name); w < width; ++w)
        out += ' ';
    out += '|';
    out += code;
    return out;
}

} // namespace ormex::platform

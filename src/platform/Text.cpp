#include "Text.h"

#include <algorithm>

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

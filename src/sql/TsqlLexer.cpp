#include "TsqlLexer.h"

#include <array>
#include <cstdint>

#include "DbError.h"

namespace ormex::db {

namespace {

// Character classes, looked up once per character.
enum : std::uint8_t {
    kBlank = 1,      // space, tab, CR, LF, FF, VT
    kIdentStart = 2, // letters, '_', '#' and every byte of a multi-byte character
    kIdentChar = 4,  // those, digits and '$'
    kDigit = 8,
    kSymbol = 16, // the one-character symbols of the dialect
};

constexpr std::array<std::uint8_t, 256> kClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    for (unsigned char c : std::string_view(" \t\r\n\f\v"))
        classes[c] |= kBlank;
    for (int c = 0; c < 256; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool digit = c >= '0' && c <= '9';
        if (letter || c == '_' || c == '#' || c >= 0x80) classes[c] |= kIdentStart | kIdentChar;
        if (digit || c == '$') classes[c] |= kIdentChar;
        if (digit) classes[c] |= kDigit;
    }
    for (unsigned char c : std::string_view("(),.*+-/%=<>;"))
        classes[c] |= kSymbol;
    return classes;
}();

bool is(char c, std::uint8_t cls)
{
    return (kClasses[static_cast<unsigned char>(c)] & cls) != 0;
}

// The length of the comparison operator at the front of s (two characters), or 0.
std::size_t twoCharOperator(std::string_view s)
{
    if (s.size() < 2) return 0;
    const char a = s[0];
    const char b = s[1];
    if ((a == '<' && (b == '>' || b == '=')) || (a == '>' && b == '=') ||
        (a == '!' && (b == '=' || b == '<' || b == '>')))
        return 2;
    return 0;
}

} // namespace

Token Lexer::next()
{
    const std::string_view s = m_s;
    std::size_t& i = m_i;
    for (;;) {
        while (i < s.size() && is(s[i], kBlank)) {
            if (s[i] == '\n') ++m_line;
            ++i;
        }
        if (i >= s.size())
            return Token{Token::Kind::End, false, m_line, {}, static_cast<std::uint32_t>(s.size()), 0};
        const std::size_t start = i;
        // The token read, ending just before i.
        auto token = [&](Token::Kind kind, std::string_view text, int line, bool bracketed = false) {
            return Token{kind,
                         bracketed,
                         line,
                         text,
                         static_cast<std::uint32_t>(start),
                         static_cast<std::uint32_t>(i - start)};
        };
        const char c = s[i];
        const char after = i + 1 < s.size() ? s[i + 1] : '\0';
        if (c == '-' && after == '-') {
            while (i < s.size() && s[i] != '\n')
                ++i;
        } else if (c == '/' && after == '*') {
            const int startLine = m_line;
            i += 2;
            while (i + 1 < s.size() && !(s[i] == '*' && s[i + 1] == '/')) {
                if (s[i] == '\n') ++m_line;
                ++i;
            }
            if (i + 1 >= s.size()) throw ParseError(startLine, "unterminated comment");
            i += 2;
        } else if (c == '\'' || ((c == 'N' || c == 'n') && after == '\'')) {
            const int startLine = m_line;
            if (c != '\'') ++i; // N'…' is an ordinary string here: all text is Unicode
            const std::size_t quote = i++;
            for (;;) {
                const std::size_t close = s.find('\'', i);
                if (close == std::string_view::npos) throw ParseError(startLine, "unterminated string");
                for (std::size_t k = i; k < close; ++k)
                    if (s[k] == '\n') ++m_line;
                i = close + 1;
                if (i < s.size() && s[i] == '\'') {
                    ++i; // a doubled quote stands for one quote
                    continue;
                }
                break;
            }
            return token(Token::Kind::String, s.substr(quote, i - quote), startLine);
        } else if (is(c, kIdentStart)) {
            std::size_t j = i + 1;
            while (j < s.size() && is(s[j], kIdentChar))
                ++j;
            i = j;
            return token(Token::Kind::Word, s.substr(start, j - start), m_line);
        } else if (is(c, kDigit) || (c == '.' && is(after, kDigit))) {
            std::size_t j = i;
            while (j < s.size() && (is(s[j], kDigit) || s[j] == '.'))
                ++j;
            if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
                std::size_t k = j + 1;
                if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
                if (k < s.size() && is(s[k], kDigit)) {
                    j = k;
                    while (j < s.size() && is(s[j], kDigit))
                        ++j;
                }
            }
            i = j;
            return token(Token::Kind::Number, s.substr(start, j - start), m_line);
        } else if (c == '[') {
            const std::size_t end = s.find(']', i);
            if (end == std::string_view::npos) throw ParseError(m_line, "unterminated [identifier]");
            i = end + 1;
            return token(Token::Kind::Word, s.substr(start + 1, end - start - 1), m_line, true);
        } else if (c == '@') {
            std::size_t j = i + 1;
            while (j < s.size() && is(s[j], kIdentChar))
                ++j;
            if (j == i + 1) throw ParseError(m_line, "'@' without a variable name");
            i = j;
            return token(Token::Kind::Variable, s.substr(start, j - start), m_line);
        } else if (const std::size_t length = twoCharOperator(s.substr(i))) {
            i += length;
            return token(Token::Kind::Symbol, s.substr(start, length), m_line);
        } else if (is(c, kSymbol)) {
            ++i;
            return token(Token::Kind::Symbol, s.substr(start, 1), m_line);
        } else {
            throw ParseError(m_line, std::string("unexpected character '") + c + "'");
        }
    }
}

std::vector<Token> tokenize(std::string_view text)
{
    std::vector<Token> tokens;
    Lexer lexer(text);
    do
        tokens.push_back(lexer.next());
    while (tokens.back().kind != Token::Kind::End);
    return tokens;
}

} // namespace ormex::db

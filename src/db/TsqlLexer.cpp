#include "TsqlLexer.h"

#include <cctype>

#include "DbError.h"

namespace ormex::db {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isLetter(unsigned char c)
{
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}
bool isIdentStart(unsigned char c)
{
    return isLetter(c) || c == '_' || c == '#' || c >= 0x80;
}
bool isIdentChar(unsigned char c)
{
    return isLetter(c) || isDigit(static_cast<char>(c)) || c == '_' || c == '#' || c == '$' || c >= 0x80;
}

} // namespace

Token Lexer::next()
{
    const std::string_view s = m_s;
    std::size_t& i = m_i;
    for (;;) {
        if (i >= s.size()) return Token{Token::Kind::End, false, m_line, {}, s.size(), 0};
        const std::size_t start = i;
        // The token read, ending just before i.
        auto token = [&](Token::Kind kind, std::string_view text, int line, bool bracketed = false) {
            return Token{kind, bracketed, line, text, start, i - start};
        };
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '\n') {
            ++m_line;
            ++i;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            ++i;
        } else if (c == '-' && i + 1 < s.size() && s[i + 1] == '-') {
            while (i < s.size() && s[i] != '\n')
                ++i;
        } else if (c == '/' && i + 1 < s.size() && s[i + 1] == '*') {
            const int startLine = m_line;
            i += 2;
            while (i + 1 < s.size() && !(s[i] == '*' && s[i + 1] == '/')) {
                if (s[i] == '\n') ++m_line;
                ++i;
            }
            if (i + 1 >= s.size()) throw ParseError(startLine, "unterminated comment");
            i += 2;
        } else if (c == '\'' || ((c == 'N' || c == 'n') && i + 1 < s.size() && s[i + 1] == '\'')) {
            const int startLine = m_line;
            if (c != '\'') ++i; // N'…' is an ordinary string here: all text is Unicode
            const std::size_t quote = i++;
            for (;;) {
                if (i >= s.size()) throw ParseError(startLine, "unterminated string");
                if (s[i] == '\'') {
                    if (i + 1 < s.size() && s[i + 1] == '\'') {
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                if (s[i] == '\n') ++m_line;
                ++i;
            }
            return token(Token::Kind::String, s.substr(quote, i - quote), startLine);
        } else if (c == '[') {
            const std::size_t end = s.find(']', i);
            if (end == std::string_view::npos) throw ParseError(m_line, "unterminated [identifier]");
            i = end + 1;
            return token(Token::Kind::Word, s.substr(start + 1, end - start - 1), m_line, true);
        } else if (c == '@') {
            std::size_t j = i + 1;
            while (j < s.size() && isIdentChar(static_cast<unsigned char>(s[j])))
                ++j;
            if (j == i + 1) throw ParseError(m_line, "'@' without a variable name");
            i = j;
            return token(Token::Kind::Variable, s.substr(start, j - start), m_line);
        } else if (isDigit(s[i]) || (c == '.' && i + 1 < s.size() && isDigit(s[i + 1]))) {
            std::size_t j = i;
            while (j < s.size() && (isDigit(s[j]) || s[j] == '.'))
                ++j;
            if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
                std::size_t k = j + 1;
                if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
                if (k < s.size() && isDigit(s[k])) {
                    j = k;
                    while (j < s.size() && isDigit(s[j]))
                        ++j;
                }
            }
            i = j;
            return token(Token::Kind::Number, s.substr(start, j - start), m_line);
        } else if (isIdentStart(c)) {
            std::size_t j = i;
            while (j < s.size() && isIdentChar(static_cast<unsigned char>(s[j])))
                ++j;
            i = j;
            return token(Token::Kind::Word, s.substr(start, j - start), m_line);
        } else {
            static constexpr std::string_view twoChar[] = {"<>", "<=", ">=", "!=", "!<", "!>"};
            for (std::string_view op : twoChar) {
                if (s.substr(i, 2) == op) {
                    i += 2;
                    return token(Token::Kind::Symbol, s.substr(start, 2), m_line);
                }
            }
            if (std::string_view("(),.*+-/%=<>;").find(static_cast<char>(c)) == std::string_view::npos)
                throw ParseError(m_line, std::string("unexpected character '") + static_cast<char>(c) + "'");
            ++i;
            return token(Token::Kind::Symbol, s.substr(start, 1), m_line);
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

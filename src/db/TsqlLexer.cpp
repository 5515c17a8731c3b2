#include "TsqlLexer.h"

#include <cctype>

#include "DbError.h"
#include "platform/Text.h"

namespace ormex::db {

bool Token::isWord(std::string_view word) const
{
    return kind == Kind::Word && !bracketed && platform::iequals(text, word);
}

bool Token::isSymbol(std::string_view symbol) const
{
    return kind == Kind::Symbol && text == symbol;
}

namespace {

bool isIdentStart(unsigned char c)
{
    return std::isalpha(c) || c == '_' || c == '#' || c >= 0x80;
}
bool isIdentChar(unsigned char c)
{
    return std::isalnum(c) || c == '_' || c == '#' || c == '$' || c >= 0x80;
}

} // namespace

std::vector<Token> tokenize(std::string_view s)
{
    std::vector<Token> tokens;
    int line = 1;
    std::size_t i = 0;
    std::size_t start = 0; // offset of the token being read
    // Called with i just past the token.
    auto push = [&](Token::Kind kind, std::string text, int at, bool bracketed = false) {
        tokens.push_back(Token{kind, std::move(text), at, bracketed, start, i - start});
    };
    while (i < s.size()) {
        start = i;
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '\n') {
            ++line;
            ++i;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            ++i;
        } else if (c == '-' && i + 1 < s.size() && s[i + 1] == '-') {
            while (i < s.size() && s[i] != '\n')
                ++i;
        } else if (c == '/' && i + 1 < s.size() && s[i + 1] == '*') {
            const int startLine = line;
            i += 2;
            while (i + 1 < s.size() && !(s[i] == '*' && s[i + 1] == '/')) {
                if (s[i] == '\n') ++line;
                ++i;
            }
            if (i + 1 >= s.size()) throw ParseError(startLine, "unterminated comment");
            i += 2;
        } else if (c == '\'' || ((c == 'N' || c == 'n') && i + 1 < s.size() && s[i + 1] == '\'')) {
            const int startLine = line;
            if (c != '\'') ++i; // N'…' is an ordinary string here: all text is Unicode
            std::string text = "'";
            ++i;
            for (;;) {
                if (i >= s.size()) throw ParseError(startLine, "unterminated string");
                if (s[i] == '\'') {
                    if (i + 1 < s.size() && s[i + 1] == '\'') {
                        text += "''";
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                if (s[i] == '\n') ++line;
                text += s[i++];
            }
            text += '\'';
            push(Token::Kind::String, std::move(text), startLine);
        } else if (c == '[') {
            const std::size_t end = s.find(']', i);
            if (end == std::string_view::npos) throw ParseError(line, "unterminated [identifier]");
            const std::string name(s.substr(i + 1, end - i - 1));
            i = end + 1;
            push(Token::Kind::Word, name, line, true);
        } else if (c == '@') {
            std::size_t j = i + 1;
            while (j < s.size() && isIdentChar(static_cast<unsigned char>(s[j])))
                ++j;
            if (j == i + 1) throw ParseError(line, "'@' without a variable name");
            const std::string name(s.substr(i, j - i));
            i = j;
            push(Token::Kind::Variable, name, line);
        } else if (std::isdigit(c) ||
                   (c == '.' && i + 1 < s.size() && std::isdigit(static_cast<unsigned char>(s[i + 1])))) {
            std::size_t j = i;
            while (j < s.size() && (std::isdigit(static_cast<unsigned char>(s[j])) || s[j] == '.'))
                ++j;
            if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
                std::size_t k = j + 1;
                if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
                if (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) {
                    j = k;
                    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j])))
                        ++j;
                }
            }
            const std::string number(s.substr(i, j - i));
            i = j;
            push(Token::Kind::Number, number, line);
        } else if (isIdentStart(c)) {
            std::size_t j = i;
            while (j < s.size() && isIdentChar(static_cast<unsigned char>(s[j])))
                ++j;
            const std::string word(s.substr(i, j - i));
            i = j;
            push(Token::Kind::Word, word, line);
        } else {
            static const char* const twoChar[] = {"<>", "<=", ">=", "!=", "!<", "!>"};
            bool matched = false;
            for (const char* op : twoChar) {
                if (s.substr(i, 2) == op) {
                    i += 2;
                    push(Token::Kind::Symbol, op, line);
                    matched = true;
                    break;
                }
            }
            if (matched) continue;
            if (std::string_view("(),.*+-/%=<>;").find(static_cast<char>(c)) == std::string_view::npos)
                throw ParseError(line, std::string("unexpected character '") + static_cast<char>(c) + "'");
            ++i;
            push(Token::Kind::Symbol, std::string(1, static_cast<char>(c)), line);
        }
    }
    tokens.push_back(Token{Token::Kind::End, "", line, false, s.size(), 0});
    return tokens;
}

} // namespace ormex::db

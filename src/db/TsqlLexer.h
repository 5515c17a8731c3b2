#pragma once

#include <string>
#include <string_view>
#include <vector>

// Splits T-SQL text into tokens, keeping the line of each so that errors can name it.
namespace ormex::db {

struct Token
{
    enum class Kind { Word, Variable, String, Number, Symbol, End };
    Kind kind = Kind::End;
    std::string text; // as written (strings include their quotes; [x] becomes x)
    int line = 0;
    bool bracketed = false; // a [quoted] identifier
    std::size_t offset = 0; // where the token starts in the text, and its length there
    std::size_t length = 0;

    bool isWord(std::string_view word) const; // case-insensitive keyword test
    bool isSymbol(std::string_view symbol) const;
};

// Throws ParseError for an unterminated string, comment or bracket and for a character the
// dialect has no use for.
std::vector<Token> tokenize(std::string_view text);

} // namespace ormex::db

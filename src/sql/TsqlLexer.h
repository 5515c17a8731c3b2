#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Splits T-SQL text into tokens, keeping the line of each so that errors can name it. A token is
// a view of the text it was read from; nothing is copied, so the text must outlive its tokens.
namespace ormex::db {

struct Token
{
    enum class Kind : std::uint8_t { Word, Variable, String, Number, Symbol, End };
    Kind kind = Kind::End;
    bool bracketed = false; // a [quoted] identifier
    int line = 0;
    std::string_view text;    // strings include their quotes (an N prefix is dropped); [x] is x
    std::uint32_t offset = 0; // where the token starts in the text as written, and its length there
    std::uint32_t length = 0; // (a batch is shorter than 4 GB)

    // Case-insensitive keyword test; `word` is lower case.
    bool isWord(std::string_view word) const
    {
        if (kind != Kind::Word || bracketed || text.size() != word.size()) return false;
        for (std::size_t i = 0; i < word.size(); ++i)
            if ((text[i] | 0x20) != word[i])
                return false; // lower case for letters; keywords are letters only
        return true;
    }
    // Symbols are one or two characters.
    bool isSymbol(std::string_view symbol) const
    {
        return kind == Kind::Symbol && text.size() == symbol.size() && text[0] == symbol[0] &&
               (text.size() == 1 || text[1] == symbol[1]);
    }
    // Where `text` starts in the text read.
    std::size_t textOffset() const { return offset + length - text.size() - (bracketed ? 1 : 0); }
};

// Reads one token at a time. Throws ParseError for an unterminated string, comment or bracket and
// for a character the dialect has no use for.
class Lexer
{
public:
    explicit Lexer(std::string_view text) : m_s(text) {}
    // The next token; an End token once the text is used up.
    Token next();

private:
    std::string_view m_s;
    std::size_t m_i = 0;
    int m_line = 1;
};

// Every token of the text, the End token last.
std::vector<Token> tokenize(std::string_view text);

} // namespace ormex::db

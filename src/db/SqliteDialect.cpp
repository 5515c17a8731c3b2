#include "SqliteDialect.h"

#include <array>

#include "DbError.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

using platform::iequals;
using platform::toLowerAscii;

// Words that may stand before "(" without being a function call.
constexpr std::array<std::string_view, 28> kKeywordsBeforeParen = {
    "in",    "exists", "values", "and",  "or", "not",  "when",    "then",    "else", "as",
    "on",    "select", "where",  "from", "is", "like", "between", "case",    "end",  "join",
    "union", "all",    "any",    "some", "by", "set",  "having",  "distinct"};

// Functions that mean the same on SQLite.
constexpr std::array<std::string_view, 13> kSameFunctions = {"lower", "upper",    "ltrim",  "rtrim", "abs",
                                                             "round", "count",    "sum",    "max",   "min",
                                                             "avg",   "coalesce", "replace"};

constexpr std::array<std::string_view, 4> kUnsupportedWords = {"top", "output", "with", "pivot"};

template <std::size_t N> bool oneOf(std::string_view word, const std::array<std::string_view, N>& list)
{
    for (std::string_view entry : list)
        if (iequals(word, entry)) return true;
    return false;
}

class Translator
{
public:
    Translator(const SqliteDialect& dialect, const std::vector<Token>& tokens, Translation& translation)
        : m_dialect(dialect), m_tokens(tokens), m_translation(translation)
    {
    }

    std::string range(std::size_t begin, std::size_t end) const
    {
        std::string out;
        for (std::size_t i = begin; i < end;) {
            std::string piece = token(i, end, i);
            if (piece.empty()) continue;
            if (!out.empty()) out += ' ';
            out += piece;
        }
        return out;
    }

private:
    [[noreturn]] void fail(std::size_t at, const std::string& message) const
    {
        throw ParseError(m_tokens[std::min(at, m_tokens.size() - 1)].line, message);
    }

    // Index of the ")" that closes the "(" at `open`.
    std::size_t closing(std::size_t open, std::size_t end) const
    {
        int depth = 0;
        for (std::size_t i = open; i < end; ++i) {
            if (m_tokens[i].isSymbol("("))
                ++depth;
            else if (m_tokens[i].isSymbol(")") && --depth == 0)
                return i;
        }
        fail(open, "missing ')'");
    }

    // Top-level comma positions between open and close.
    std::vector<std::size_t> commas(std::size_t open, std::size_t close) const
    {
        std::vector<std::size_t> at;
        int depth = 0;
        for (std::size_t i = open + 1; i < close; ++i) {
            if (m_tokens[i].isSymbol("("))
                ++depth;
            else if (m_tokens[i].isSymbol(")"))
                --depth;
            else if (depth == 0 && m_tokens[i].isSymbol(","))
                at.push_back(i);
        }
        return at;
    }

    std::string sqlType(std::size_t at, std::size_t end, bool& isText, long& length) const
    {
        const Token& t = m_tokens[at];
        if (at >= end || t.kind != Token::Kind::Word) fail(at, "a data type was expected");
        const std::string name = toLowerAscii(t.text);
        length = -1;
        if (at + 1 < end && m_tokens[at + 1].isSymbol("(") && at + 2 < end)
            length = std::atol(std::string(m_tokens[at + 2].text).c_str());
        isText = false;
        if (name == "varchar" || name == "nvarchar" || name == "char" || name == "nchar" || name == "text") {
            isText = true;
            return "TEXT";
        }
        if (name == "float" || name == "real" || name == "decimal" || name == "numeric" || name == "money")
            return "REAL";
        if (name == "int" || name == "bigint" || name == "smallint" || name == "tinyint" || name == "bit")
            return "INTEGER";
        if (name == "datetime" || name == "date" || name == "smalldatetime") return "";
        fail(at, "unknown data type '" + std::string(t.text) + "'");
    }

    std::string cast(const std::string& value, std::size_t typeAt, std::size_t end) const
    {
        bool isText = false;
        long length = -1;
        const std::string type = sqlType(typeAt, end, isText, length);
        if (type.empty()) return "(" + value + ")";
        if (isText && length > 0)
            return "substr(CAST((" + value + ") AS TEXT), 1, " + std::to_string(length) + ")";
        return "CAST((" + value + ") AS " + type + ")";
    }

    // Translates the token at i (and what belongs to it), advancing i.
    std::string token(std::size_t i, std::size_t end, std::size_t& next) const
    {
        const Token& t = m_tokens[i];
        next = i + 1;
        switch (t.kind) {
        case Token::Kind::Variable: {
            const long slot = m_translation.slot ? m_translation.slot(t.text) : -1;
            if (slot < 0) fail(i, "must declare the variable " + std::string(t.text));
            if (!m_translation.arguments) return m_dialect.variableName(toLowerAscii(t.text));
            return parameter(argumentOf(t, static_cast<std::uint32_t>(slot)));
        }
        case Token::Kind::String:
        case Token::Kind::Number:
            if (!m_translation.arguments || !m_translation.liftLiterals) return std::string(t.text);
            return parameter(argumentOf(t));
        case Token::Kind::Symbol:
            if (t.isSymbol(";")) fail(i, "unexpected ';'");
            // The server joins texts with '+'; SQLite would add them as numbers. The system
            // never joins texts in its statements, so such text is refused rather than misread.
            if (t.isSymbol("+") && ((i > 0 && m_tokens[i - 1].kind == Token::Kind::String) ||
                                    (i + 1 < end && m_tokens[i + 1].kind == Token::Kind::String)))
                fail(i, "texts joined with '+' are not supported");
            return std::string(t.text);
        case Token::Kind::End:
            return {};
        case Token::Kind::Word:
            break;
        }
        // SQLite reads [name] as an identifier, as the server does; a "name" would silently turn
        // into a text literal when no column is called so.
        if (t.bracketed) return "[" + std::string(t.text) + "]";
        // dbo.name → name
        if (t.isWord("dbo") && i + 2 < end && m_tokens[i + 1].isSymbol(".")) {
            next = i + 2;
            return {};
        }
        if (oneOf(t.text, kUnsupportedWords)) fail(i, "'" + std::string(t.text) + "' is not supported");
        const bool call = i + 1 < end && m_tokens[i + 1].isSymbol("(");
        if (!call || oneOf(t.text, kKeywordsBeforeParen)) return std::string(t.text);
        // Function calls.
        const std::size_t open = i + 1;
        const std::size_t close = closing(open, end);
        next = close + 1;
        const std::string name = toLowerAscii(t.text);
        const auto args = commas(open, close);
        auto arg = [&](std::size_t k) {
            const std::size_t from = k == 0 ? open + 1 : args[k - 1] + 1;
            const std::size_t to = k < args.size() ? args[k] : close;
            if (from >= to) fail(open, "an argument of " + std::string(t.text) + " is missing");
            return range(from, to);
        };
        if (name == "getdate") {
            if (close != open + 1) fail(i, "getdate takes no arguments");
            return "ormex_getdate()";
        }
        if (name == "isnull") {
            if (args.size() != 1) fail(i, "isnull takes two arguments");
            return "ifnull(" + arg(0) + ", " + arg(1) + ")";
        }
        if (name == "convert") {
            if (args.empty() || args.size() > 2)
                fail(i, "convert takes a type, a value and an optional style");
            if (args.size() == 2) {
                // Dates are held as ISO text, which is what the ISO styles write; any other style
                // would need a reformatting nobody has asked for.
                const std::string style =
                    args[1] + 2 == close ? std::string(m_tokens[args[1] + 1].text) : "?";
                if (style != "120" && style != "121" && style != "20" && style != "21" && style != "23")
                    fail(args[1] + 1, "convert style " + style + " is not supported");
            }
            return cast(arg(1), open + 1, args[0]);
        }
        if (name == "cast") {
            std::size_t as = open + 1;
            int depth = 0;
            for (; as < close; ++as) {
                if (m_tokens[as].isSymbol("("))
                    ++depth;
                else if (m_tokens[as].isSymbol(")"))
                    --depth;
                else if (depth == 0 && m_tokens[as].isWord("as"))
                    break;
            }
            if (as >= close) fail(i, "cast needs AS and a type");
            return cast(range(open + 1, as), as + 1, close);
        }
        if (name == "datediff") {
            if (args.size() != 2) fail(i, "datediff takes a unit and two dates");
            const std::string unit = toLowerAscii(range(open + 1, args[0]));
            if (unit != "day" && unit != "dd" && unit != "d")
                fail(i, "datediff unit '" + unit + "' is not supported");
            return "ormex_datediff_day(" + arg(1) + ", " + arg(2) + ")";
        }
        if (name == "f_decrypt") {
            if (!args.empty()) fail(i, "f_decrypt takes one argument");
            return "ormex_f_decrypt(" + arg(0) + ")";
        }
        if (name == "len") // the server's len does not count trailing blanks
            return "length(rtrim(" + range(open + 1, close) + "))";
        if (name == "substring") return "substr(" + range(open + 1, close) + ")";
        if (oneOf(name, kSameFunctions)) return name + "(" + range(open + 1, close) + ")";
        fail(i, "unknown function '" + std::string(t.text) + "'");
    }

    // Adds a parameter to the statement and writes its number.
    std::string parameter(const Argument& argument) const
    {
        m_translation.arguments->push_back(argument);
        return m_dialect.parameter(m_translation.arguments->size());
    }

    const SqliteDialect& m_dialect;
    const std::vector<Token>& m_tokens;
    Translation& m_translation;
};

} // namespace

std::string SqliteDialect::translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                                     Translation& translation) const
{
    return Translator(*this, tokens, translation).range(begin, end);
}

std::string SqliteDialect::conditionQuery(const std::string& condition) const
{
    return "SELECT CASE WHEN (" + condition + ") THEN 1 ELSE 0 END";
}

std::string SqliteDialect::valueQuery(const std::string& expression) const
{
    return "SELECT (" + expression + ")";
}

std::string SqliteDialect::variableName(const std::string& variable) const
{
    return variable;
}

std::string SqliteDialect::parameter(std::size_t n) const
{
    return "?" + std::to_string(n);
}

const SqliteDialect& SqliteDialect::instance()
{
    static const SqliteDialect dialect;
    return dialect;
}

} // namespace ormex::db

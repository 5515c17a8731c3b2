#include "TsqlTranslator.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <unordered_set>

#include "DbError.h"
#include "NestingLimit.h"
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

// Functions that mean the same on every engine.
constexpr std::array<std::string_view, 12> kSameFunctions = {
    "lower", "upper", "ltrim", "rtrim", "abs", "count", "sum", "max", "min", "avg", "coalesce", "replace"};

// Words that begin or join expressions rather than end an operand.
constexpr std::array<std::string_view, 24> kWordsBeforeOperand = {
    "in", "exists", "values",  "and",  "or",  "not", "when", "then", "else", "on",     "select",   "where",
    "is", "like",   "between", "case", "all", "any", "some", "by",   "set",  "having", "distinct", "if"};

constexpr std::array<std::string_view, 4> kUnsupportedWords = {"top", "output", "with", "pivot"};

template <std::size_t N> bool oneOf(std::string_view word, const std::array<std::string_view, N>& list)
{
    for (std::string_view entry : list)
        if (iequals(word, entry)) return true;
    return false;
}

// Writes the translation of a range of tokens. Every token is read once: the parentheses are
// matched once for the whole range, so a call's arguments are found without reading what nests
// inside them, and each piece is written straight into the one output text.
class Translator
{
public:
    Translator(const Dialect& dialect, const Spelling& spelling, const std::vector<Token>& tokens,
               std::size_t begin, std::size_t end, Translation& translation)
        : m_dialect(dialect), m_spelling(spelling), m_tokens(tokens), m_begin(begin), m_end(end),
          m_translation(translation)
    {
    }

    // Writes tokens [begin, end) separated by blanks.
    void range(std::size_t begin, std::size_t end, std::string& out)
    {
        bool first = true;
        for (std::size_t i = begin; i < end;) {
            const std::size_t mark = out.size();
            if (!first) out += ' ';
            const std::size_t written = out.size();
            token(i, end, i, out);
            if (out.size() == written)
                out.resize(mark); // nothing written: no blank either
            else
                first = false;
        }
    }

private:
    static constexpr std::uint32_t kUnmatched = 0xffffffffu;

    [[noreturn]] void fail(std::size_t at, const std::string& message) const
    {
        throw ParseError(m_tokens[std::min(at, m_tokens.size() - 1)].line, message);
    }

    // Matches the parentheses of the whole range, once: where each "(" closes, and in which "("
    // each token stands.
    void matchParentheses()
    {
        if (!m_closing.empty()) return;
        m_closing.assign(m_end - m_begin, kUnmatched);
        m_enclosing.assign(m_end - m_begin, kUnmatched);
        std::vector<std::size_t> opened;
        for (std::size_t i = m_begin; i < m_end; ++i) {
            if (!opened.empty()) m_enclosing[i - m_begin] = static_cast<std::uint32_t>(opened.back());
            if (m_tokens[i].isSymbol("(")) {
                opened.push_back(i);
            } else if (m_tokens[i].isSymbol(")") && !opened.empty()) {
                m_closing[opened.back() - m_begin] = static_cast<std::uint32_t>(i);
                opened.pop_back();
            }
        }
    }

    // Index of the ")" that closes the "(" at `open`.
    std::size_t closing(std::size_t open)
    {
        matchParentheses();
        const std::uint32_t close = m_closing[open - m_begin];
        if (close == kUnmatched) fail(open, "missing ')'");
        return close;
    }

    // Top-level comma positions between open and close.
    std::vector<std::size_t> commas(std::size_t open, std::size_t close)
    {
        std::vector<std::size_t> at;
        for (std::size_t i = open + 1; i < close; ++i) {
            if (m_tokens[i].isSymbol("("))
                i = closing(i);
            else if (m_tokens[i].isSymbol(","))
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
            return std::string(m_spelling.textType);
        }
        if (name == "float" || name == "real" || name == "decimal" || name == "numeric" || name == "money")
            return std::string(m_spelling.realType);
        if (name == "int" || name == "bigint" || name == "smallint" || name == "tinyint" || name == "bit")
            return std::string(m_spelling.integerType);
        if (name == "datetime" || name == "date" || name == "smalldatetime") return "";
        fail(at, "unknown data type '" + std::string(t.text) + "'");
    }

    // Writes tokens [from, to) converted to the type at [typeAt, typeEnd).
    void cast(std::size_t from, std::size_t to, std::size_t typeAt, std::size_t typeEnd, std::string& out)
    {
        bool isText = false;
        long length = -1;
        const std::string type = sqlType(typeAt, typeEnd, isText, length);
        if (type.empty()) {
            out += '(';
            range(from, to, out);
            out += ')';
        } else if (isText && length > 0) {
            out += "substr(CAST((";
            range(from, to, out);
            out += ") AS " + std::string(m_spelling.textType) + "), 1, " + std::to_string(length) + ")";
        } else {
            out += "CAST((";
            range(from, to, out);
            out += ") AS " + type + ")";
        }
    }

    // The number literal at i as an engine with typed number literals needs it: untyped where it
    // takes the type of what it stands beside, else cast. The text does not depend on the digits,
    // so that statements that differ only in their numbers share it.
    void number(std::size_t i, std::size_t end, std::string& out)
    {
        if (takesTypeBeside(i, end)) {
            // A literal after it in the same computation takes the type too: @n * 10 / 4.
            m_typedBeside.insert(i);
            parameter(argumentOf(m_tokens[i]), out);
            return;
        }
        out += "CAST(";
        parameter(argumentOf(m_tokens[i]), out);
        out += " AS ";
        out += m_spelling.literalNumberType;
        out += ')';
    }

    // True for a token that ends (or, `after`, begins) an operand with a type of its own: a column,
    // a variable, a parenthesis, a call, CASE … END.
    static bool isOperand(const Token& t, bool after)
    {
        switch (t.kind) {
        case Token::Kind::Variable:
            return true;
        case Token::Kind::Symbol:
            return t.isSymbol(after ? "(" : ")");
        case Token::Kind::Word:
            return t.bracketed || t.isWord("end") ||
                   (!t.isWord("null") && !oneOf(t.text, kWordsBeforeOperand));
        default: // a literal
            return false;
        }
    }

    static bool isComparison(const Token& t)
    {
        return t.isSymbol("=") || t.isSymbol("<>") || t.isSymbol("!=") || t.isSymbol("<") ||
               t.isSymbol(">") || t.isSymbol("<=") || t.isSymbol(">=");
    }

    // A comparison, an assignment or arithmetic: an operator whose operands take one type.
    static bool isBinaryOperator(const Token& t)
    {
        return isComparison(t) || t.isSymbol("+") || t.isSymbol("-") || t.isSymbol("*") || t.isSymbol("/") ||
               t.isSymbol("%");
    }

    // True when the literal at i takes the type of what it stands beside: it is compared with,
    // assigned to or computed with a typed operand (so @n * 10 / 4 divides whole numbers, as the
    // server does), it is an argument of a call, or an element of an IN list.
    bool takesTypeBeside(std::size_t i, std::size_t end)
    {
        if (i >= m_begin + 2 && isBinaryOperator(m_tokens[i - 1]) &&
            (isOperand(m_tokens[i - 2], false) || m_typedBeside.count(i - 2) != 0))
            return true;
        if (i + 2 < end && isBinaryOperator(m_tokens[i + 1]) && isOperand(m_tokens[i + 2], true)) return true;
        if (i == m_begin || !(m_tokens[i - 1].isSymbol("(") || m_tokens[i - 1].isSymbol(","))) return false;
        // The parenthesis the literal stands in, and what comes before it. A list at the top of
        // the statement is the columns of a SELECT.
        matchParentheses();
        const std::uint32_t open = m_enclosing[i - m_begin];
        if (open == kUnmatched || open == m_begin) return false;
        const Token& before = m_tokens[open - 1];
        return before.isWord("in") ||
               (before.kind == Token::Kind::Word && !oneOf(before.text, kKeywordsBeforeParen));
    }

    // Writes the translation of the token at i (and what belongs to it), advancing i.
    void token(std::size_t i, std::size_t end, std::size_t& next, std::string& out)
    {
        const Token& t = m_tokens[i];
        next = i + 1;
        switch (t.kind) {
        case Token::Kind::Variable: {
            const long slot = m_translation.slot ? m_translation.slot(t.text) : -1;
            if (slot < 0) fail(i, "must declare the variable " + std::string(t.text));
            if (!m_translation.arguments)
                out += m_dialect.variableName(toLowerAscii(t.text));
            else
                parameter(argumentOf(t, static_cast<std::uint32_t>(slot)), out);
            return;
        }
        case Token::Kind::String:
        case Token::Kind::Number:
            if (!m_translation.arguments || !m_translation.liftLiterals)
                out += t.text;
            else if (t.kind == Token::Kind::Number && !m_spelling.literalNumberType.empty())
                number(i, end, out);
            else
                parameter(argumentOf(t), out);
            return;
        case Token::Kind::Symbol:
            if (t.isSymbol(";")) fail(i, "unexpected ';'");
            // The server joins texts with '+'; SQLite would add them as numbers. The system
            // never joins texts in its statements, so such text is refused rather than misread.
            if (t.isSymbol("+") && ((i > 0 && m_tokens[i - 1].kind == Token::Kind::String) ||
                                    (i + 1 < end && m_tokens[i + 1].kind == Token::Kind::String)))
                fail(i, "texts joined with '+' are not supported");
            out += t.text;
            return;
        case Token::Kind::End:
            return;
        case Token::Kind::Word:
            break;
        }
        // SQLite reads [name] as an identifier, as the server does; a "name" would silently turn
        // into a text literal when no column is called so.
        if (t.bracketed) {
            if (m_spelling.bracketQuote == '[') {
                out += '[';
                out += t.text;
                out += ']';
            } else {
                // Names are created unquoted, which the engine folds to lower case.
                out += m_spelling.bracketQuote;
                out += toLowerAscii(t.text);
                out += m_spelling.bracketQuote;
            }
            return;
        }
        // dbo.name → name
        if (t.isWord("dbo") && i + 2 < end && m_tokens[i + 1].isSymbol(".")) {
            next = i + 2;
            return;
        }
        if (oneOf(t.text, kUnsupportedWords)) fail(i, "'" + std::string(t.text) + "' is not supported");
        const bool isCall = i + 1 < end && m_tokens[i + 1].isSymbol("(");
        if (!isCall || oneOf(t.text, kKeywordsBeforeParen)) {
            out += t.text;
            return;
        }
        // Function calls: their arguments are translated one level deeper.
        if (m_depth >= kMaxNesting) throw nestingTooDeep(t.line);
        ++m_depth;
        next = writeCall(i, out) + 1;
        --m_depth;
    }

    // Writes the function call whose name is at i, its "(" at i + 1; returns where its ")" is.
    std::size_t writeCall(std::size_t i, std::string& out)
    {
        const Token& t = m_tokens[i];
        const std::size_t open = i + 1;
        const std::size_t close = closing(open);
        const std::string name = toLowerAscii(t.text);
        const auto args = commas(open, close);
        const auto from = [&](std::size_t k) { return k == 0 ? open + 1 : args[k - 1] + 1; };
        const auto to = [&](std::size_t k) { return k < args.size() ? args[k] : close; };
        auto arg = [&](std::size_t k) {
            if (from(k) >= to(k)) fail(open, "an argument of " + std::string(t.text) + " is missing");
            range(from(k), to(k), out);
        };
        if (name == "getdate") {
            if (close != open + 1) fail(i, "getdate takes no arguments");
            out += "ormex_getdate()";
        } else if (name == "isnull") {
            if (args.size() != 1) fail(i, "isnull takes two arguments");
            out += m_spelling.ifnull;
            out += '(';
            arg(0);
            out += ", ";
            arg(1);
            out += ')';
        } else if (name == "convert") {
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
            if (from(1) >= to(1)) fail(open, "an argument of " + std::string(t.text) + " is missing");
            cast(from(1), to(1), open + 1, args[0], out);
        } else if (name == "cast") {
            std::size_t as = open + 1;
            for (; as < close; ++as) {
                if (m_tokens[as].isSymbol("("))
                    as = closing(as);
                else if (m_tokens[as].isWord("as"))
                    break;
            }
            if (as >= close) fail(i, "cast needs AS and a type");
            cast(open + 1, as, as + 1, close, out);
        } else if (name == "datediff") {
            if (args.size() != 2) fail(i, "datediff takes a unit and two dates");
            std::string unit;
            range(open + 1, args[0], unit);
            unit = toLowerAscii(unit);
            if (unit != "day" && unit != "dd" && unit != "d")
                fail(i, "datediff unit '" + unit + "' is not supported");
            out += "ormex_datediff_day(";
            arg(1);
            out += ", ";
            arg(2);
            out += ')';
        } else if (name == "f_decrypt") {
            if (!args.empty()) fail(i, "f_decrypt takes one argument");
            out += m_spelling.decrypt;
            out += '(';
            arg(0);
            out += ')';
        } else if (name == "round") {
            if (args.size() > 1) fail(i, "round takes a value and an optional number of decimals");
            out += "round(";
            if (args.size() == 1 && m_spelling.roundNumeric) {
                out += "CAST((";
                arg(0);
                out += ") AS numeric), ";
                arg(1);
            } else {
                range(open + 1, close, out);
            }
            out += ')';
        } else if (name == "len") { // the server's len does not count trailing blanks
            out += "length(rtrim(";
            range(open + 1, close, out);
            out += "))";
        } else if (name == "substring") {
            out += "substr(";
            range(open + 1, close, out);
            out += ')';
        } else if (oneOf(name, kSameFunctions)) {
            out += name;
            out += '(';
            range(open + 1, close, out);
            out += ')';
        } else {
            fail(i, "unknown function '" + std::string(t.text) + "'");
        }
        return close;
    }

    // Adds a parameter to the statement and writes its number.
    void parameter(const Argument& argument, std::string& out) const
    {
        m_translation.arguments->push_back(argument);
        out += m_dialect.parameter(m_translation.arguments->size());
    }

    const Dialect& m_dialect;
    const Spelling& m_spelling;
    const std::vector<Token>& m_tokens;
    const std::size_t m_begin;
    const std::size_t m_end;
    Translation& m_translation;
    std::vector<std::uint32_t> m_closing;          // by token from m_begin: where its "(" closes
    std::vector<std::uint32_t> m_enclosing;        // by token from m_begin: the "(" it stands in
    std::unordered_set<std::size_t> m_typedBeside; // number literals written to take a type beside
    int m_depth = 0;                               // calls being written, one inside the other
};

} // namespace

std::string translateTokens(const Dialect& dialect, const Spelling& spelling,
                            const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                            Translation& translation)
{
    std::string out;
    Translator(dialect, spelling, tokens, begin, end, translation).range(begin, end, out);
    return out;
}

} // namespace ormex::db

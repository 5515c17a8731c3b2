#include "TsqlParser.h"

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>

#include "DbError.h"
#include "NestingLimit.h"
#include "TranslationMemo.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Keywords that begin a statement; at the top level of a statement they end the one before.
constexpr std::string_view kStatementWords[] = {
    "insert", "update", "delete", "if",      "else",   "begin",    "end",   "declare", "set",
    "select", "while",  "exec",   "execute", "go",     "create",   "drop",  "alter",   "truncate",
    "return", "print",  "goto",   "use",     "commit", "rollback", "merge", "break",   "continue"};

// A statement with more literals than this keeps them as text: engines limit the parameters of
// one statement, and such a statement (a long IN list) is rarely repeated anyway.
constexpr std::size_t kMaxLiftedLiterals = 500;

// Which lower-case letters begin one of those keywords: most words of a statement are column
// names, told apart by their first letter alone.
constexpr std::array<bool, 256> kStatementInitials = [] {
    std::array<bool, 256> initials{};
    for (std::string_view word : kStatementWords)
        initials[static_cast<unsigned char>(word[0])] = true;
    return initials;
}();

bool isStatementWord(const Token& t)
{
    if (t.kind != Token::Kind::Word || t.bracketed || t.text.size() > 8 || t.text.size() < 2) return false;
    const char initial = static_cast<char>(t.text[0] | 0x20);
    if (!kStatementInitials[static_cast<unsigned char>(initial)]) return false;
    for (std::string_view word : kStatementWords)
        if (word[0] == initial && t.isWord(word)) return true;
    return false;
}

class Parser
{
public:
    // With a program, statements go into it with their parameters; without, literals stay text.
    Parser(std::string_view text, const Dialect& dialect, BatchProgram* program,
           const DerivedColumn* derived = nullptr)
        : m_lexer(text), m_dialect(dialect), m_program(program), m_derived(derived)
    {
        if (text.size() >= (std::size_t{1} << 30)) throw ParseError(1, "the batch is too long");
        // Text is stored and compared as UTF-8: anything else would be written as it came.
        if (const std::size_t bad = platform::invalidUtf8At(text); bad != std::string_view::npos) {
            const auto before = text.substr(0, bad);
            const int line = 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n'));
            throw ParseError(line, "the text is not valid UTF-8");
        }
        if (m_program) m_program->text = text;
    }

    void batch()
    {
        for (;;) {
            skipSemicolon();
            if (at().kind == Token::Kind::End) break;
            if (at().isWord("end")) fail("END without BEGIN");
            if (at().isWord("else")) fail("ELSE without IF");
            statement();
        }
        if (m_program) m_program->slotCount = m_slots.size();
    }

    // Parses one SELECT; its translation goes to `sql`, its parameters (with a program only) to
    // `arguments`.
    void singleQuery(std::string& sql, std::vector<Argument>* arguments)
    {
        skipSemicolon();
        const int line = at().line;
        if (!at().isWord("select")) throw ParseError(line, "a single SELECT was expected");
        const std::size_t begin = m_pos;
        skipClause(false, true);
        sql = selectText(begin, m_pos);
        skipSemicolon();
        if (at().kind != Token::Kind::End) throw ParseError(line, "a single SELECT was expected");
        if (arguments) *arguments = std::move(m_arguments);
    }

private:
    const Token& at(std::size_t ahead = 0)
    {
        if (m_pos + ahead < m_tokens.size()) return m_tokens[m_pos + ahead];
        while (m_pos + ahead >= m_tokens.size() &&
               (m_tokens.empty() || m_tokens.back().kind != Token::Kind::End))
            m_tokens.push_back(m_lexer.next());
        return m_tokens[std::min(m_pos + ahead, m_tokens.size() - 1)];
    }
    [[noreturn]] void fail(const std::string& message) { throw ParseError(at().line, message); }
    static std::string describe(const Token& t)
    {
        return t.kind == Token::Kind::End ? std::string("end of text") : "'" + std::string(t.text) + "'";
    }
    void skipSemicolon()
    {
        while (at().isSymbol(";"))
            ++m_pos;
    }
    // Forgets the tokens of finished statements; indices taken before are invalid afterwards.
    void forgetRead()
    {
        if (m_pos == 0) return;
        m_tokens.erase(m_tokens.begin(), m_tokens.begin() + static_cast<std::ptrdiff_t>(m_pos));
        m_pos = 0;
    }

    // The slot of a declared variable, or -1.
    // A batch over many cards declares a variable per card and names it again in the next few
    // statements: the variable last found is tried before the table.
    long slotOf(std::string_view name)
    {
        if (m_lastSlot >= 0 && platform::NoCaseEqual()(name, m_lastName)) return m_lastSlot;
        const auto it = m_slots.find(name);
        if (it == m_slots.end()) return -1;
        m_lastName = it->first;
        m_lastSlot = it->second;
        return m_lastSlot;
    }

    // Translates tokens [begin, end) of the current statement; its parameters collect in
    // m_arguments.
    std::string translate(std::size_t begin, std::size_t end, bool liftLiterals = true)
    {
        Translation translation;
        translation.slot = [this](std::string_view name) { return slotOf(name); };
        translation.arguments = m_program ? &m_arguments : nullptr;
        translation.liftLiterals = liftLiterals && m_liftLiterals;
        return m_dialect.translate(m_tokens, begin, end, translation);
    }

    // Translates a statement with build(); when it has too many literals to lift, again with
    // them as text.
    // A statement read in the same context with the same tokens but for its literals and
    // variables is not translated again (see TranslationMemo).
    template <typename Build>
    std::string translated(char context, std::size_t begin, std::size_t end, Build build)
    {
        m_shapeOfText = nullptr;
        if (m_program) {
            const auto slot = [this](std::string_view name) { return slotOf(name); };
            if (auto recalled = m_memo.recall(context, m_tokens, begin, end, slot, m_arguments)) {
                m_shapeOfText = &recalled->shape;
                // The program has the text already: the step needs only its number.
                if (*m_shapeOfText != TranslationMemo::kNoShape) return {};
                return recalled->sql;
            }
        }
        m_arguments.clear();
        m_liftLiterals = true;
        std::string sql = build();
        const auto literals = std::count_if(m_arguments.begin(), m_arguments.end(), [](const Argument& a) {
            return a.kind() != Argument::Kind::Variable;
        });
        if (static_cast<std::size_t>(literals) > kMaxLiftedLiterals) {
            m_arguments.clear();
            m_liftLiterals = false;
            sql = build();
            m_liftLiterals = true;
        }
        if (m_program) m_shapeOfText = m_memo.remember(sql, m_arguments);
        return sql;
    }

    // A SELECT returning rows: its result columns and ORDER BY keep their literals.
    std::string selectText(std::size_t begin, std::size_t end)
    {
        std::size_t from = end;
        std::size_t orderBy = end;
        int depth = 0;
        for (std::size_t i = begin; i < end; ++i) {
            const Token& t = m_tokens[i];
            if (t.isSymbol("("))
                ++depth;
            else if (t.isSymbol(")"))
                --depth;
            else if (depth == 0 && from == end && t.isWord("from"))
                from = i;
            else if (depth == 0 && t.isWord("order") && i + 1 < end && m_tokens[i + 1].isWord("by"))
                orderBy = i;
        }
        from = std::min(from, orderBy);
        return translated('Q', begin, end, [&] {
            std::string sql = translate(begin, from, false);
            if (orderBy > from) sql += " " + translate(from, orderBy);
            if (end > orderBy) sql += " " + translate(orderBy, end, false);
            return sql;
        });
    }

    // The text of tokens [begin, end) as written: where it starts and how long it is.
    std::pair<std::uint32_t, std::uint32_t> source(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return {0, 0};
        const std::size_t from = m_tokens[begin].offset;
        const std::size_t to = m_tokens[end - 1].offset + m_tokens[end - 1].length;
        return {static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to - from)};
    }

    // Adds a step for the statement of tokens [begin, end) with its translation and parameters.
    std::size_t addStep(Step::Kind kind, std::size_t begin, std::size_t end, std::string sql,
                        std::uint32_t target = 0)
    {
        if (!m_program) return 0;
        Step step;
        step.kind = kind;
        step.target = target;
        std::tie(step.textAt, step.textLength) = source(begin, end);
        const std::size_t index = m_program->steps.size();
        if (kind != Step::Kind::Jump && kind != Step::Kind::SetValue) {
            if (m_shapeOfText && *m_shapeOfText != TranslationMemo::kNoShape) {
                step.shape = *m_shapeOfText;
            } else {
                auto [it, added] = m_shapes.try_emplace(std::move(sql), m_program->shapes.size());
                if (added) {
                    m_program->shapes.push_back(it->first);
                    m_program->shapeFirstStep.push_back(static_cast<std::uint32_t>(index));
                }
                step.shape = it->second;
                if (m_shapeOfText) *m_shapeOfText = step.shape;
            }
        }
        m_shapeOfText = nullptr;
        if (m_arguments.size() > BatchProgram::kMaxArguments)
            throw ParseError(m_tokens[begin].line, "the statement has more than " +
                                                       std::to_string(BatchProgram::kMaxArguments) +
                                                       " variables");
        step.firstArgument = static_cast<std::uint32_t>(m_program->arguments.size());
        step.argumentCount = static_cast<std::uint16_t>(m_arguments.size());
        m_program->arguments.insert(m_program->arguments.end(), m_arguments.begin(), m_arguments.end());
        m_arguments.clear();
        m_program->steps.push_back(step);
        return index;
    }
    std::uint32_t nextStep() const
    {
        return m_program ? static_cast<std::uint32_t>(m_program->steps.size()) : 0;
    }
    void setTarget(std::size_t step, std::uint32_t target)
    {
        if (m_program) m_program->steps[step].target = target;
    }

    // Advances past the tokens of one clause: up to the next statement keyword at the top level
    // of parentheses and CASE … END. The first SET of an UPDATE and the first SELECT of an
    // INSERT or SELECT belong to the statement.
    void skipClause(bool ownsSet, bool ownsSelect)
    {
        int depth = 0;
        int caseDepth = 0;
        const std::size_t start = m_pos;
        for (;; ++m_pos) {
            const Token& t = at(); // nothing below reads further tokens
            if (t.kind == Token::Kind::End) {
                if (depth > 0) fail("missing ')'");
                return;
            }
            if (t.isSymbol("(")) {
                if (++depth > kMaxNesting) throw nestingTooDeep(t.line);
                continue;
            }
            if (t.isSymbol(")")) {
                if (--depth < 0) fail("unexpected ')'");
                continue;
            }
            if (depth > 0) continue;
            if (t.isSymbol(";")) return;
            if (t.isWord("case")) {
                ++caseDepth;
                continue;
            }
            if (caseDepth > 0) {
                if (t.isWord("end")) --caseDepth;
                continue;
            }
            if (!isStatementWord(t)) continue;
            if (t.isWord("set") && ownsSet) {
                ownsSet = false;
                continue;
            }
            if (t.isWord("select")) {
                if (ownsSelect) {
                    ownsSelect = false;
                    continue;
                }
                if (m_pos > start &&
                    (m_tokens[m_pos - 1].isWord("union") || m_tokens[m_pos - 1].isWord("all")))
                    continue;
            }
            return;
        }
    }

    // True when tokens [begin, end) are a plain list of values: no clause (FROM, WHERE, …), no
    // alias, nothing but expressions at the top level. Such a SELECT yields exactly one row.
    bool isValueList(std::size_t begin, std::size_t end) const
    {
        static constexpr std::string_view kExpressionWords[] = {
            "case", "when", "then", "else", "end", "null", "and", "or", "not", "is", "like", "in", "between"};
        // Clauses and aggregates keep a SELECT even when a parenthesis follows them.
        static constexpr std::string_view kQueryWords[] = {"from",  "where", "group",   "having", "order",
                                                           "union", "count", "sum",     "avg",    "min",
                                                           "max",   "top",   "distinct"};
        if (begin >= end) return false;
        int depth = 0;
        for (std::size_t i = begin; i < end; ++i) {
            const Token& t = m_tokens[i];
            if (t.isSymbol("(")) ++depth;
            if (t.isSymbol(")")) --depth;
            if (depth > 0 || t.kind != Token::Kind::Word) continue;
            if (std::any_of(std::begin(kQueryWords), std::end(kQueryWords),
                            [&](std::string_view word) { return t.isWord(word); }))
                return false;
            if (i + 1 < end && m_tokens[i + 1].isSymbol("(")) continue; // a function
            if (std::none_of(std::begin(kExpressionWords), std::end(kExpressionWords),
                             [&](std::string_view word) { return t.isWord(word); }))
                return false;
        }
        return true;
    }

    // Passes a table name with an optional dbo. prefix; the statement's translation writes it.
    void tableName()
    {
        if (at().isWord("dbo") && at(1).isSymbol(".")) m_pos += 2;
        if (at().kind != Token::Kind::Word) fail("a table name was expected, not " + describe(at()));
        ++m_pos;
    }

    // One statement; IF, ELSE and BEGIN read theirs through here, one level deeper.
    void statement()
    {
        const Nested nested(m_depth, at().line);
        forgetRead();
        const std::size_t begin = m_pos;
        const Token t = at();
        if (t.isWord("begin")) {
            ++m_pos;
            if (at().isWord("tran") || at().isWord("transaction"))
                fail("transactions are managed by the batch itself");
            for (;;) {
                skipSemicolon();
                if (at().isWord("end")) {
                    ++m_pos;
                    break;
                }
                if (at().kind == Token::Kind::End) throw ParseError(t.line, "BEGIN without END");
                if (at().isWord("else")) fail("ELSE without IF");
                statement();
            }
            return;
        }
        if (t.isWord("if")) {
            ++m_pos;
            const std::size_t from = m_pos;
            skipClause(false, false);
            if (m_pos == from) fail("IF needs a condition");
            std::string sql = translated('I', from, m_pos,
                                         [&] { return m_dialect.conditionQuery(translate(from, m_pos)); });
            const std::size_t test = addStep(Step::Kind::IfNot, begin, m_pos, std::move(sql));
            skipSemicolon();
            if (at().kind == Token::Kind::End || at().isWord("else") || at().isWord("end"))
                fail("IF needs a statement, not " + describe(at()));
            statement();
            skipSemicolon();
            if (!at().isWord("else")) {
                setTarget(test, nextStep());
                return;
            }
            ++m_pos;
            skipSemicolon();
            if (at().kind == Token::Kind::End || at().isWord("end") || at().isWord("else"))
                fail("ELSE needs a statement, not " + describe(at()));
            const std::size_t skipElse = addStep(Step::Kind::Jump, m_pos, m_pos, {});
            setTarget(test, nextStep());
            statement();
            setTarget(skipElse, nextStep());
            return;
        }
        if (t.isWord("declare")) {
            ++m_pos;
            for (;;) {
                const Token v = at();
                if (v.kind != Token::Kind::Variable) fail("DECLARE needs a variable, not " + describe(v));
                const auto [declared, added] =
                    m_slots.try_emplace(v.text, static_cast<std::uint32_t>(m_slots.size()));
                if (!added)
                    fail("the variable " + std::string(v.text) + " has already been declared in this batch");
                ++m_pos;
                if (at().isWord("as")) ++m_pos;
                if (at().kind != Token::Kind::Word)
                    fail("DECLARE needs a data type for " + std::string(v.text));
                if (m_program) m_program->slotTypes.push_back(variableTypeOf(at().text));
                ++m_pos;
                if (at().isSymbol("(")) {
                    while (!at().isSymbol(")") && at().kind != Token::Kind::End)
                        ++m_pos;
                    if (at().kind == Token::Kind::End) fail("missing ')'");
                    ++m_pos;
                }
                // A variable starts null; there are no loops, so a declaration runs once.
                m_lastName = declared->first;
                m_lastSlot = declared->second;
                if (!at().isSymbol(",")) break;
                ++m_pos;
            }
            return;
        }
        if (t.isWord("set")) {
            ++m_pos;
            const Token v = at();
            if (v.kind != Token::Kind::Variable)
                fail("SET is supported for variables only, not " + describe(v));
            const long slot = slotOf(v.text);
            if (slot < 0) fail("must declare the variable " + std::string(v.text));
            ++m_pos;
            if (!at().isSymbol("=")) fail("SET " + std::string(v.text) + " needs '='");
            ++m_pos;
            const std::size_t from = m_pos;
            skipClause(false, false);
            if (m_pos == from) fail("SET " + std::string(v.text) + " needs a value");
            const Token& value = m_tokens[from];
            if (m_pos == from + 1 &&
                (value.kind == Token::Kind::Number || value.kind == Token::Kind::String)) {
                // A constant: the executor sets it without asking the engine.
                m_arguments.clear();
                translate(from, m_pos);
                addStep(Step::Kind::SetValue, begin, m_pos, {}, static_cast<std::uint32_t>(slot));
                return;
            }
            std::string sql =
                translated('S', from, m_pos, [&] { return m_dialect.valueQuery(translate(from, m_pos)); });
            addStep(Step::Kind::SetQuery, begin, m_pos, std::move(sql), static_cast<std::uint32_t>(slot));
            return;
        }
        if (t.isWord("insert")) {
            ++m_pos;
            if (at().isWord("into")) ++m_pos;
            const std::size_t table = m_pos;
            tableName();
            std::size_t open = 0;
            std::size_t close = 0;
            if (at().isSymbol("(")) {
                open = m_pos;
                while (!at().isSymbol(")") && at().kind != Token::Kind::End) {
                    ++m_pos;
                    if (!at().isSymbol(")") && !at().isSymbol(",") && at().kind != Token::Kind::Word)
                        fail("a column name was expected, not " + describe(at()));
                }
                if (at().kind == Token::Kind::End) fail("missing ')'");
                close = m_pos++;
            }
            if (!at().isWord("select") && !at().isWord("values"))
                fail("INSERT needs SELECT or VALUES, not " + describe(at()));
            const std::size_t from = m_pos;
            if (at().isWord("values")) {
                ++m_pos;
                skipClause(false, false);
            } else {
                skipClause(false, true);
            }
            std::string sql = translated('N', begin, m_pos, [&] {
                std::string text = "INSERT INTO " + translate(table, open ? open : from);
                if (open) text += " (" + translate(open + 1, close) + ")";
                // One row of values: the engine runs VALUES without setting up a query.
                if (m_tokens[from].isWord("select") && isValueList(from + 1, m_pos))
                    return text + " VALUES (" + translate(from + 1, m_pos) + ")";
                return text + " " + translate(from, m_pos);
            });
            addStep(Step::Kind::Run, begin, m_pos, std::move(sql));
            return;
        }
        if (t.isWord("update")) {
            ++m_pos;
            const std::size_t table = m_pos;
            tableName();
            const std::size_t tableEnd = m_pos;
            if (!at().isWord("set")) fail("UPDATE needs SET, not " + describe(at()));
            const std::size_t from = m_pos;
            skipClause(true, false);
            std::string sql = translated('U', begin, m_pos, [&] {
                const std::string target = "UPDATE " + translate(table, tableEnd) + " ";
                if (m_derived && isTable(table, tableEnd, m_derived->table))
                    if (std::string set = derivedSet(*m_derived, from, m_pos); !set.empty())
                        return target + set;
                return target + translate(from, m_pos);
            });
            addStep(Step::Kind::Run, begin, m_pos, std::move(sql));
            return;
        }
        if (t.isWord("delete")) {
            ++m_pos;
            if (at().isWord("from")) ++m_pos;
            const std::size_t table = m_pos;
            tableName();
            const std::size_t from = m_pos;
            if (!at().isWord("where") && !at().isSymbol(";") && at().kind != Token::Kind::End &&
                !isStatementWord(at()))
                fail("DELETE needs WHERE, not " + describe(at()));
            skipClause(false, false);
            std::string sql = translated('D', begin, m_pos, [&] {
                std::string text = "DELETE FROM " + translate(table, from);
                if (m_pos > from) text += " " + translate(from, m_pos);
                return text;
            });
            addStep(Step::Kind::Run, begin, m_pos, std::move(sql));
            return;
        }
        if (t.isWord("select")) {
            skipClause(false, true);
            addStep(Step::Kind::Run, begin, m_pos, selectText(begin, m_pos));
            return;
        }
        fail("not understood: " + describe(t));
    }

    // Whether [begin, end) names `table` (with or without its schema).
    bool isTable(std::size_t begin, std::size_t end, std::string_view table) const
    {
        return end > begin && m_tokens[end - 1].kind == Token::Kind::Word &&
               platform::iequals(m_tokens[end - 1].text, table);
    }

    // The SET clause [set, end) of an UPDATE with the derived column's new value added, computed
    // from the sources' new values (each assignment's expression, which SQLite evaluates on the
    // row as it was); "" when the clause writes none of the sources, or the column itself.
    std::string derivedSet(const DerivedColumn& derived, std::size_t set, std::size_t end)
    {
        std::vector<std::pair<std::size_t, std::size_t>> assigned(derived.sources.size());
        bool any = false;
        // Notes the assignment [from, to): column = expression. False when it writes the column.
        const auto note = [&](std::size_t from, std::size_t to) {
            if (to < from + 3 || m_tokens[from].kind != Token::Kind::Word ||
                !m_tokens[from + 1].isSymbol("="))
                return true;
            const std::string_view column = m_tokens[from].text;
            if (platform::iequals(column, derived.column)) return false;
            for (std::size_t c = 0; c < derived.sources.size(); ++c)
                if (platform::iequals(column, derived.sources[c])) {
                    assigned[c] = {from + 2, to};
                    any = true;
                }
            return true;
        };
        std::size_t where = end;
        std::size_t start = set + 1;
        int depth = 0;
        for (std::size_t i = set + 1; i < end; ++i) {
            const Token& t = m_tokens[i];
            if (t.isSymbol("(")) {
                ++depth;
            } else if (t.isSymbol(")")) {
                --depth;
            } else if (depth == 0 && (t.isSymbol(",") || t.isWord("where"))) {
                if (!note(start, i)) return {};
                start = i + 1;
                if (t.isWord("where")) {
                    where = i;
                    break;
                }
            }
        }
        if (where == end && !note(start, end)) return {};
        if (!any) return {};
        // The clause first: translating lifts literals into parameters in the order it is called.
        std::string text = translate(set, where);
        std::vector<std::string> newSources;
        for (std::size_t c = 0; c < derived.sources.size(); ++c)
            newSources.push_back(assigned[c].second
                                     ? "(" + translate(assigned[c].first, assigned[c].second) + ")"
                                     : std::string(derived.sources[c]));
        text += derivedAssignment(derived, newSources);
        if (where < end) text += " " + translate(where, end);
        return text;
    }

    // Counts a level of statement nesting while it is read.
    struct Nested
    {
        Nested(int& counter, int line) : depth(counter)
        {
            if (depth >= kMaxNesting) throw nestingTooDeep(line);
            ++depth;
        }
        ~Nested() { --depth; }
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;
        int& depth;
    };

    Lexer m_lexer;
    std::vector<Token> m_tokens; // the statement being read and what was read ahead
    std::size_t m_pos = 0;
    const Dialect& m_dialect;
    BatchProgram* m_program;
    const DerivedColumn* m_derived = nullptr;
    // Declared variables by name as first written (a view of the text), compared without case.
    BatchMemory m_slotMemory; // a batch over many cards declares a variable or two per card
    std::pmr::unordered_map<std::string_view, std::uint32_t, platform::NoCaseHash, platform::NoCaseEqual>
        m_slots{&m_slotMemory};
    std::string_view m_lastName; // the variable last declared or found, and its slot
    long m_lastSlot = -1;
    std::unordered_map<std::string, std::uint32_t> m_shapes; // distinct statement texts
    std::vector<Argument> m_arguments;                       // the current statement's parameters
    TranslationMemo m_memo;
    std::uint32_t* m_shapeOfText = nullptr; // where the memo keeps the shape of the statement being read
    bool m_liftLiterals = true;
    int m_depth = 0; // statements being read, one inside the other
};

} // namespace

BatchProgram parseBatch(std::string_view batch, const Dialect& dialect, const DerivedColumn* derived)
{
    BatchProgram program;
    Parser(batch, dialect, &program, derived).batch();
    return program;
}

QueryShape parseQueryShape(std::string_view sql, const Dialect& dialect)
{
    BatchProgram scratch;
    QueryShape shape;
    Parser(sql, dialect, &scratch).singleQuery(shape.sql, &shape.arguments);
    return shape;
}

std::string parseQuery(std::string_view sql, const Dialect& dialect)
{
    std::string translated;
    Parser(sql, dialect, nullptr).singleQuery(translated, nullptr);
    return translated;
}

} // namespace ormex::db

#include "TsqlParser.h"

#include <algorithm>
#include <set>

#include "DbError.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

using platform::toLowerAscii;

// Keywords that begin a statement; at the top level of a statement they end the one before.
const std::set<std::string> kStatementWords = {
    "insert", "update", "delete", "if",      "else",   "begin",    "end",   "declare", "set",
    "select", "while",  "exec",   "execute", "go",     "create",   "drop",  "alter",   "truncate",
    "return", "print",  "goto",   "use",     "commit", "rollback", "merge", "break",   "continue"};

class Parser
{
public:
    Parser(std::string_view text, const Dialect& dialect)
        : m_text(text), m_tokens(tokenize(text)), m_dialect(dialect)
    {
    }

    std::vector<Statement> batch()
    {
        std::vector<Statement> statements;
        for (;;) {
            skipSemicolon();
            if (at().kind == Token::Kind::End) break;
            if (at().isWord("end")) fail("END without BEGIN");
            if (at().isWord("else")) fail("ELSE without IF");
            statements.push_back(statement());
        }
        return statements;
    }

    std::string singleQuery()
    {
        auto statements = batch();
        if (statements.size() != 1 || statements.front().kind != Statement::Kind::Data ||
            !statements.front().returnsRows)
            throw ParseError(statements.empty() ? 1 : statements.front().line,
                             "a single SELECT was expected");
        return statements.front().sql;
    }

private:
    const Token& at(std::size_t ahead = 0) const
    {
        return m_tokens[std::min(m_pos + ahead, m_tokens.size() - 1)];
    }
    [[noreturn]] void fail(const std::string& message) const { throw ParseError(at().line, message); }
    std::string describe(const Token& t) const
    {
        return t.kind == Token::Kind::End ? std::string("end of text") : "'" + t.text + "'";
    }
    void skipSemicolon()
    {
        while (at().isSymbol(";"))
            ++m_pos;
    }

    Dialect::VariableCheck declaredCheck() const
    {
        return [this](const std::string& name) { return m_declared.count(name) > 0; };
    }

    std::string translate(std::size_t begin, std::size_t end) const
    {
        return m_dialect.translate(m_tokens, begin, end, declaredCheck());
    }

    // The text of tokens [begin, end) as written, for error messages.
    std::string source(std::size_t begin, std::size_t end) const
    {
        if (begin >= end) return {};
        const std::size_t from = m_tokens[begin].offset;
        return std::string(m_text.substr(from, m_tokens[end - 1].offset + m_tokens[end - 1].length - from));
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
            const Token& t = at();
            if (t.kind == Token::Kind::End) {
                if (depth > 0) fail("missing ')'");
                return;
            }
            if (t.isSymbol("(")) {
                ++depth;
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
            if (t.kind != Token::Kind::Word || t.bracketed || !kStatementWords.count(toLowerAscii(t.text)))
                continue;
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

    // A table name, with an optional dbo. prefix; returns it as the engine writes it.
    std::string tableName()
    {
        if (at().isWord("dbo") && at(1).isSymbol(".")) m_pos += 2;
        if (at().kind != Token::Kind::Word) fail("a table name was expected, not " + describe(at()));
        ++m_pos;
        return translate(m_pos - 1, m_pos);
    }

    Statement dataStatement(std::size_t begin, std::string sql, bool rows = false)
    {
        Statement s;
        s.kind = Statement::Kind::Data;
        s.line = m_tokens[begin].line;
        s.text = source(begin, m_pos);
        s.sql = std::move(sql);
        s.returnsRows = rows;
        return s;
    }

    Statement statement()
    {
        const std::size_t begin = m_pos;
        const Token& t = at();
        if (t.isWord("begin")) {
            ++m_pos;
            if (at().isWord("tran") || at().isWord("transaction"))
                fail("transactions are managed by the batch itself");
            Statement block;
            block.kind = Statement::Kind::Block;
            block.line = t.line;
            for (;;) {
                skipSemicolon();
                if (at().isWord("end")) {
                    ++m_pos;
                    break;
                }
                if (at().kind == Token::Kind::End) throw ParseError(block.line, "BEGIN without END");
                if (at().isWord("else")) fail("ELSE without IF");
                block.children.push_back(statement());
            }
            return block;
        }
        if (t.isWord("if")) {
            ++m_pos;
            const std::size_t from = m_pos;
            skipClause(false, false);
            if (m_pos == from) fail("IF needs a condition");
            Statement s;
            s.kind = Statement::Kind::If;
            s.line = t.line;
            s.text = source(begin, m_pos);
            s.sql = m_dialect.conditionQuery(translate(from, m_pos));
            skipSemicolon();
            if (at().kind == Token::Kind::End || at().isWord("else") || at().isWord("end"))
                fail("IF needs a statement, not " + describe(at()));
            s.children.push_back(statement());
            skipSemicolon();
            if (at().isWord("else")) {
                ++m_pos;
                skipSemicolon();
                if (at().kind == Token::Kind::End || at().isWord("end") || at().isWord("else"))
                    fail("ELSE needs a statement, not " + describe(at()));
                s.children.push_back(statement());
            }
            return s;
        }
        if (t.isWord("declare")) {
            ++m_pos;
            Statement block;
            block.kind = Statement::Kind::Block;
            block.line = t.line;
            for (;;) {
                const Token& v = at();
                if (v.kind != Token::Kind::Variable) fail("DECLARE needs a variable, not " + describe(v));
                const std::string name = toLowerAscii(v.text);
                if (m_declared.count(name))
                    fail("the variable " + v.text + " has already been declared in this batch");
                ++m_pos;
                if (at().isWord("as")) ++m_pos;
                if (at().kind != Token::Kind::Word) fail("DECLARE needs a data type for " + v.text);
                ++m_pos;
                if (at().isSymbol("(")) {
                    while (!at().isSymbol(")") && at().kind != Token::Kind::End)
                        ++m_pos;
                    if (at().kind == Token::Kind::End) fail("missing ')'");
                    ++m_pos;
                }
                m_declared.insert(name);
                Statement d;
                d.kind = Statement::Kind::Declare;
                d.line = v.line;
                d.variable = name;
                block.children.push_back(d);
                if (!at().isSymbol(",")) break;
                ++m_pos;
            }
            return block.children.size() == 1 ? block.children.front() : block;
        }
        if (t.isWord("set")) {
            ++m_pos;
            const Token& v = at();
            if (v.kind != Token::Kind::Variable)
                fail("SET is supported for variables only, not " + describe(v));
            const std::string name = toLowerAscii(v.text);
            if (!m_declared.count(name)) fail("must declare the variable " + v.text);
            ++m_pos;
            if (!at().isSymbol("=")) fail("SET " + v.text + " needs '='");
            ++m_pos;
            const std::size_t from = m_pos;
            skipClause(false, false);
            if (m_pos == from) fail("SET " + v.text + " needs a value");
            Statement s;
            s.kind = Statement::Kind::Set;
            s.line = t.line;
            s.text = source(begin, m_pos);
            s.variable = name;
            s.sql = m_dialect.valueQuery(translate(from, m_pos));
            return s;
        }
        if (t.isWord("insert")) {
            ++m_pos;
            if (at().isWord("into")) ++m_pos;
            std::string sql = "INSERT INTO " + tableName();
            if (at().isSymbol("(")) {
                const std::size_t open = m_pos;
                while (!at().isSymbol(")") && at().kind != Token::Kind::End) {
                    ++m_pos;
                    if (!at().isSymbol(")") && !at().isSymbol(",") && at().kind != Token::Kind::Word)
                        fail("a column name was expected, not " + describe(at()));
                }
                if (at().kind == Token::Kind::End) fail("missing ')'");
                ++m_pos;
                sql += " (" + translate(open + 1, m_pos - 1) + ")";
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
            sql += " " + translate(from, m_pos);
            return dataStatement(begin, std::move(sql));
        }
        if (t.isWord("update")) {
            ++m_pos;
            std::string sql = "UPDATE " + tableName();
            if (!at().isWord("set")) fail("UPDATE needs SET, not " + describe(at()));
            const std::size_t from = m_pos;
            skipClause(true, false);
            sql += " " + translate(from, m_pos);
            return dataStatement(begin, std::move(sql));
        }
        if (t.isWord("delete")) {
            ++m_pos;
            if (at().isWord("from")) ++m_pos;
            std::string sql = "DELETE FROM " + tableName();
            const std::size_t from = m_pos;
            if (!at().isWord("where") && !at().isSymbol(";") && at().kind != Token::Kind::End &&
                !(at().kind == Token::Kind::Word && kStatementWords.count(toLowerAscii(at().text))))
                fail("DELETE needs WHERE, not " + describe(at()));
            skipClause(false, false);
            if (m_pos > from) sql += " " + translate(from, m_pos);
            return dataStatement(begin, std::move(sql));
        }
        if (t.isWord("select")) {
            skipClause(false, true);
            return dataStatement(begin, translate(begin, m_pos), true);
        }
        fail("not understood: " + describe(t));
    }

    std::string_view m_text;
    std::vector<Token> m_tokens;
    std::size_t m_pos = 0;
    const Dialect& m_dialect;
    std::set<std::string> m_declared;
};

} // namespace

std::vector<Statement> parseBatch(std::string_view batch, const Dialect& dialect)
{
    return Parser(batch, dialect).batch();
}

std::string parseQuery(std::string_view sql, const Dialect& dialect)
{
    return Parser(sql, dialect).singleQuery();
}

} // namespace ormex::db

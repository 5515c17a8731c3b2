#include "StatementFootprint.h"

#include <sqlite3.h>

#include <string_view>
#include <vector>

#include "DbError.h"
#include "TsqlLexer.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Functions whose value depends only on their arguments.
bool fixedByArguments(std::string_view name)
{
    static constexpr std::string_view kFixed[] = {"lower",
                                                  "upper",
                                                  "ifnull",
                                                  "coalesce",
                                                  "abs",
                                                  "round",
                                                  "length",
                                                  "rtrim",
                                                  "ltrim",
                                                  "trim",
                                                  "substr",
                                                  "replace",
                                                  "count",
                                                  "sum",
                                                  "max",
                                                  "min",
                                                  "avg",
                                                  "total",
                                                  "nullif",
                                                  "instr",
                                                  "typeof",
                                                  "ormex_f_decrypt",
                                                  "ormex_datediff_day",
                                                  "isnull",
                                                  "convert",
                                                  "cast",
                                                  "len",
                                                  "substring",
                                                  "f_decrypt",
                                                  "exists",
                                                  "in"};
    for (std::string_view fixed : kFixed)
        if (platform::iequals(name, fixed)) return true;
    return false;
}

int record(void* context, int action, const char* first, const char* second, const char*, const char*)
{
    auto& footprint = *static_cast<StatementFootprint*>(context);
    switch (action) {
    case SQLITE_READ:
        if (first) footprint.reads.insert(platform::toLowerAscii(first));
        break;
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
        if (first) footprint.writes.insert(platform::toLowerAscii(first));
        break;
    case SQLITE_FUNCTION:
        if (!second || !fixedByArguments(second)) footprint.variableFunction = true;
        break;
    default:
        break;
    }
    return SQLITE_OK;
}

// Words that stand before a parenthesis without calling anything.
bool isKeyword(const Token& t)
{
    for (std::string_view word : {"and", "or", "not", "where", "on", "if", "when", "then", "else", "values",
                                  "select", "as", "by", "set", "into", "from", "join", "exists", "in"})
        if (t.isWord(word)) return true;
    return false;
}

} // namespace

StatementFootprint footprintOfText(std::string_view tsql)
{
    StatementFootprint footprint;
    std::vector<Token> tokens;
    try {
        tokens = tokenize(tsql);
    } catch (const DbError&) {
        footprint.variableFunction = true;
        return footprint;
    }
    std::size_t lastTable = tokens.size(); // the token that named the last table
    auto tableAt = [&](std::size_t i) -> std::string {
        if (i >= tokens.size() || tokens[i].kind != Token::Kind::Word) return {};
        lastTable = i;
        return platform::toLowerAscii(tokens[i].text);
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token& t = tokens[i];
        const bool into =
            i + 1 < tokens.size() && (tokens[i + 1].isWord("into") || tokens[i + 1].isWord("from"));
        if (t.isWord("from") || t.isWord("join")) {
            if (auto table = tableAt(i + 1); !table.empty()) footprint.reads.insert(table);
        } else if (t.isWord("insert") || t.isWord("delete")) {
            if (auto table = tableAt(into ? i + 2 : i + 1); !table.empty()) footprint.writes.insert(table);
        } else if (t.isWord("update")) {
            if (auto table = tableAt(i + 1); !table.empty()) footprint.writes.insert(table);
        } else if (t.kind == Token::Kind::Word && !t.bracketed && i != lastTable && i + 1 < tokens.size() &&
                   tokens[i + 1].isSymbol("(") && !fixedByArguments(t.text) && !isKeyword(t)) {
            footprint.variableFunction = true;
        }
    }
    return footprint;
}

FootprintRecorder::FootprintRecorder(sqlite3* db, StatementFootprint& footprint) : m_db(db)
{
    sqlite3_set_authorizer(db, record, &footprint);
}

FootprintRecorder::~FootprintRecorder()
{
    sqlite3_set_authorizer(m_db, nullptr, nullptr);
}

} // namespace ormex::db

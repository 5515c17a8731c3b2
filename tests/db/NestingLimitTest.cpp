// Text nested deeper than the parser takes, whatever nests (statements, function calls,
// parentheses), is refused with its line instead of exhausting the stack, through the batch and
// the single-query paths alike; nesting up to the limit is still read and translated.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "sql/DbError.h"
#include "sql/NestingLimit.h"
#include "sql/SqliteDialect.h"
#include "sql/TsqlParser.h"

using namespace ormex::db;

namespace {

constexpr int kDeep = 100000;

std::string times(const std::string& piece, int n)
{
    std::string text;
    text.reserve(piece.size() * static_cast<std::size_t>(n));
    for (int k = 0; k < n; ++k)
        text += piece;
    return text;
}

// The line parse() names when it refuses the text as nested too deeply, or -1.
int tooDeepAt(const std::function<void()>& parse)
{
    try {
        parse();
    } catch (const ParseError& error) {
        return error.message() == nestingTooDeep(0).message() ? error.line() : -1;
    }
    return -1;
}

int batchTooDeepAt(const std::string& batch)
{
    return tooDeepAt([&] { parseBatch(batch, SqliteDialect::instance()); });
}

// `select <expression>` on line 3 of a batch, and alone through both query paths.
void expectExpressionTooDeep(const std::string& expression)
{
    const std::string select = "select " + expression;
    EXPECT_EQ(batchTooDeepAt("declare @x int\r\n\r\n" + select), 3) << select.substr(0, 40);
    EXPECT_EQ(batchTooDeepAt("declare @x int\r\nset @x = 1\r\nset @x = " + expression), 3);
    EXPECT_EQ(tooDeepAt([&] { parseQuery("\n" + select, SqliteDialect::instance()); }), 2);
    EXPECT_EQ(tooDeepAt([&] { parseQueryShape(select, SqliteDialect::instance()); }), 1);
}

} // namespace

TEST(NestingLimit, DeepStatementsAreRefusedNamingTheLine)
{
    const int past = kMaxNesting + 1; // the first statement too deep
    EXPECT_EQ(batchTooDeepAt(times("if 1=1 ", kDeep) + "select 1"), 1);
    EXPECT_EQ(batchTooDeepAt(times("if 1=1\n", kDeep) + "select 1"), past);
    EXPECT_EQ(batchTooDeepAt(times("begin\n", kDeep) + "select 1\n" + times("end\n", kDeep)), past);
    // The IF of line n is n levels deep, its statement one more.
    EXPECT_EQ(batchTooDeepAt("if 1=2 select 1\n" + times("else if 1=2 select 1\n", kDeep)), kMaxNesting);
    EXPECT_EQ(batchTooDeepAt(times("if 1=1 begin\n", kDeep)), (past + 1) / 2); // two levels a line
}

TEST(NestingLimit, DeepCallsAndParenthesesAreRefusedNamingTheLine)
{
    expectExpressionTooDeep(times("lower(", kDeep) + "'a'" + times(")", kDeep));
    expectExpressionTooDeep(times("isnull(", kDeep) + "1" + times(",0)", kDeep));
    expectExpressionTooDeep(times("(", kDeep) + "1" + times(")", kDeep));
    // Refused at the first level too deep, before anything is translated or the rest is split
    // into tokens.
    expectExpressionTooDeep(times("isnull(", 40000) + "1" + times(",0)", 40000));
    expectExpressionTooDeep(times("isnull(", 40000));
}

TEST(NestingLimit, NestingUpToTheLimitIsRead)
{
    const int n = kMaxNesting;
    const auto program = parseBatch(times("if 1=1 ", n - 1) + "select 1", SqliteDialect::instance());
    EXPECT_EQ(program.steps.size(), static_cast<std::size_t>(n));
    EXPECT_EQ(parseQuery("select " + times("isnull(", n) + "a" + times(",0)", n), SqliteDialect::instance()),
              "select " + times("ifnull(", n) + "a" + times(", 0)", n));
    EXPECT_EQ(parseQuery("select " + times("(", n) + "1" + times(")", n), SqliteDialect::instance()),
              "select " + times("( ", n) + "1" + times(" )", n));
    EXPECT_EQ(batchTooDeepAt(times("if 1=1 ", n) + "select 1"), 1);
}

TEST(NestingLimit, ArgumentsAreFoundAroundNestedCalls)
{
    EXPECT_EQ(parseQuery("select isnull(substring(a,(1),2), cast(isnull((b),0) as int)), len(x) from T",
                         SqliteDialect::instance()),
              "select ifnull(substr(a , ( 1 ) , 2), CAST((ifnull(( b ), 0)) AS INTEGER)) , length(rtrim(x)) "
              "from T");
    EXPECT_EQ(parseQueryShape(
                  "select 1 from T where isnull(a,'x')=isnull(b,'y') and datediff(day,c,'2026-01-01')>3",
                  SqliteDialect::instance())
                  .sql,
              "select 1 from T where ifnull(a, ?1) = ifnull(b, ?2) and ormex_datediff_day(c, ?3) > ?4");
}

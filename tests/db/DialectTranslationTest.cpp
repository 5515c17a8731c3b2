#include <gtest/gtest.h>

#include "sql/DbError.h"
#include "sql/PgDialect.h"
#include "sql/SqliteDialect.h"
#include "sql/TsqlParser.h"

using namespace ormex::db;

namespace {
std::string translated(const std::string& sql)
{
    return parseQuery(sql, SqliteDialect::instance());
}

// A step's statement with each parameter written back as the literal or variable it stands for.
std::string written(const BatchProgram& program, const Step& step)
{
    std::string sql = program.shapes.at(step.shape);
    for (std::size_t k = step.argumentCount; k >= 1; --k) {
        const Argument& a = program.arguments.at(step.firstArgument + k - 1);
        const std::string value = a.kind() == Argument::Kind::Variable
                                      ? "@slot" + std::to_string(a.at)
                                      : std::string(program.text.substr(a.at, a.length()));
        const std::string marker = "?" + std::to_string(k);
        const auto at = sql.find(marker);
        if (at == std::string::npos) return "(parameter " + marker + " missing from " + sql + ")";
        sql.replace(at, marker.size(), a.kind() == Argument::Kind::Text ? "'" + value + "'" : value);
    }
    return sql;
}

std::string firstStatement(const std::string& batch)
{
    const auto program = parseBatch(batch, SqliteDialect::instance());
    return written(program, program.steps.at(0));
}
} // namespace

TEST(DialectTranslation, QueriesOfTheScreens)
{
    const std::pair<const char*, const char*> cases[] = {
        {"select FAccNum-FDecNum as LeavePoint,* from T_Pos_VipRecord where FCardId='A1'",
         "select FAccNum - FDecNum as LeavePoint , * from T_Pos_VipRecord where FCardId = 'A1'"},
        {"select IsNull(FValue,'') as FValue from t_systemprofile where FCategory='VIP'",
         "select ifnull(FValue, '') as FValue from t_systemprofile where FCategory = 'VIP'"},
        {"select * from x where FEndDate>=convert(varchar(10),getdate(),120)",
         "select * from x where FEndDate >= substr(CAST((ormex_getdate()) AS TEXT), 1, 10)"},
        {"select 1 from x where  convert(float,dbo.f_decrypt(FResidualAmt)) >= 100",
         "select 1 from x where CAST((ormex_f_decrypt(FResidualAmt)) AS REAL) >= 100"},
        {"select 1 from x where  datediff(day,getdate(),FVipEndDate)>0",
         "select 1 from x where ormex_datediff_day(ormex_getdate(), FVipEndDate) > 0"},
        {"select [FName] from dbo.t_stock where FNumber like '01_%'",
         "select [FName] from t_stock where FNumber like '01_%'"},
        {"select FCardId from T where FCardId in ('a','b') and name=N'张'",
         "select FCardId from T where FCardId in ( 'a' , 'b' ) and name = '张'"},
        {"select len(FVipName), substring(FCardId,1,2), cast(FAccNum as int), convert(varchar(20),FAccNum) "
         "from T",
         "select length(rtrim(FVipName)) , substr(FCardId , 1 , 2) , CAST((FAccNum) AS INTEGER) , "
         "substr(CAST((FAccNum) AS TEXT), 1, 20) from T"},
        {"SELECT COUNT(*) AS n FROM T WHERE FDate>=convert(datetime,'2026-01-01') AND x<>'it''s'",
         "SELECT count(*) AS n FROM T WHERE FDate >= ('2026-01-01') AND x <> 'it''s'"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(translated(in), out) << in;
}

TEST(DialectTranslation, StatementsAreNormalised)
{
    const std::pair<const char*, const char*> cases[] = {
        {"insert T_Pos_AddMoneyList(FCardId, FPlusAmt) select 'A',1",
         "INSERT INTO T_Pos_AddMoneyList (FCardId , FPlusAmt) VALUES ('A' , 1)"},
        // Only a SELECT of plain values becomes VALUES: a clause, an alias or a keyword keeps it.
        {"insert T(a,b) select case when 1>2 then isnull(null,1) else (select 2) end, -1",
         "INSERT INTO T (a , b) VALUES (case when 1 > 2 then ifnull(null, 1) else ( select 2 ) end , - 1)"},
        {"insert T(a) select x from U", "INSERT INTO T (a) select x from U"},
        {"insert T(a) select 1 one", "INSERT INTO T (a) select 1 one"},
        {"insert T(a) select distinct x from U", "INSERT INTO T (a) select distinct x from U"},
        {"insert T(a) select 1 union select 2", "INSERT INTO T (a) select 1 union select 2"},
        {"insert T(a) select 1 where (1=1)", "INSERT INTO T (a) select 1 where ( 1 = 1 )"},
        {"insert T(a) select max(2)", "INSERT INTO T (a) select max(2)"},
        {"Insert Into T_Pos_VipGift(FItemNum)\r\nValues('1')",
         "INSERT INTO T_Pos_VipGift (FItemNum) Values ( '1' )"},
        {"delete T_Pos_VipGift where FItemID=5", "DELETE FROM T_Pos_VipGift where FItemID = 5"},
        {"Delete from T_Pos_VipGift", "DELETE FROM T_Pos_VipGift"},
        {"update T set a=case when 1>2 then 3 else 4 end,b= 5\r\n where c='x'",
         "UPDATE T set a = case when 1 > 2 then 3 else 4 end , b = 5 where c = 'x'"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(firstStatement(in), out) << in;
}

TEST(DialectTranslation, ControlFlowBecomesJumps)
{
    const std::string batch =
        " declare @blnIsinset1 int \r\n set @blnIsinset1=1 \r\n If Not Exists(select 1 from T "
        "where a='x')\r\n begin \r\n insert into T (a) \r\n select 'x' \r\n set @blnIsinset1=0 "
        "\r\n end \r\n Else \r\n update T set b=1\r\n where a='x'\r\n\r\nIf (select v from P)='01' "
        "or @blnIsinset1=1\r\n update R set c=case when 2>1 then 1 else 2 end\r\n where a='x'";
    const auto program = parseBatch(batch, SqliteDialect::instance());
    using K = Step::Kind;
    const std::vector<std::pair<K, std::uint32_t>> expected = {{K::SetValue, 0}, {K::IfNot, 5}, {K::Run, 0},
                                                               {K::SetValue, 0}, {K::Jump, 6},  {K::Run, 0},
                                                               {K::IfNot, 8},    {K::Run, 0}};
    ASSERT_EQ(program.steps.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(program.steps[i].kind, expected[i].first) << i;
        EXPECT_EQ(program.steps[i].target, expected[i].second) << i;
    }
    EXPECT_EQ(program.slotCount, 1u);
    EXPECT_EQ(program.statementText(program.steps[1]), "If Not Exists(select 1 from T where a='x')");
    EXPECT_EQ(program.lineAt(program.steps[5].textAt), 10);
    EXPECT_EQ(written(program, program.steps[6]),
              "SELECT CASE WHEN (( select v from P ) = '01' or @slot0 = 1) THEN 1 ELSE 0 END");
}

TEST(DialectTranslation, StatementsDifferingOnlyInLiteralsShareOneShape)
{
    std::string batch = "declare @a int, @b int\r\n";
    for (int card = 0; card < 50; ++card) {
        const std::string c = std::to_string(card);
        batch += "update T set x=x+" + c + ".5 where FCardId='C" + c + "' and y=@" + (card % 2 ? "a" : "b") +
                 "\r\n";
        batch += "if exists(select 1 from T where FCardId='C" + c + "') set @a=" + c + "\r\n";
    }
    // Differing in more than literals: another column, another table, another operator, a
    // literal turned into a column, a bracketed name.
    batch += "update T set z=x+1.5 where FCardId='C' and y=@a\r\n"
             "update U set x=x+1.5 where FCardId='C' and y=@a\r\n"
             "update T set x=x-1.5 where FCardId='C' and y=@a\r\n"
             "update T set x=x+1.5 where FCardId=C and y=@a\r\n"
             "update T set x=x+1.5 where [FCardId]='C' and y=@a\r\n";
    const auto program = parseBatch(batch, SqliteDialect::instance());
    ASSERT_EQ(program.shapes.size(), 2u + 5u);
    EXPECT_EQ(program.shapes[0], "UPDATE T set x = x + ?1 where FCardId = ?2 and y = ?3");
    EXPECT_EQ(program.shapes[1],
              "SELECT CASE WHEN (exists ( select ?1 from T where FCardId = ?2 )) THEN 1 ELSE 0 END");
    EXPECT_EQ(written(program, program.steps[3]),
              "UPDATE T set x = x + 1.5 where FCardId = 'C1' and y = @slot0");
}

TEST(DialectTranslation, ResultColumnsAndOrderByKeepTheirLiterals)
{
    const auto shape = parseQueryShape(
        "select 'A' as kind, 1, FName from t_Item where FNumber='01' and FItemID in (select FItemID from x "
        "where y=2) order by 2, case when FName='z' then 1 else 0 end",
        SqliteDialect::instance());
    EXPECT_EQ(shape.sql,
              "select 'A' as kind , 1 , FName from t_Item where FNumber = ?1 and FItemID in ( "
              "select FItemID from x where y = ?2 ) order by 2 , case when FName = 'z' then 1 else 0 end");
    ASSERT_EQ(shape.arguments.size(), 2u);
}

TEST(DialectTranslation, ARepeatedStatementTakesTheTranslationOnlyWhereItsWrittenLiteralsMatch)
{
    // Literals the translation writes as text: a type's length, and a result column.
    const std::string batch = "declare @a int\r\n"
                              "update T set x=convert(varchar(10),y,120) where c='A'\r\n"
                              "update T set x=convert(varchar(20),y,120) where c='B'\r\n"
                              "update T set x=convert(varchar(10),y,120) where c='C'\r\n"
                              "select 'one', x from T where c='A'\r\n"
                              "select 'two', x from T where c='B'\r\n"
                              "update T set x=@a where c='D'\r\n";
    const auto program = parseBatch(batch, SqliteDialect::instance());
    ASSERT_EQ(program.steps.size(), 6u);
    EXPECT_EQ(written(program, program.steps[0]),
              "UPDATE T set x = substr(CAST((y) AS TEXT), 1, 10) where c = 'A'");
    EXPECT_EQ(written(program, program.steps[1]),
              "UPDATE T set x = substr(CAST((y) AS TEXT), 1, 20) where c = 'B'");
    EXPECT_EQ(written(program, program.steps[2]),
              "UPDATE T set x = substr(CAST((y) AS TEXT), 1, 10) where c = 'C'");
    EXPECT_EQ(program.steps[2].shape, program.steps[0].shape);
    EXPECT_EQ(written(program, program.steps[3]), "select 'one' , x from T where c = 'A'");
    EXPECT_EQ(written(program, program.steps[4]), "select 'two' , x from T where c = 'B'");

    // A statement like one translated before is still refused for what differs.
    const auto refused = [](const std::string& text) {
        try {
            parseBatch(text, SqliteDialect::instance());
        } catch (const ParseError& error) {
            return error.line() == 3 ? error.message() : "line " + std::to_string(error.line());
        }
        return std::string("accepted");
    };
    EXPECT_NE(refused("declare @a int\r\nupdate T set x=convert(varchar(10),y,120) where c=@a\r\n"
                      "update T set x=convert(varchar(10),y,101) where c=@a")
                  .find("convert style 101"),
              std::string::npos);
    EXPECT_NE(refused("declare @a int\r\nupdate T set x=1 where c=@a\r\nupdate T set x=1 where c=@b")
                  .find("must declare the variable @b"),
              std::string::npos);
}

TEST(DialectTranslation, PostgresSpellsTheServersFunctionsAndTypesItsNumbers)
{
    using ormex::db::PgDialect;
    EXPECT_EQ(parseQuery("select isnull(FAccNum, 0) from dbo.T_Pos_VipRecord where [FCardId] = 'A' and "
                         "round(FDecNum, 2) > 1 and convert(float, dbo.f_decrypt(FResidualAmt)) >= 0",
                         PgDialect::instance()),
              "select coalesce(FAccNum, 0) from T_Pos_VipRecord where \"fcardid\" = 'A' and "
              "round(CAST((FDecNum) AS numeric), 2) > 1 and CAST((f_decrypt(FResidualAmt)) AS double "
              "precision) >= 0");
    // Lifted, a number nothing typed stands beside is cast; one beside a column takes its type.
    EXPECT_EQ(parseQueryShape("select FCardId from T_Pos_VipRecord where FAccNum > 5 and 1 > 100000",
                              PgDialect::instance())
                  .sql,
              "select FCardId from T_Pos_VipRecord where FAccNum > $1 and CAST($2 AS numeric) > CAST($3 AS "
              "numeric)");
    // A list of 200,000 numbers is read once: each finds its parenthesis without reading back.
    std::string list;
    for (int i = 0; i < 200000; ++i)
        list += (i ? "," : "") + std::to_string(i);
    EXPECT_EQ(parseQueryShape("select FCardId from T_Pos_VipRecord where FFlowId in (" + list + ")",
                              PgDialect::instance())
                  .arguments.size(),
              0u)
        << "too many to lift: written out";
    ormex::db::BatchProgram program = ormex::db::parseBatch(
        "update T_Pos_VipRecord set FAccNum = 1 where FFlowId in (" + list.substr(0, 2000) + ")",
        PgDialect::instance());
    EXPECT_EQ(program.shapes.size(), 1u);
}

#include <gtest/gtest.h>

#include "db/SqliteDialect.h"
#include "db/TsqlParser.h"

using namespace ormex::db;

namespace {
std::string translated(const std::string& sql)
{
    return parseQuery(sql, SqliteDialect::instance());
}
std::string firstStatement(const std::string& batch)
{
    auto statements = parseBatch(batch, SqliteDialect::instance());
    return statements.at(0).sql;
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
         "INSERT INTO T_Pos_AddMoneyList (FCardId , FPlusAmt) select 'A' , 1"},
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

TEST(DialectTranslation, ControlFlowStructure)
{
    const std::string batch =
        " declare @blnIsinset1 int \r\n set @blnIsinset1=1 \r\n If Not Exists(select 1 from T "
        "where a='x')\r\n begin \r\n insert into T (a) \r\n select 'x' \r\n set @blnIsinset1=0 "
        "\r\n end \r\n Else \r\n update T set b=1\r\n where a='x'\r\n\r\nIf (select v from P)='01' "
        "or @blnIsinset1=1\r\n update R set c=case when 2>1 then 1 else 2 end\r\n where a='x'";
    auto statements = parseBatch(batch, SqliteDialect::instance());
    ASSERT_EQ(statements.size(), 4u);
    EXPECT_EQ(statements[0].kind, Statement::Kind::Declare);
    EXPECT_EQ(statements[1].kind, Statement::Kind::Set);
    ASSERT_EQ(statements[2].kind, Statement::Kind::If);
    ASSERT_EQ(statements[2].children.size(), 2u);
    EXPECT_EQ(statements[2].children[0].kind, Statement::Kind::Block);
    EXPECT_EQ(statements[2].children[0].children.size(), 2u);
    EXPECT_EQ(statements[3].sql,
              "SELECT CASE WHEN (( select v from P ) = '01' or @blnisinset1 = 1) THEN 1 ELSE 0 END");
    EXPECT_EQ(statements[3].children.size(), 1u);
}

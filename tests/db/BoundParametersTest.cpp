// Literals and variables run as bound parameters of statements compiled once per shape: values
// keep their types and collations, a compiled shape serves only statements that differ from it in
// literals, and a batch over every card of a large database is still checked whole and runs all
// or nothing.
#include <gtest/gtest.h>

#include "sql/DbError.h"
#include "sql/SqliteStatement.h"
#include "store/LargeData.h"
#include "support/DecimalCommaLocale.h"
#include "support/TestDatabase.h"

using ormex::db::ParseError;
using ormex::db::StatementError;
using ormex::test::TestDatabase;

namespace {

// Rows of native SQLite text, each as "type|value|..." pairs for its first two columns.
std::vector<std::string> storedTypes(TestDatabase& t, const std::string& sql)
{
    ormex::db::SqliteStatement stmt(t.db().handle(), sql);
    std::vector<std::string> rows;
    while (stmt.step())
        rows.push_back(stmt.column(0).toString() + "|" + stmt.column(1).toString() + "|" +
                       stmt.column(2).toString() + "|" + stmt.column(3).toString());
    return rows;
}

} // namespace

TEST(BoundParameters, NumbersAndTextsKeepTheirTypesAndCollations)
{
    TestDatabase t;
    // FPlusAmt has no declared type: what is stored is what was bound.
    t.db().execute(
        "declare @v int\r\nset @v=7\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'a', 5, 'it''s'\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'b', 5.0, N'张'\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'c', '5', ''\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'd', -3, 'x'\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'e', @v, 'x'\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'f', 1e3, 'x'\r\n"
        "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'g', 99999999999999999999, 'x'");
    EXPECT_EQ(
        storedTypes(
            t,
            "select FCardId, typeof(FPlusAmt), quote(FPlusAmt), other1 from T_Pos_AddMoneyList order by FID"),
        (std::vector<std::string>{"a|integer|5|it's", "b|real|5.0|张", "c|text|'5'|", "d|integer|-3|x",
                                  "e|integer|7|x", "f|real|1000.0|x", "g|real|1.0e+20|x"}));

    t.exec("insert into T_Pos_VipRecord (FCardId, FResidualAmt, FAccNum) values ('C1', 'AbC', 3), ('C2', "
           "'x', 1)");
    // Card numbers compare without case, encoded balances exactly, as with literals in the text.
    EXPECT_EQ(t.db().query("select count(*) as n from T_Pos_VipRecord where FCardId='c1'").field("n").toInt(),
              1);
    EXPECT_EQ(
        t.db().query("select count(*) as n from T_Pos_VipRecord where FResidualAmt='abc'").field("n").toInt(),
        0);
    EXPECT_EQ(t.db()
                  .query("select count(*) as n from T_Pos_VipRecord where FCardId in ('c1','C2')")
                  .field("n")
                  .toInt(),
              2);
}

// A till whose locale writes decimals with a comma reads the literals of a batch as the batch wrote
// them, and the seal of a card written with a fractional amount still holds.
TEST(BoundParameters, LiteralsReadTheSameUnderADecimalCommaLocale)
{
    ORMEX_WITH_DECIMAL_COMMA(comma);
    TestDatabase t;
    t.db().execute("insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'a', 12.5, 'x'\r\n"
                   "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'b', 1.5e3, 'x'\r\n"
                   "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, other1) select 'c', 0.125*2, 'x'");
    EXPECT_EQ(storedTypes(t,
                          "select FCardId, typeof(FPlusAmt), quote(FPlusAmt), other1 from T_Pos_AddMoneyList"
                          " order by FID"),
              (std::vector<std::string>{"a|real|12.5|x", "b|real|1500.0|x", "c|real|0.25|x"}));
    EXPECT_EQ(t.db().query("select 2.5*2 as n").field("n").toString(), "5");
}

TEST(BoundParameters, ACompiledShapeServesOnlyItsOwnStatements)
{
    TestDatabase t;
    t.exec("insert into T_Pos_VipRecord (FCardId, FAccNum, FDecNum) values ('C1', 10, 1), ('C2', 20, 2)");
    // The same shape with other literals, on the same connection, one batch after another.
    t.db().execute("update T_Pos_VipRecord set FAccNum=FAccNum+1 where FCardId='C1'");
    t.db().execute("update T_Pos_VipRecord set FAccNum=FAccNum+5 where FCardId='C2'");
    // Shapes that differ in a column, an operator or a literal that is a column.
    t.db().execute("update T_Pos_VipRecord set FDecNum=FDecNum+1 where FCardId='C1'");
    t.db().execute("update T_Pos_VipRecord set FDecNum=FDecNum-1 where FCardId='C2'");
    t.db().execute("update T_Pos_VipRecord set FDecNum=FAccNum where FCardId='C1'");
    EXPECT_EQ(t.rows("select FCardId, FAccNum, FDecNum from T_Pos_VipRecord order by FCardId"),
              (std::vector<std::string>{"C1|11|11", "C2|25|1"}));

    // A column position in ORDER BY and the literals naming result columns stay what they are.
    const auto rs = t.db().query("select FCardId, FAccNum, 'x' from T_Pos_VipRecord order by 2 desc");
    EXPECT_EQ(rs.field("FCardId").toString(), "C2");
    const auto named = t.db().query("select 1 as one, 'A' as kind from T_Pos_VipRecord where FCardId='C1'");
    EXPECT_EQ(named.field("kind").toString(), "A");
    EXPECT_EQ(named.field("one").toInt(), 1);

    // Statements of one shape with hundreds of literals: the second and third take the first one's
    // translation and bind each of their own literals where it stands.
    t.exec("with recursive n(i) as (select 1 union all select i+1 from n where i<600) "
           "insert into T_Pos_VipRecord (FCardId, FAccNum, FDecNum) select 'M'||i, 0, 0 from n");
    const auto raise = [](int first, int by) {
        std::string list;
        for (int i = first; i < first + 300; ++i)
            list += (list.empty() ? "'M" : ",'M") + std::to_string(i) + "'";
        return "update T_Pos_VipRecord set FAccNum=FAccNum+" + std::to_string(by) +
               ", FDecNum=" + std::to_string(by * 10) + " where FCardId in (" + list + ")\r\n";
    };
    t.db().execute(raise(1, 1) + raise(301, 2) + raise(151, 4));
    EXPECT_EQ(t.rows("select FAccNum, FDecNum, count(*) from T_Pos_VipRecord where FCardId like 'M%'"
                     " group by FAccNum, FDecNum order by FAccNum"),
              (std::vector<std::string>{"1|10|150", "2|20|150", "5|40|150", "6|40|150"}));
}

namespace {

// Every generated card rewarded: a movement, the totals upsert and the card update, per card.
std::string rewardEveryCard(long cards)
{
    std::string batch;
    batch.reserve(static_cast<std::size_t>(cards) * 420);
    for (long i = 0; i < cards; ++i) {
        const std::string card = std::to_string(9000000000L + i);
        batch +=
            "\r\ninsert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,"
            "FOperDate,memo,FComFlag)\r\nselect 1,'01','" +
            card + "','3',0,2 ,16394,getdate(),'积分奖励',0\r\n";
        batch += "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='" + card +
                 "' and FBranchID=1)\r\n insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,"
                 "FVipCurAccNum,FVipAccNum,FComFlag)\r\n select '" +
                 card +
                 "',1,'01',2,2,'0'\r\n Else \r\n update T_Pos_VipConsume set FVipAccNum=FVipAccNum+2\r\n"
                 " where FCardId='" +
                 card + "' and FBranchID=1\r\n";
        batch +=
            "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +2\r\n where FCardId='" + card + "'\r\n";
    }
    return batch;
}

int lines(const std::string& text)
{
    return 1 + static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

TEST(BoundParameters, ABatchOverAHundredThousandCardsIsCheckedWholeAndRunsAllOrNothing)
{
    constexpr long kCards = 100000;
    TestDatabase t;
    ormex::db::generateCards(t.db(), kCards);
    const auto state = [&] {
        return t.rows("select sum(FAccNum), (select count(*) from T_Pos_VipGiftList), "
                      "(select count(*) from T_Pos_VipConsume) from T_Pos_VipRecord");
    };
    const auto before = state();
    const std::string batch = rewardEveryCard(kCards);

    // Text outside the dialect on the last line: refused naming that line, nothing ran.
    try {
        t.db().execute(batch + "exec sp_who");
        ADD_FAILURE() << "accepted";
    } catch (const ParseError& error) {
        EXPECT_EQ(error.line(), lines(batch));
    }
    EXPECT_EQ(state(), before);

    // The last statement fails (a card number that exists): every card's change is taken back.
    const std::string failing = "insert into T_Pos_VipRecord (FCardId) select '9000000007'";
    try {
        t.db().execute(batch + failing);
        ADD_FAILURE() << "accepted";
    } catch (const StatementError& error) {
        EXPECT_EQ(error.line(), lines(batch));
        EXPECT_EQ(error.statement(), failing);
        EXPECT_NE(error.reason().find("UNIQUE"), std::string::npos) << error.what();
    }
    EXPECT_EQ(state(), before);

    t.db().execute(batch);
    const long total = std::stol(before.at(0).substr(0, before.at(0).find('|')));
    EXPECT_EQ(state(), std::vector<std::string>{std::to_string(total + 2 * kCards) + "|" +
                                                std::to_string(kCards) + "|" + std::to_string(kCards)});
}

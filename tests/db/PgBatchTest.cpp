// The system's T-SQL on PostgreSQL: batches with their control flow, literals and variables as
// typed parameters, all or nothing, checked writes, the clock, and a connection that broke.
#include <gtest/gtest.h>

#include "platform/BusinessObjects.h"
#include "sql/DbError.h"
#include "sql/PgDatabase.h"
#include "store/PgSchema.h"
#include "support/PgTestDatabase.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using ormex::db::PgDatabase;
using Rows = std::vector<std::string>;

namespace {

class PgBatch : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (ormex::test::pgClusterUrl().empty())
            GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
        pg = std::make_unique<ormex::test::PgTestDatabase>();
        ormex::db::applySchema(db());
        db().execute("insert into T_Pos_VipRecord (FCardId, FCardStatus, FAccNum, FDecNum) values "
                     "('C1', '0', 100, 60), ('C2', '2', 50, 0)");
    }
    PgDatabase& db() { return pg->db(); }
    Rows rows(const std::string& sql) { return ormex::test::rowsOf(db(), sql); }
    std::unique_ptr<ormex::test::PgTestDatabase> pg;
};

} // namespace

TEST_F(PgBatch, LiteralsAndVariablesKeepTheMeaningTheyHaveWrittenOut)
{
    db().execute("declare @n int, @card varchar(20), @points decimal(18,2)\r\n"
                 "set @card = 'c1'\r\n"
                 "set @points = (select FAccNum - FDecNum from T_Pos_VipRecord where FCardId = @card)\r\n"
                 "if @points > 39.5\r\n"
                 "  update T_Pos_VipRecord set FDecNum = case when 1 > 100000 then 100000 else 1 end + 2.5 "
                 "where FCardId = @card\r\n"
                 "else\r\n"
                 "  update T_Pos_VipRecord set FDecNum = -1 where FCardId = @card\r\n"
                 "set @n = (select count(*) from T_Pos_VipRecord where FCardStatus = '2')\r\n"
                 "update T_Pos_VipRecord set FAccNum = FAccNum + @n * 10 / 4 where FCardId = 'C2'");
    EXPECT_EQ(rows("select FCardId, FAccNum, FDecNum from T_Pos_VipRecord order by FCardId"),
              (Rows{"C1|100|3.5", "C2|52|0"}))
        << "a text variable finds the key without regard to case; 1 > 100000 is a comparison of numbers; "
           "whole numbers divide as whole numbers";
}

TEST_F(PgBatch, AFailureTakesTheWholeBatchBackAndNamesItsLine)
{
    try {
        db().execute("update T_Pos_VipRecord set FAccNum = 0 where FCardId = 'C1'\r\n"
                     "insert into no_such_table values (1)");
        FAIL() << "the second statement must fail";
    } catch (const ormex::db::StatementError& error) {
        EXPECT_EQ(error.line(), 2);
    }
    EXPECT_THROW(db().execute("update T_Pos_VipRecord set FAccNum = 0\r\nupdate set"), ormex::db::ParseError);
    try {
        db().execute(
            "update T_Pos_VipRecord set FAccNum = 0\r\nselect FAccNum from T_Pos_VipRecord where ((");
        FAIL();
    } catch (const ormex::db::ParseError& error) {
        EXPECT_EQ(error.line(), 2);
    }
    EXPECT_EQ(rows("select FAccNum from T_Pos_VipRecord order by FCardId"), (Rows{"100", "50"}));
}

TEST_F(PgBatch, ConditionsSeeWhatTheBatchWroteBeforeThem)
{
    // Conditions that depend only on literals are answered before the batch runs and checked in
    // place. The second card comes twice, and its second condition sees the row the first one
    // made; the third card's row is made without a condition before its condition asks.
    auto totals = [](const char* card) {
        return std::string("If Not Exists(select 1 from T_Pos_VipConsume where FCardId='") + card +
               "' and FBranchID=2)\r\n insert into T_Pos_VipConsume (FCardId, Fbranchid, FVipMinusTotalNum) "
               "select '" +
               card +
               "', 2, 1\r\nElse\r\n update T_Pos_VipConsume set FVipMinusTotalNum="
               "FVipMinusTotalNum+1 where FCardId='" +
               card + "' and FBranchID=2\r\n";
    };
    db().execute("insert into T_Pos_VipConsume (FCardId, Fbranchid, FVipMinusTotalNum) values ('C1', 2, 10)");
    db().execute(
        totals("C1") + totals("C2") + totals("c2") +
        "insert into T_Pos_VipConsume (FCardId, Fbranchid, FVipMinusTotalNum) select 'C3', 2, 5\r\n" +
        totals("C3"));
    EXPECT_EQ(rows("select FCardId, FVipMinusTotalNum from T_Pos_VipConsume order by FCardId"),
              (Rows{"C1|11", "C2|2", "C3|6"}));
}

TEST_F(PgBatch, ACheckedWriteRunsOnlyWhileWhatItReadStands)
{
    const std::string read = "select FDecNum from T_Pos_VipRecord where FCardId='C1'";
    db().executeChecked("update T_Pos_VipRecord set FDecNum = 70 where FCardId = 'C1'",
                        {{read, "FDecNum", ormex::platform::Value(60.0)}});
    EXPECT_THROW(db().executeChecked("update T_Pos_VipRecord set FDecNum = 80 where FCardId = 'C1'",
                                     {{read, "FDecNum", ormex::platform::Value(60.0)}}),
                 ormex::platform::ChangedSinceReadError);
    EXPECT_EQ(rows(read), Rows{"70"});
}

TEST_F(PgBatch, TheClockAndTheDateFunctionsAreTheSystemsOwn)
{
    ormex::test::ScopedClock clock(2026, 11, 23, 10, 30, 5);
    db().execute("update T_Pos_VipRecord set FModifyDate = getdate(), FVipEndDate = '2026-12-01'");
    EXPECT_EQ(
        rows("select FModifyDate, convert(varchar(10), getdate(), 120), datediff(day, FModifyDate, "
             "FVipEndDate), round(FDecNum / 7, 2), isnull(mobile, '-'), len('ab  ') from T_Pos_VipRecord "
             "where [FCardId] = 'C1'"),
        Rows{"2026-11-23 10:30:05|2026-11-23|8|8.57|-|2"});
}

TEST_F(PgBatch, AConnectionThatBrokeIsOpenedAgain)
{
    auto admin = PgDatabase::open(ormex::test::pgClusterUrl());
    admin->queryNative("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                       pg->name() + "'");
    EXPECT_TRUE(db().alive());
    EXPECT_EQ(rows("select count(*) from T_Pos_VipRecord"), Rows{"2"});
}

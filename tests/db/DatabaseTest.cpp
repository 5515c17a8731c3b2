// The connection: how a file is opened, what every connection carries, and what query() returns.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>

#include "platform/BalanceCodec.h"
#include "sql/DbError.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using ormex::db::Database;
using ormex::platform::Value;
using ormex::test::TestDatabase;

namespace {

std::string pragma(Database& db, const char* name)
{
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db.handle(), (std::string("PRAGMA ") + name).c_str(), -1, &stmt, nullptr);
    std::string value =
        sqlite3_step(stmt) == SQLITE_ROW ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)) : "";
    sqlite3_finalize(stmt);
    return value;
}

} // namespace

TEST(Database, OpeningNeverCreatesUnlessAsked)
{
    const std::string folder = ormex::test::makeTempFolder();
    const std::string missing = folder + "/HQ.db";
    EXPECT_THROW(Database::open(missing), ormex::db::OpenError);
    EXPECT_THROW(Database::open(missing, Database::OpenMode::MustExist), ormex::db::OpenError);
    EXPECT_FALSE(std::filesystem::exists(missing));

    Database::open(missing, Database::OpenMode::Create);
    EXPECT_TRUE(std::filesystem::exists(missing));
    auto again = Database::open(missing);
    EXPECT_EQ(again->path(), missing);

    std::ofstream(folder + "/notes.db")
        << "this is not a database, just some text that is long enough to read";
    EXPECT_THROW(Database::open(folder + "/notes.db"), ormex::db::OpenError);
    ormex::test::removeFolder(folder);
}

TEST(Database, EveryConnectionSharesTheFileAndKnowsTheFunctions)
{
    ormex::test::ScopedClock clock(2026, 3, 4, 5, 6, 7);
    TestDatabase t;
    EXPECT_EQ(pragma(t.db(), "journal_mode"), "wal");
    EXPECT_EQ(pragma(t.db(), "synchronous"), "2") << "FULL: a commit survives a power cut";
    // Operators' processes wait for each other's batches rather than give up at once.
    EXPECT_GE(std::stoi(pragma(t.db(), "busy_timeout")), 30000);

    t.exec("insert into T_Pos_VipRecord (FCardId, FResidualAmt) values ('A1', '" +
           ormex::platform::encodeBalance("12.5") + "')");
    auto second = Database::open(t.path());
    auto rs =
        second->query("select dbo.f_decrypt(FResidualAmt) as Amt, getdate() as Now from T_Pos_VipRecord");
    EXPECT_EQ(rs.field("Amt").toString(), "12.5");
    EXPECT_EQ(rs.field("Now").toString(), "2026-03-04 05:06:07");
}

TEST(Database, QueryGivesColumnNamesAndTypedValues)
{
    TestDatabase t;
    t.exec(
        "insert into T_Pos_VipRecord (FCardId, FVipName, FAccNum, FDecNum) values ('A1', '张三', 100, 37.5)");
    auto rs = t.db().query("select FAccNum-FDecNum as LeavePoint,* from T_Pos_VipRecord where FCardId='A1'");
    ASSERT_GE(rs.columns().size(), 3u);
    EXPECT_EQ(rs.columns()[0], "LeavePoint");
    EXPECT_EQ(rs.field("LeavePoint"), Value(62.5));
    EXPECT_EQ(rs.field("fcardid"), Value("A1"));
    EXPECT_EQ(rs.field("FVipName"), Value("张三"));
    EXPECT_TRUE(rs.field("mobile").isNull());

    auto typed =
        t.db().query("select 7 as I, 2.5 as D, 'x' as T, null as N, count(*) as C from T_Pos_VipRecord");
    EXPECT_EQ(typed.field("I").type(), Value::Type::Int);
    EXPECT_EQ(typed.field("D").type(), Value::Type::Double);
    EXPECT_EQ(typed.field("T").type(), Value::Type::Text);
    EXPECT_EQ(typed.field("N").type(), Value::Type::Null);
    EXPECT_EQ(typed.field("C"), Value(1));
}

TEST(Database, QueryShapesOfTheScreens)
{
    TestDatabase t;
    t.exec(
        "insert into T_Pos_VipRecord (FCardId, mobile, FCardStatus, FCardType, FAccNum, FDecNum) values"
        " ('A1','139','0','G',100,10), ('a2','138','2','S',50,50), ('B3','139','0','S',80,0);"
        "insert into T_Pos_VipType (FTypeId, type_name, FSavingFlag) values ('G','金卡',0), ('S','储值卡',1);"
        "insert into t_stock (FItemID, FNumber, FName) values (1,'01','总仓'), (2,'0101','一仓'), "
        "(3,'0102','二仓'), (4,'0201','外仓')");
    struct Case
    {
        const char* sql;
        std::vector<std::string> rows;
    };
    const Case cases[] = {
        // Keys compare without regard to case; a status written as a number matches the text column.
        {"select FCardId from T_Pos_VipRecord where FCardId='A2' or FCardId='b3' order by FCardId",
         {"a2", "B3"}},
        {"select FCardId from T_Pos_VipRecord where FCardStatus=0 order by FCardId desc", {"B3", "A1"}},
        {"select FNumber from t_stock where FNumber like '01_%' order by FNumber", {"0101", "0102"}},
        {"select FNumber from dbo.t_stock where FNumber like '%1' and FItemID in (1,2,4) order by [FNumber]",
         {"01", "0101", "0201"}},
        {"Select type_name From T_Pos_VipType Where FTypeId=(Select FCardType From T_Pos_VipRecord Where "
         "FCardId='b3' or mobile='b3')",
         {"储值卡"}},
        {"select FCardId, FAccNum-FDecNum as cur_num from T_Pos_VipRecord where FAccNum-FDecNum>0 and "
         "FCardType in (select FTypeId from T_Pos_VipType where FSavingFlag=1)",
         {"B3|80"}},
        {"select IsNull(max(FAccNum),0) as M, ISNULL(null,'none') as K from T_Pos_VipRecord where "
         "mobile='139'",
         {"100|none"}},
        {"select upper(FCardId) as U, len('ab  ') as L, substring('abcdef',2,3) as S from T_Pos_VipRecord "
         "where FCardId='a2'",
         {"A2|2|bcd"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(t.rows(c.sql), c.rows) << c.sql;
}

TEST(Database, QueryRunsExactlyOneSelect)
{
    TestDatabase t;
    for (const char* sql :
         {"update T_Pos_VipRecord set FAccNum=1", "select 1\r\nselect 2", "", "select 1 from"}) {
        EXPECT_THROW(t.db().query(sql), ormex::db::ParseError) << sql;
    }
    EXPECT_THROW(t.db().query("select FNoSuchColumn from T_Pos_VipRecord"), ormex::db::StatementError);
}

TEST(Database, ABatchInsideTheCallersTransactionIsStillAllOrNothing)
{
    TestDatabase t;
    t.exec("insert into T_Pos_VipRecord (FCardId, FAccNum) values ('A1', 1)");
    {
        Database::Transaction outer(t.db());
        t.db().execute("update T_Pos_VipRecord set FAccNum=2 where FCardId='A1'");
        EXPECT_THROW(
            t.db().execute(
                "update T_Pos_VipRecord set FAccNum=3\r\ninsert into T_Pos_VipRecord (FCardId) select 'A1'"),
            ormex::db::StatementError);
        EXPECT_EQ(t.scalar("select FAccNum from T_Pos_VipRecord").toInt(),
                  2); // only the failed batch went back
        outer.commit();
    }
    EXPECT_EQ(t.scalar("select FAccNum from T_Pos_VipRecord").toInt(), 2);
    {
        Database::Transaction outer(t.db());
        t.db().execute("update T_Pos_VipRecord set FAccNum=4");
    } // not committed
    EXPECT_EQ(t.scalar("select FAccNum from T_Pos_VipRecord").toInt(), 2);
}

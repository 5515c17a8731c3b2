#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "RunAdminCommand.h"
#include "store/CardSeal.h"
#include "store/PgSchema.h"
#include "store/SchemaSteps.h"
#include "support/PgTestDatabase.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

namespace {

using Result = ormex::test::CommandResult;

Result run(const std::vector<std::string>& args)
{
    return ormex::test::runCommand(args);
}

} // namespace

TEST(PgAdminCommands, CreateOnceThenQuery)
{
    if (ormex::test::pgClusterUrl().empty())
        GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    ormex::test::PgTestDatabase pg;
    EXPECT_EQ(run({"query", pg.url(), "SELECT 1"}).code, 1) << "not a member-card database yet";
    const Result created = run({"create", pg.url()});
    ASSERT_EQ(created.code, 0) << created.err;
    EXPECT_TRUE(ormex::db::hasSchema(pg.db()));
    const Result again = run({"create", pg.url()});
    EXPECT_EQ(again.code, 1);
    EXPECT_NE(again.err.find("already"), std::string::npos) << again.err;

    pg.db().executeNative("INSERT INTO T_Pos_VipType (FTypeId, type_name) VALUES ('01', '金卡')");
    const Result query =
        run({"query", pg.url(), "SELECT FTypeId, type_name, FSavingFlag FROM T_Pos_VipType"});
    EXPECT_EQ(query.code, 0) << query.err;
    EXPECT_EQ(query.out, "ftypeid | type_name | fsavingflag\n"
                         "--------+-----------+------------\n"
                         "01      | 金卡      | 0          \n"
                         "(1 row)\n");
}

TEST(PgAdminCommands, SeedRunAndQueryTakeTheSystemsTsql)
{
    if (ormex::test::pgClusterUrl().empty())
        GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    ormex::test::PgTestDatabase pg;
    pg.db().executeNative("ALTER USER postgres PASSWORD 'secret'");
    std::string url = pg.url();
    url.insert(url.find('@'), ":secret");
    ASSERT_EQ(run({"create", url}).out, "created " + pg.url() + "\n") << "the password is not shown";
    EXPECT_EQ(run({"seed", url, "--role", "hq"}).code, 1) << "not without the host's seal key";
    const std::string settings = ::testing::TempDir() + "/hq-host.conf";
    std::ofstream(settings) << "seal-key=" << ormex::db::sealKeyText(ormex::test::testSealKey()) << "\n";
    const Result seeded = run({"seed", url, "--role", "hq", "--config", settings});
    ASSERT_EQ(seeded.code, 0) << seeded.err;
    EXPECT_EQ(run({"seed", url, "--role", "hq", "--config", settings}).code, 1)
        << "the demo rows are there already";
    EXPECT_EQ(run({"verify", url, "--config", settings}).out,
              "every card matches its seal and its movement ledger\n")
        << "headquarters seals its cards itself";

    const std::string file = ::testing::TempDir() + "/recharge.sql";
    std::ofstream(file)
        << "declare @old varchar(40)\r\n"
           "set @old = (select dbo.f_decrypt(FResidualAmt) from T_Pos_VipRecord where "
           "FCardId = '88000001')\r\n"
           "insert T_Pos_AddMoneyList (FCardId, FPlusAmt, FOldAmt) select '88000001', 10, @old";
    const Result ran = run({"run", url, file, "--config", settings});
    EXPECT_EQ(ran.code, 0) << ran.err;
    // No operator logs in to a server: the batch is logged with the server's user and its digest.
    const auto digest = ran.out.substr(ran.out.rfind(' ') + 1, 64);
    EXPECT_EQ(ormex::test::rowsOf(pg.db(),
                                  "select FUserID, FDescription from t_OperLog where FFunctionID='RUNBATCH'"),
              std::vector<std::string>{"0|运行批处理【" + file + "】，SHA-256 " + digest +
                                       "；操作员：服务器用户postgres"})
        << ran.out;
    EXPECT_EQ(run({"query", url, "delete from T_Pos_AddMoneyList"}).code, 1) << "query never writes";
    EXPECT_EQ(run({"query", url, "select top 1 FPlusAmt from T_Pos_AddMoneyList"}).code, 1)
        << "TOP is outside the dialect on every engine";
    const Result query = run({"query", url,
                              "select count(*) as n from T_Pos_AddMoneyList where FCardId = '88000001' and "
                              "FOldAmt = (select convert(float, dbo.f_decrypt(FResidualAmt)) from "
                              "T_Pos_VipRecord where FCardId = '88000001')"});
    EXPECT_EQ(query.out, "n\n-\n1\n(1 row)\n") << query.err;
    EXPECT_EQ(run({"generate", url, "10"}).code, 1) << "generating cards is for SQLite files";
}

TEST(PgAdminCommands, OnlyUpgradeTakesAnOlderHeadquarters)
{
    if (ormex::test::pgClusterUrl().empty())
        GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    ormex::test::PgTestDatabase pg;
    ormex::test::makeFirstVersionDatabase(pg.db());
    const std::string current = std::to_string(ormex::db::currentSchemaVersion());
    const Result refused = run({"query", pg.url(), "SELECT count(*) AS n FROM T_Pos_VipRecord"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.err.find("请由管理员先运行 ormex-db upgrade " + pg.url() + " 升级数据库"),
              std::string::npos)
        << refused.err;

    // The ledger's step starts the cards' chains with the seal key of the settings given.
    const std::string settings = ::testing::TempDir() + "/upgrade-host.conf";
    std::ofstream(settings) << "seal-key=" << ormex::db::sealKeyText(ormex::test::testSealKey()) << "\n";
    const Result upgraded = run({"upgrade", pg.url(), "--config", settings});
    ASSERT_EQ(upgraded.code, 0) << upgraded.err;
    EXPECT_TRUE(
        upgraded.out.starts_with("upgraded " + pg.url() + " from schema version 0 to " + current + ":\n"))
        << upgraded.out;
    EXPECT_EQ(run({"upgrade", pg.url()}).out,
              pg.url() + " is at schema version " + current + ", this build's: nothing to do\n");
    const Result query = run({"query", pg.url(), "SELECT count(*) AS n FROM T_Pos_VipRecord"});
    EXPECT_EQ(query.code, 0) << query.err;
    EXPECT_EQ(query.out, "n\n-\n2\n(1 row)\n");
}

// Headquarters' liability report is for an operator with the right, on a server as on a file; the
// operators of a server are made and listed with the same commands.
TEST(PgAdminCommands, TheReportActsForAnOperatorWithTheRight)
{
    if (ormex::test::pgClusterUrl().empty())
        GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    ormex::test::PgTestDatabase pg;
    ASSERT_EQ(run({"create", pg.url()}).code, 0);
    setenv("ORMEX_PASSWORD", "pw-1", 1);
    setenv("ORMEX_NEW_PASSWORD", "pw-1", 1);
    const Result first = run({"user", "add", pg.url(), "boss", "--role", "管理员"});
    ASSERT_EQ(first.code, 0) << first.err;
    ASSERT_EQ(run({"user", "add", pg.url(), "till", "--role", "收银员", "--user", "boss"}).code, 0);
    EXPECT_NE(run({"user", "list", pg.url()}).out.find("till"), std::string::npos);

    const std::vector<std::string> report = {"report", "liability", pg.url()};
    EXPECT_EQ(run(report).code, 2) << "for whom?";
    auto asTill = report;
    asTill.insert(asTill.end(), {"--user", "till"});
    const Result refused = run(asTill);
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.err.find("负债报表"), std::string::npos) << refused.err;
    EXPECT_EQ(
        ormex::test::rowsOf(pg.db(), "select count(*) from t_OperLog where FDescription like '%负债报表%'"),
        std::vector<std::string>{"1"})
        << "the refusal is logged";
    auto asBoss = report;
    asBoss.insert(asBoss.end(), {"--user", "boss"});
    const Result shown = run(asBoss);
    EXPECT_EQ(shown.code, 0) << shown.err;
    unsetenv("ORMEX_PASSWORD");
    unsetenv("ORMEX_NEW_PASSWORD");
}

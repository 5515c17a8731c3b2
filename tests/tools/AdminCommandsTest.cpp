#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "RunAdminCommand.h"
#include "platform/BalanceCodec.h"
#include "store/SchemaSteps.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

namespace {

using Result = ormex::test::CommandResult;

Result run(const std::vector<std::string>& args)
{
    return ormex::test::runCommand(args);
}

class AdminCommands : public ::testing::Test
{
protected:
    std::string dir = ormex::test::makeTempFolder();
    // The operators' passwords come from the environment, as a script would give them.
    void SetUp() override { setenv("ORMEX_PASSWORD", "pw-1", 1); }
    void TearDown() override
    {
        unsetenv("ORMEX_PASSWORD");
        unsetenv("ORMEX_NEW_PASSWORD");
        ormex::test::removeFolder(dir);
    }
    // An administrator, admin, acts for the commands that need a right.
    void addAdmin(const std::string& db)
    {
        ASSERT_EQ(run({"user", "add", db, "admin", "--role", "管理员"}).code, 0);
    }
    // Runs a batch of rows for a test as admin.
    Result runBatch(const std::string& db, const std::string& name, const std::string& sql)
    {
        std::ofstream(dir + "/" + name) << sql;
        return run({"run", db, dir + "/" + name, "--user", "admin"});
    }
};

} // namespace

TEST_F(AdminCommands, CreateRunAndQuery)
{
    const std::string db = dir + "/a.db";
    EXPECT_EQ(run({"create", db}).code, 0);
    EXPECT_EQ(run({"create", db}).code, 1) << "an existing database is never overwritten";
    addAdmin(db);
    EXPECT_EQ(runBatch(db, "batch.sql",
                       "insert into T_Pos_VipType (FTypeId,type_name) values ('01','金卡')\r\n"
                       "update T_Pos_VipType set FSavingFlag=1 where FTypeId='01'")
                  .code,
              0);
    const Result query = run({"query", db, "select FTypeId,type_name,FSavingFlag from T_Pos_VipType"});
    EXPECT_EQ(query.code, 0);
    EXPECT_EQ(query.out, "FTypeId | type_name | FSavingFlag\n"
                         "--------+-----------+------------\n"
                         "01      | 金卡      | 1          \n"
                         "(1 row)\n");
}

TEST_F(AdminCommands, FailuresExplainThemselvesAndChangeNothing)
{
    const std::string db = dir + "/a.db";
    ASSERT_EQ(run({"create", db}).code, 0);
    addAdmin(db);
    const Result bad = runBatch(db, "bad.sql",
                                "insert into T_Pos_VipType (FTypeId,type_name) values ('01','A')\r\n"
                                "insert into T_Pos_VipType (FTypeId,type_name) values ('01','B')");
    EXPECT_EQ(bad.code, 1);
    EXPECT_NE(bad.err.find("statement at line 2 failed"), std::string::npos) << bad.err;
    EXPECT_NE(run({"query", db, "select count(*) as n from T_Pos_VipType"}).out.find("\n0\n"),
              std::string::npos);

    EXPECT_EQ(run({"query", dir + "/missing.db", "select 1"}).code, 1);
    EXPECT_FALSE(std::filesystem::exists(dir + "/missing.db")) << "opening never creates a database";
    EXPECT_EQ(run({"frobnicate"}).code, 2);
    EXPECT_EQ(run({"generate", db, "12a"}).code, 2);
    EXPECT_EQ(run({"seed", db, "--role", "shop"}).code, 2);
    EXPECT_EQ(run({"create", dir + "/no/such/folder.db"}).code, 1);
    EXPECT_FALSE(std::filesystem::exists(dir + "/no"));
}

TEST_F(AdminCommands, UpgradeBringsAnOlderFileToThisBuildAndANewerOneIsRefused)
{
    const std::string current = std::to_string(ormex::db::currentSchemaVersion());
    std::filesystem::create_directory(dir + "/bare");
    const std::string bare = dir + "/bare/older.db";
    ormex::test::makeFirstVersionDatabase(bare);
    EXPECT_NE(run({"upgrade", bare}).err.find("the movement ledger is started with the seal key"),
              std::string::npos)
        << "without the key beside the database the cards' chains cannot start";

    ASSERT_EQ(run({"create", dir + "/keyed.db"}).code, 0) << "writes host.conf with a key";
    const std::string older = dir + "/older.db";
    ormex::test::makeFirstVersionDatabase(older);
    const Result upgraded = run({"upgrade", older});
    ASSERT_EQ(upgraded.code, 0) << upgraded.err;
    EXPECT_TRUE(upgraded.out.starts_with("upgraded " + older + " from schema version 0 to " + current +
                                         ":\n  1  the schema of the first databases"))
        << upgraded.out;
    EXPECT_EQ(run({"upgrade", older}).out,
              older + " is at schema version " + current + ", this build's: nothing to do\n");

    // Any other command upgrades an older file as the host does, and says so apart from its output.
    const std::string other = dir + "/other.db";
    ormex::test::makeFirstVersionDatabase(other);
    const Result query = run({"query", other, "select count(*) as n from T_Pos_VipRecord"});
    EXPECT_EQ(query.code, 0) << query.err;
    EXPECT_EQ(query.out, "n\n-\n2\n(1 row)\n");
    EXPECT_TRUE(query.err.starts_with("upgraded " + other + " from schema version 0 to " + current))
        << query.err;

    // A database a later build has upgraded is refused by every command, and left as it is.
    ormex::test::changeOutsideTheSystem(older, "insert into t_SchemaVersion (FVersion) values (" + current +
                                                   " + 1)");
    for (const std::vector<std::string>& args : {std::vector<std::string>{"upgrade", older},
                                                 {"query", older, "select 1"},
                                                 {"user", "list", older}}) {
        const Result refused = run(args);
        EXPECT_EQ(refused.code, 1) << args[0];
        EXPECT_NE(refused.err.find("比本程序的结构版本 " + current + " 新"), std::string::npos)
            << refused.err;
    }
    EXPECT_EQ(run({"upgrade", dir + "/missing.db"}).code, 1);
    EXPECT_NE(run({"--help"}).out.find("ormex-db upgrade <db>"), std::string::npos);
}

TEST_F(AdminCommands, DemoCreatesBothDatabasesOnce)
{
    const Result first = run({"demo", "--branch", dir + "/branch.db", "--hq", dir + "/HQ.db"});
    EXPECT_EQ(first.code, 0) << first.err;
    const Result again = run({"demo", "--branch", dir + "/branch.db", "--hq", dir + "/HQ.db"});
    EXPECT_NE(again.out.find("kept"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir + "/branch.db.partial"));
}

TEST_F(AdminCommands, TheSealKeyIsWrittenOnceWhateverTheSettingsFileEndsWith)
{
    // A hand-written settings file whose last line is a comment without its line break.
    std::ofstream(dir + "/host.conf") << "# branch settings";
    ASSERT_EQ(run({"demo", "--branch", dir + "/branch.db", "--hq", dir + "/HQ.db"}).code, 0);
    EXPECT_EQ(run({"verify", dir + "/branch.db"}).out,
              "every card matches its seal and its movement ledger\n");
    // A later command finds the key and writes no second one.
    ASSERT_EQ(run({"demo", "--branch", dir + "/branch2.db", "--hq", dir + "/HQ2.db"}).code, 0);
    std::ifstream in(dir + "/host.conf");
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str().find("seal-key="), text.str().rfind("seal-key=")) << text.str();
    EXPECT_EQ(text.str().rfind("# branch settings\n", 0), 0u) << text.str();
    EXPECT_EQ(run({"verify", dir + "/branch.db"}).code, 0);

    // Two different keys: which one sealed the cards cannot be guessed; nothing is written.
    std::ofstream(dir + "/host.conf", std::ios::app) << "seal-key=" << std::string(64, '0') << "\n";
    const Result refused = run({"verify", dir + "/branch.db"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.err.find(dir + "/host.conf:"), std::string::npos) << refused.err;
    const Result notCreated = run({"demo", "--branch", dir + "/branch3.db", "--hq", dir + "/HQ3.db"});
    EXPECT_NE(notCreated.code, 0);
    EXPECT_FALSE(std::filesystem::exists(dir + "/branch3.db"));
}

TEST_F(AdminCommands, TheInstalledCommandExitsNonZeroOnFailure)
{
    const std::string command =
        std::string(ORMEX_DB_BINARY) + " query " + dir + "/none.db 'select 1' 2>/dev/null";
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(std::system((std::string(ORMEX_DB_BINARY) + " --help >/dev/null").c_str()), 0);
}

TEST_F(AdminCommands, EachCommandHasItsHelpAndABadArgumentNamesItsUsage)
{
    const Result help = run({"help", "import-cards"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.out.starts_with("Usage: ormex-db import-cards <db> <file.csv> [--dry-run]")) << help.out;
    EXPECT_NE(help.out.find("--dry-run "), std::string::npos) << "its options are described";
    EXPECT_EQ(run({"import-cards", "--help"}).out, help.out);
    EXPECT_EQ(run({"user", "-h"}).out.find("Usage: ormex-db user add <db> <login>"), 0u);
    EXPECT_NE(run({"--help"}).out.find("ormex-db help <command>"), std::string::npos);

    for (const std::vector<std::string>& unknown :
         {std::vector<std::string>{"frobnicate"}, {"help", "frobnicate"}}) {
        const Result refused = run(unknown);
        EXPECT_EQ(refused.code, 2);
        EXPECT_NE(refused.err.find("unknown command 'frobnicate'"), std::string::npos) << refused.err;
    }

    // Whether Qt or the command refuses the argument, the error names the command's usage.
    const std::string db = dir + "/a.db";
    ASSERT_EQ(run({"create", db}).code, 0);
    for (const std::vector<std::string>& bad : {std::vector<std::string>{"generate", db, "5", "--dry-run"},
                                                {"generate", db},
                                                {"generate", db, "--user"}}) {
        const Result refused = run(bad);
        EXPECT_EQ(refused.code, 2) << bad.back();
        EXPECT_NE(refused.err.find("\nUsage: ormex-db generate <db> <count>"), std::string::npos)
            << refused.err;
    }
    EXPECT_NE(run({"generate", db, "5", "--dry-run"}).err.find("Unknown option 'dry-run'"),
              std::string::npos);

    // Options every command takes may come before the command word, as they always could.
    std::filesystem::create_directory(dir + "/elsewhere");
    const Result upgrade = run({"--config", dir + "/elsewhere/host.conf", "create", dir + "/b.db"});
    EXPECT_EQ(upgrade.code, 0) << upgrade.err;
    EXPECT_TRUE(std::filesystem::exists(dir + "/elsewhere/host.conf"));

    EXPECT_EQ(run({"--version"}).out, "ormex-db " ORMEX_PROJECT_VERSION "\n");
}

TEST_F(AdminCommands, TheLiabilityReportAsTablesAndAsCsv)
{
    const std::string db = dir + "/r.db";
    ASSERT_EQ(run({"create", db}).code, 0);
    addAdmin(db);
    std::ofstream(dir + "/cards.sql")
        << "insert into T_Pos_VipType (FTypeId,type_name) values ('01','金卡')\r\n"
           "insert into T_Pos_VipRecord "
           "(FCardId,FCardType,FCardStatus,FBranchno,FResidualAmt,FAccNum,FDecNum) "
           "values ('A','01','0','01','" +
               ormex::platform::encodeBalance(std::string("12.5")) +
               "',10,4)\r\n"
               "insert into T_Pos_VipRecord (FCardId,FCardType,FCardStatus,FResidualAmt) values "
               "('B','01','2','%%')\r\n"
               "insert into T_Pos_VipRecord (FCardId,FCardType,FCardStatus,FDeleted,FResidualAmt,FAccNum) "
               "values ('C','01','0',1,'" +
               ormex::platform::encodeBalance(std::string("20")) + "',5)";
    ASSERT_EQ(run({"run", db, dir + "/cards.sql", "--user", "admin"}).code, 0);
    EXPECT_EQ(run({"report", "liability", db}).code, 2) << "for whom?";
    const Result tables =
        run({"report", "liability", db, "--from", "2026-11-01", "--to", "2026-11-30", "--user", "admin"});
    EXPECT_EQ(tables.code, 0) << tables.err;
    EXPECT_NE(tables.out.find("01 金卡 | 2    | 12.50    | 6"), std::string::npos)
        << "B counts, its balance unknown" << tables.out;
    EXPECT_NE(tables.out.find("B    | %%"), std::string::npos) << "its balance listed apart";
    EXPECT_NE(tables.out.find("已删除的卡 | 1    | 20.00    | 5"), std::string::npos)
        << "a deleted card still holding value, on its own line" << tables.out;
    const Result csv = run({"report", "liability", db, "--csv", "--user", "admin"});
    EXPECT_NE(csv.out.find("合计\r\n,卡数,储值余额,剩余积分\r\n合计,3,32.50,11\r\n"), std::string::npos)
        << csv.out;
    EXPECT_EQ(run({"report", "liability", db, "--from", "2026-13-01", "--user", "admin"}).code, 2)
        << "a bad date is a usage error";
}

TEST_F(AdminCommands, ImportCardsChecksThenWritesOnce)
{
    const std::string db = dir + "/a.db";
    ASSERT_EQ(run({"create", db}).code, 0);
    addAdmin(db);
    ASSERT_EQ(runBatch(db, "types.sql", "insert into T_Pos_VipType values ('03','金卡',1,1)").code, 0);
    const std::string good = dir + "/cards.csv", bad = dir + "/bad.csv";
    std::ofstream(good) << "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n"
                           "N1,,张伟,,03,,100,50\r\n"
                           "N2,,李娜,,03,,,\r\n";
    std::ofstream(bad) << "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n"
                          "N3,,王芳,,09,,,\r\n"
                          "N4,,刘洋,,03,,1.234,\r\n";
    const auto cards = [&] { return run({"query", db, "select count(*) as n from T_Pos_VipRecord"}).out; };

    const Result dry = run({"import-cards", db, good, "--dry-run"});
    EXPECT_EQ(dry.code, 0) << dry.err;
    EXPECT_NE(dry.out.find(
                  "would import 2 cards (2 new, 0 unused cards put in use); 1 opening balance, 100 in all"),
              std::string::npos)
        << dry.out;
    EXPECT_NE(cards().find("\n0\n"), std::string::npos) << "a dry run writes nothing";

    const Result refused = run({"import-cards", db, bad, "--user", "admin"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.err.find("2 bad line(s)"), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find("第2行：卡类别【09】不存在\n第3行：期初余额【1.234】最多只能有两位小数"),
              std::string::npos)
        << refused.err;
    EXPECT_NE(run({"import-cards", db, bad, "--dry-run"}).code, 0) << "a dry run reports bad lines too";
    EXPECT_NE(cards().find("\n0\n"), std::string::npos);

    const Result imported = run({"import-cards", db, good, "--user", "admin"});
    EXPECT_EQ(imported.code, 0) << imported.err;
    EXPECT_NE(imported.out.find("imported 2 cards"), std::string::npos) << imported.out;
    const Result again = run({"import-cards", db, good, "--user", "admin"});
    EXPECT_EQ(again.code, 1);
    EXPECT_NE(again.err.find("第2行：会员卡【N1】已经使用，不能再导入期初值"), std::string::npos)
        << again.err;
    EXPECT_NE(cards().find("\n2\n"), std::string::npos);

    EXPECT_EQ(run({"import-cards", db}).code, 2);
    EXPECT_EQ(run({"import-cards", db, good, "--dry"}).code, 2);
    EXPECT_EQ(run({"import-cards", db, dir + "/missing.csv"}).code, 1);
}

TEST_F(AdminCommands, VerifyListsCardsChangedOutsideTheSystemUntilOneIsAccepted)
{
    const std::string db = dir + "/v.db";
    const Result created = run({"create", db});
    ASSERT_EQ(created.code, 0);
    EXPECT_NE(created.out.find("wrote a new seal key to " + dir + "/host.conf"), std::string::npos)
        << created.out;
    addAdmin(db);
    std::ofstream(dir + "/cards.sql") << ormex::test::openedCardSql("A", "12.5", "10", "张伟") +
                                             "insert into T_Pos_VipRecord (FCardId) values ('B')";
    ASSERT_EQ(run({"run", db, dir + "/cards.sql", "--user", "admin"}).code, 0);
    EXPECT_EQ(run({"verify", db}).out, "every card matches its seal and its movement ledger\n");

    // The sqlite3 command, as anyone with the file could use it.
    ASSERT_EQ(std::system(("sqlite3 " + db + " \"update T_Pos_VipRecord set FResidualAmt='" +
                           ormex::platform::encodeBalance(std::string("1250")) + "' where FCardId='A'\"")
                              .c_str()),
              0);
    const Result found = run({"verify", db});
    EXPECT_EQ(found.code, 1);
    EXPECT_NE(found.out.find("A    | 张伟 | 1250.00 | 10       | 0"), std::string::npos) << found.out;
    EXPECT_NE(found.out.find("1 card(s) no longer match their seal"), std::string::npos) << found.out;

    const Result accepted = run({"verify", db, "--accept", "a", "--user", "admin"});
    EXPECT_EQ(accepted.code, 0) << accepted.out;
    EXPECT_EQ(accepted.out, "accepted 1 card(s) as they stand: sealed, their movement ledgers started again\n"
                            "every card matches its seal and its movement ledger\n");

    // Without the host's key nothing that writes cards runs.
    std::filesystem::remove(dir + "/host.conf");
    EXPECT_EQ(run({"generate", db, "5", "--user", "admin"}).code, 1);
    EXPECT_EQ(run({"verify", db}).code, 1);
    EXPECT_EQ(run({"query", db, "select count(*) as n from T_Pos_VipRecord"}).code, 0)
        << "reading needs no key";
}

TEST_F(AdminCommands, OperatorsRolesAndRights)
{
    const std::string db = dir + "/u.db";
    ASSERT_EQ(run({"create", db}).code, 0);
    addAdmin(db);
    setenv("ORMEX_NEW_PASSWORD", "pw-1", 1);
    const Result cashier =
        run({"user", "add", db, "till1", "--role", "cashier", "--name", "王芳", "--user", "admin"});
    ASSERT_EQ(cashier.code, 0) << cashier.err;
    EXPECT_EQ(run({"user", "add", db, "till1", "--role", "cashier", "--user", "admin"}).code, 1)
        << "a login is taken once";
    EXPECT_EQ(run({"user", "add", db, "till2", "--role", "boss", "--user", "admin"}).code, 1)
        << "no such role";
    EXPECT_EQ(run({"user", "grant", db, "cashier", "hy9999", "--user", "admin"}).code, 1) << "no such right";
    EXPECT_EQ(run({"user", "grant", db, "cashier", "hy0007", "hy0008", "--user", "admin"}).out,
              "granted 2 right(s) to cashier\n");
    EXPECT_EQ(run({"user", "grant", db, "cashier", "hy0008", "--revoke", "--user", "admin"}).out,
              "revoked 1 right(s) from cashier\n");
    const Result list = run({"user", "list", db});
    EXPECT_NE(list.out.find("till1 | 王芳  | 收银员 | hy0007 "), std::string::npos) << list.out;

    // A cashier may not import; three wrong passwords lock; a new password unlocks.
    const std::string file = dir + "/cards.csv";
    std::ofstream(file) << "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n";
    const Result refused = run({"import-cards", db, file, "--user", "till1"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.err.find("【导入会员卡】"), std::string::npos) << refused.err;
    setenv("ORMEX_PASSWORD", "wrong", 1);
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(run({"import-cards", db, file, "--user", "till1"}).code, 1);
    setenv("ORMEX_PASSWORD", "pw-1", 1);
    const Result locked = run({"import-cards", db, file, "--user", "till1"});
    EXPECT_NE(locked.err.find("已被锁定"), std::string::npos)
        << "the right password no longer opens: " << locked.err;
    setenv("ORMEX_NEW_PASSWORD", "pw-2", 1);
    EXPECT_EQ(run({"user", "passwd", db, "till1", "--user", "admin"}).code, 0);
    unsetenv("ORMEX_NEW_PASSWORD");
    setenv("ORMEX_PASSWORD", "pw-2", 1);
    EXPECT_NE(run({"import-cards", db, file, "--user", "till1"}).err.find("【导入会员卡】"),
              std::string::npos)
        << "unlocked, and refused the right again";
}

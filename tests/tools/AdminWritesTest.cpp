// ormex-db commands that change an existing database act for an operator holding hy0018: a batch
// is run and logged with who ran it and the SHA-256 of its file, or refused with nothing written;
// query never writes; the operators are administered by an administrator once there is one.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "AdministeredDatabase.h"
#include "platform/BalanceCodec.h"
#include "sql/Database.h"
#include "support/TestDatabase.h"

namespace {

using ormex::test::runCommand;

const auto rowsOf = ormex::test::rowsOfFile;

// The digest as coreutils computes it, apart from the code under test.
std::string sha256sum(const std::string& file)
{
    FILE* pipe = popen(("sha256sum '" + file + "'").c_str(), "r");
    char hex[65] = "";
    if (pipe) {
        if (std::fscanf(pipe, "%64s", hex) != 1) hex[0] = '\0';
        pclose(pipe);
    }
    return hex;
}

class AdminWrites : public ormex::test::AdministeredDatabase
{
protected:
    std::string batch = dir + "/batch.sql";

    void SetUp() override
    {
        AdministeredDatabase::SetUp();
        if (HasFatalFailure()) return;
        std::ofstream(dir + "/cards.sql") << ormex::test::openedCardSql("C1", "50", "10");
        ASSERT_EQ(runCommand({"run", db, dir + "/cards.sql", "--user", "admin"}).code, 0);
        // Raises C1 by 20 and adds C2.
        std::ofstream(batch) << "update T_Pos_VipRecord set FResidualAmt='" +
                                    ormex::platform::encodeBalance(std::string("70")) +
                                    "' where FCardId='C1'\r\n"
                                    "insert into T_Pos_VipRecord (FCardId,FAccNum) values ('C2',5)";
    }
    std::vector<std::string> cards() const
    {
        return rowsOf(db,
                      "select FCardId, FResidualAmt, FAccNum, FDecNum, FSeal from T_Pos_VipRecord order by "
                      "FCardId");
    }
    std::vector<std::string> batchLog() const
    {
        return rowsOf(db, "select FUserID, FDescription from t_OperLog where FFunctionID='RUNBATCH'");
    }
};

} // namespace

TEST_F(AdminWrites, RunIsRefusedWithoutAnOperatorHoldingTheRightAndWritesNothing)
{
    const std::vector<std::string> before = cards();
    const std::size_t loggedBefore = batchLog().size();
    struct Case
    {
        std::vector<std::string> user;
        const char* password;
        int code;
        const char* told;
    };
    for (const Case& c : {Case{{}, "pw-1", 2, "--user <login> (the right hy0018 管理命令写入数据库"},
                          Case{{"--user", "admin"}, "wrong", 1, "用户名或密码错误"},
                          Case{{"--user", "nobody"}, "pw-1", 1, "用户名或密码错误"},
                          Case{{"--user", "till1"}, "pw-1", 1, "【管理命令写入数据库】"}}) {
        setenv("ORMEX_PASSWORD", c.password, 1);
        std::vector<std::string> args{"run", db, batch};
        args.insert(args.end(), c.user.begin(), c.user.end());
        const auto refused = runCommand(args);
        EXPECT_EQ(refused.code, c.code) << c.told;
        EXPECT_NE(refused.err.find(c.told), std::string::npos) << refused.err;
        EXPECT_EQ(cards(), before) << c.told;
        EXPECT_EQ(batchLog().size(), loggedBefore) << c.told;
    }
    EXPECT_EQ(rowsOf(db, "select count(*) from t_OperLog where FFunctionID='RIGHT'"),
              std::vector<std::string>{"1"})
        << "the refused right is logged, as every refusal of a right is";
}

TEST_F(AdminWrites, RunWritesTheBatchWithOneLogRowNamingTheOperatorAndTheFilesDigest)
{
    const std::size_t loggedBefore = batchLog().size();
    const auto ran = runCommand({"run", db, batch, "--user", "admin"});
    ASSERT_EQ(ran.code, 0) << ran.err;
    const std::string digest = sha256sum(batch);
    ASSERT_EQ(digest.size(), 64u);
    EXPECT_NE(ran.out.find(digest), std::string::npos) << ran.out;
    EXPECT_EQ(rowsOf(db, "select FCardId, dbo.f_decrypt(FResidualAmt), FAccNum from T_Pos_VipRecord order by "
                         "FCardId"),
              (std::vector<std::string>{"C1|70|10", "C2|0|5"}));
    const auto log = batchLog();
    ASSERT_EQ(log.size(), loggedBefore + 1);
    const std::string adminId = rowsOf(db, "select FUserID from t_User where FLogin='admin'").at(0);
    EXPECT_TRUE(log.back().starts_with(adminId + "|")) << log.back();
    EXPECT_NE(log.back().find("admin"), std::string::npos) << log.back();
    EXPECT_NE(log.back().find("SHA-256 " + digest), std::string::npos) << log.back();
    // The system sealed the batch's rows, and the cards' ledgers show what no movement explains.
    const auto verified = runCommand({"verify", db});
    EXPECT_EQ(verified.code, 1);
    EXPECT_EQ(verified.out.find("no longer match their seal"), std::string::npos) << verified.out;
    EXPECT_NE(verified.out.find("C1   | 余额70与流水合计50不符"), std::string::npos) << verified.out;
    EXPECT_NE(verified.out.find("C2   | 积分5与流水合计0不符"), std::string::npos) << verified.out;

    // A batch that fails leaves neither its rows nor a log row.
    const std::vector<std::string> before = cards();
    std::ofstream(batch) << "update T_Pos_VipRecord set FAccNum=99 where FCardId='C1'\r\n"
                            "insert into T_Pos_VipRecord (FCardId) values ('C2')";
    EXPECT_EQ(runCommand({"run", db, batch, "--user", "admin"}).code, 1);
    EXPECT_EQ(cards(), before);
    EXPECT_EQ(batchLog().size(), loggedBefore + 1);
}

TEST_F(AdminWrites, QueryRefusesAnythingThatWrites)
{
    const std::vector<std::string> before = cards();
    const auto logRows = [&] { return rowsOf(db, "select count(*) from t_OperLog"); };
    const std::vector<std::string> logged = logRows();
    for (const char* sql :
         {"delete from T_Pos_VipRecord", "update T_Pos_VipRecord set FAccNum=0",
          "insert into t_OperLog (FDescription) select 'x'", "select 1 as n delete from T_Pos_VipRecord",
          "select 1 as n; delete from T_Pos_VipRecord", "select * into t_Copy from T_Pos_VipRecord",
          "with gone as (select 1 as n) delete from T_Pos_VipRecord"}) {
        const auto refused = runCommand({"query", db, sql});
        EXPECT_EQ(refused.code, 1) << sql << "\n" << refused.out;
        EXPECT_EQ(cards(), before) << sql;
        EXPECT_EQ(logRows(), logged) << sql;
    }
    EXPECT_EQ(rowsOf(db, "select count(*) from sqlite_master where name='t_Copy'"),
              std::vector<std::string>{"0"});
    EXPECT_EQ(runCommand({"query", db, "select count(*) as n from T_Pos_VipRecord"}).out,
              "n\n-\n1\n(1 row)\n");
}

TEST_F(AdminWrites, OperatorsAreAdministeredByAnAdministratorOnceThereIsOne)
{
    // A new database has no administrator: its first operator is added without one.
    const std::string other = dir + "/new.db";
    ASSERT_EQ(runCommand({"create", other}).code, 0);
    EXPECT_EQ(runCommand({"user", "add", other, "till9", "--role", "cashier"}).code, 0)
        << "a cashier does not hold hy0018: still no administrator";
    EXPECT_EQ(runCommand({"user", "add", other, "boss", "--role", "admin"}).code, 0);
    EXPECT_EQ(runCommand({"user", "add", other, "sneak", "--role", "admin"}).code, 2) << "now there is one";

    struct Case
    {
        std::vector<std::string> args;
        int code;
    };
    for (const Case& c : {Case{{"user", "add", db, "till2", "--role", "cashier"}, 2},
                          Case{{"user", "add", db, "till2", "--role", "admin", "--user", "till1"}, 1},
                          Case{{"user", "grant", db, "cashier", "hy0018", "--user", "till1"}, 1},
                          Case{{"user", "passwd", db, "admin", "--user", "till1"}, 1},
                          Case{{"user", "passwd", db, "admin"}, 2}}) {
        const auto refused = runCommand(c.args);
        EXPECT_EQ(refused.code, c.code) << c.args[1] << " " << c.args.back();
    }
    EXPECT_EQ(rowsOf(db, "select FLogin from t_User order by FLogin"),
              (std::vector<std::string>{"admin", "till1"}));
    EXPECT_EQ(rowsOf(db, "select count(*) from t_RoleRight where FRoleId='cashier' and FRightCode='hy0018'"),
              std::vector<std::string>{"0"});

    setenv("ORMEX_NEW_PASSWORD", "pw-2", 1);
    ASSERT_EQ(runCommand({"user", "passwd", db, "till1", "--user", "admin"}).code, 0);
    ASSERT_EQ(runCommand({"user", "grant", db, "cashier", "hy0011", "--user", "admin"}).code, 0);
    setenv("ORMEX_PASSWORD", "pw-2", 1);
    EXPECT_EQ(runCommand({"report", "liability", db, "--user", "till1"}).code, 0)
        << "the new password and the right granted";
    const std::string adminId = rowsOf(db, "select FUserID from t_User where FLogin='admin'").at(0);
    EXPECT_EQ(
        rowsOf(db, "select FUserID, FDescription from t_OperLog where FFunctionID='USER' order by FID"),
        (std::vector<std::string>{"0|新增用户【admin】，角色【admin】；操作员：无（数据库尚无管理员）",
                                  adminId + "|新增用户【till1】，角色【cashier】；操作员：admin（admin）",
                                  adminId + "|修改用户【till1】的密码；操作员：admin（admin）",
                                  adminId + "|角色【cashier】授予权限 hy0011；操作员：admin（admin）"}));
}

TEST_F(AdminWrites, AnOlderDatabaseGivesItsAdministratorTheRightWhenUpgraded)
{
    // As a database of schema version 3 holds its rights: hy0018 unknown to it.
    ormex::test::changeOutsideTheSystem(db, "delete from t_RoleRight where FRightCode='hy0018';"
                                            "delete from t_KnownRight where FRightCode='hy0018';"
                                            "update t_SchemaVersion set FVersion=3");
    EXPECT_EQ(runCommand({"run", db, batch, "--user", "admin"}).code, 0)
        << "opened by run, upgraded, and admin holds the right again";
    EXPECT_EQ(rowsOf(db, "select FRoleId from t_RoleRight where FRightCode='hy0018'"),
              std::vector<std::string>{"admin"})
        << "the cashier role is not given it";
    EXPECT_EQ(rowsOf(db, "select max(FVersion) from t_SchemaVersion"), std::vector<std::string>{"4"});
}

// ormex-db on a linked branch's queue and its agreement with headquarters: held changes listed,
// retried and discarded by an operator with the right (each logged), and the cards that differ
// between a branch and headquarters, explained by what still waits or not.
#include <gtest/gtest.h>

#include <cstdlib>

#include "RunAdminCommand.h"
#include "platform/BalanceCodec.h"
#include "sql/Database.h"
#include "support/TestDatabase.h"

namespace {

using ormex::test::runCommand;

class OutboxCommands : public ::testing::Test
{
protected:
    std::string dir = ormex::test::makeTempFolder();
    std::string branch = dir + "/branch.db";
    std::string hq = dir + "/hq.db";

    void SetUp() override
    {
        setenv("ORMEX_PASSWORD", "pw-1", 1);
        setenv("ORMEX_NEW_PASSWORD", "pw-1", 1);
        for (const std::string& db : {branch, hq})
            ASSERT_EQ(runCommand({"create", db}).code, 0);
        ASSERT_EQ(runCommand({"user", "add", branch, "admin", "--role", "管理员"}).code, 0);
        ASSERT_EQ(runCommand({"user", "add", branch, "till1", "--role", "cashier", "--user", "admin"}).code,
                  0);
        const std::string cards = "insert into T_Pos_VipRecord (FCardId,FResidualAmt,FAccNum,FDecNum) values "
                                  "('C1','" +
                                  ormex::platform::encodeBalance(std::string("50.5")) + "',100,20), ('C2','" +
                                  ormex::platform::encodeBalance(std::string("8")) + "',30,0)";
        exec(branch, cards);
        exec(hq, cards);
    }
    void TearDown() override
    {
        unsetenv("ORMEX_PASSWORD");
        unsetenv("ORMEX_NEW_PASSWORD");
        ormex::test::removeFolder(dir);
    }
    static void exec(const std::string& path, const std::string& sql)
    {
        ormex::db::Database::open(path)->executeNative(sql);
    }
    static std::string scalar(const std::string& path, const std::string& sql)
    {
        return ormex::db::Database::open(path)->query(sql).cell(0, 0).toString();
    }
    // A change queued for headquarters on card C1, held after headquarters refused it three times.
    void queueHeld(int seq)
    {
        const std::string n = std::to_string(seq);
        exec(branch, "insert into t_HqOutbox (FSeq,FOrigin,FBranchNo,FDate,FOperation,FBatch,FAttempts,"
                     "FLastError,FState,FHeldDate) values (" +
                         n +
                         ",'b1','01','2026-11-20 10:00:00',0,'update T_Pos_VipRecord set FDecNum=30 where "
                         "FCardId=''C1''',3,'changed since read','held','2026-11-20 10:05:00');"
                         "insert into t_HqOutboxCard (FSeq,FCardId) values (" +
                         n + ",'C1')");
    }
};

} // namespace

TEST_F(OutboxCommands, HeldChangesAreListedRetriedAndDiscardedByAnOperatorWithTheRight)
{
    queueHeld(4);
    const auto list = runCommand({"outbox", "list", branch});
    ASSERT_EQ(list.code, 0) << list.err;
    EXPECT_NE(list.out.find("总部拒收"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("changed since read"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("0 change(s) waiting, 1 held"), std::string::npos) << list.out;

    EXPECT_EQ(runCommand({"outbox", "retry", branch, "4"}).code, 2) << "no operator named";
    const auto cashier = runCommand({"outbox", "retry", branch, "4", "--user", "till1"});
    EXPECT_EQ(cashier.code, 1);
    EXPECT_NE(cashier.err.find("处理总部拒收的变更"), std::string::npos) << cashier.err;
    EXPECT_EQ(runCommand({"outbox", "retry", branch, "x4", "--user", "admin"}).code, 2);
    EXPECT_EQ(scalar(branch, "select FState from t_HqOutbox"), "held") << "nothing changed by a refusal";

    const auto retried = runCommand({"outbox", "retry", branch, "4", "--user", "admin"});
    ASSERT_EQ(retried.code, 0) << retried.err;
    EXPECT_EQ(scalar(branch, "select FState from t_HqOutbox"), "waiting");
    EXPECT_EQ(scalar(branch, "select FAttempts from t_HqOutbox"), "0") << "its refusals counted anew";
    EXPECT_EQ(runCommand({"outbox", "discard", branch, "4", "--user", "admin"}).code, 1)
        << "only a held change is discarded";
    EXPECT_EQ(scalar(branch, "select count(*) from t_HqOutbox"), "1");

    queueHeld(5);
    const auto discarded = runCommand({"outbox", "discard", branch, "5", "--user", "admin"});
    ASSERT_EQ(discarded.code, 0) << discarded.err;
    EXPECT_EQ(scalar(branch, "select count(*) from t_HqOutbox where FSeq=5"), "0");
    EXPECT_EQ(scalar(branch, "select count(*) from t_HqOutbox where FSeq=4"), "1");
    EXPECT_EQ(scalar(branch, "select count(*) from t_HqOutboxCard where FSeq=5"), "0");
    EXPECT_EQ(scalar(branch, "select count(*) from t_OperLog where FFunctionID='HQOUTBOX' and FUserID="
                             "(select FUserID from t_User where FLogin='admin')"),
              "2")
        << "the retry and the discard, each with the operator";
}

TEST_F(OutboxCommands, ReconcileListsTheCardsThatDifferAndFailsOnAnUnexplainedOne)
{
    const auto agreed = runCommand({"reconcile", branch, hq});
    EXPECT_EQ(agreed.code, 0) << agreed.err;
    EXPECT_EQ(agreed.out, "compared 2 card(s) of " + branch + " with " + hq + ": 0 differ, 0 unexplained\n");

    // Changed at headquarters behind the branch's back.
    exec(hq, "update T_Pos_VipRecord set FResidualAmt='" +
                 ormex::platform::encodeBalance(std::string("40.5")) + "' where FCardId='C2'");
    const auto behind = runCommand({"reconcile", branch, hq});
    EXPECT_EQ(behind.code, 1);
    EXPECT_NE(behind.out.find("C2"), std::string::npos) << behind.out;
    EXPECT_NE(behind.out.find("8.00"), std::string::npos) << behind.out;
    EXPECT_NE(behind.out.find("40.50"), std::string::npos) << behind.out;
    EXPECT_NE(behind.out.find("未能解释"), std::string::npos) << behind.out;

    // A change of C1 made at the branch that still waits for headquarters explains its difference.
    exec(branch, "update T_Pos_VipRecord set FDecNum=30 where FCardId='C1'");
    queueHeld(6);
    exec(hq, "update T_Pos_VipRecord set FResidualAmt=(select FResidualAmt from T_Pos_VipRecord where "
             "FCardId='C1') where FCardId='C2'");
    exec(hq, "update T_Pos_VipRecord set FResidualAmt='" + ormex::platform::encodeBalance(std::string("8")) +
                 "' where FCardId='C2'");
    const auto csv = runCommand({"reconcile", branch, hq, "--csv"});
    EXPECT_EQ(csv.code, 0) << "explained: " << csv.out;
    EXPECT_NE(csv.out.find("C1,50.50,50.50,100,100,30,20,总部拒收（已暂存）：第6笔 积分冲减"),
              std::string::npos)
        << csv.out;
    EXPECT_NE(csv.err.find("1 differ, 0 unexplained"), std::string::npos) << csv.err;
}

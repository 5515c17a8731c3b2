#include <gtest/gtest.h>

#include "module/frame/Gateway.h"
#include "module/hq/HqLink.h"
#include "module/hq/ReplayOutbox.h"
#include "module/points/PointsStatements.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "store/CardLedger.h"
#include "store/DatabaseCopy.h"
#include "store/Reconciliation.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::hq;

namespace {

constexpr const char* kAway = "(local)/Gone/sa/pw";
constexpr const char* kBack = "(local)/HQ/sa/pw";

// A linked branch with card C1 at headquarters (100 points accumulated).
struct LinkedBranch
{
    LinkedBranch()
    {
        ResetHQConnectionText();
        host.hq().exec("insert into T_Pos_VipRecord (FCardId,FAccNum,FDecNum) values ('C1',100,0)");
    }
    ~LinkedBranch() { ResetHQConnectionText(); }

    void headquarters(const char* setting)
    {
        host.setHeadquartersSetting(setting);
        ResetHQConnectionText();
    }
    // A change made at the branch and queued for headquarters in the same batch.
    void change(const std::string& statements, HQOperation operation = HQOperation::PointsDeduction)
    {
        module::frame::ExecuteSQL("insert into t_OperLog (FDescription) values ('local')" +
                                  QueueOnHQ(statements, operation));
    }
    int hqPoints()
    {
        return static_cast<int>(host.hq().scalar("select FDecNum from T_Pos_VipRecord").toInt());
    }

    test::TestHost host{{.isBranch = true, .svCardShareType = true, .withHeadquarters = true}};
};

} // namespace

TEST(ReplayOutbox, AQueuedChangeIsKeptInColumnsAPersonCanRead)
{
    LinkedBranch b;
    b.headquarters(kAway);
    const std::vector<platform::ReadCheck> checks{{"select a from T where k='x'", "a", platform::Value(12)},
                                                  {"select b from T", "b", platform::Value(0.1 + 0.2)},
                                                  {"select c from T", "c", platform::Value("张'三")},
                                                  {"select d from T", "d", platform::Value()},
                                                  {"select e from T", "e", platform::Value(true)}};
    module::frame::ExecuteSQL("insert into t_OperLog (FDescription) values ('local')" +
                              QueueOnHQ("update T_Pos_VipRecord set FDecNum=1 where FCardId='C1'",
                                        HQOperation::PointsDeduction, checks, {"C1", "c1 ", "C2"}));
    EXPECT_EQ(b.host.branch().rows("select FOperation,FState,FAttempts from t_HqOutbox"),
              std::vector<std::string>{"0|waiting|0"});
    EXPECT_EQ(
        b.host.branch().rows("select FNo,FSql,FField,FValueType,FValue from t_HqOutboxCheck order by FNo"),
        (std::vector<std::string>{
            "1|select a from T where k='x'|a|int|12", "2|select b from T|b|real|0.30000000000000004",
            "3|select c from T|c|text|张'三", "4|select d from T|d|null|", "5|select e from T|e|bool|1"}))
        << "every bit of a real, quotes as they are";
    EXPECT_EQ(b.host.branch().rows("select FCardId from t_HqOutboxCard order by FCardId"),
              (std::vector<std::string>{"C1", "C2"}))
        << "a card once";
}

TEST(ReplayOutbox, ChangesWaitWhileHeadquartersIsAwayAndArriveOnceInTheirOrder)
{
    LinkedBranch b;
    b.headquarters(kAway);
    for (int points : {10, 20, 30})
        b.change("update T_Pos_VipRecord set FDecNum=" + std::to_string(points) + " where FCardId='C1'");
    const ReplayState away = SendQueuedToHQ();
    EXPECT_EQ(away.waiting, 3);
    EXPECT_EQ(away.lastError, "总部数据库无法连接");
    EXPECT_EQ(b.host.branch().scalar("select count(*) from t_OperLog").toInt(), 3)
        << "the local changes stand";
    EXPECT_EQ(b.hqPoints(), 0);

    b.headquarters(kBack);
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 30) << "applied in the order they were made";
    EXPECT_EQ(b.host.hq().scalar("select count(*) from t_Log").toInt(), 3);
    EXPECT_EQ(b.host.hq().scalar("select count(*) from t_HqReplay").toInt(), 3);
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.host.hq().scalar("select count(*) from t_Log").toInt(), 3);
}

TEST(ReplayOutbox, AChangeHeadquartersKeepsRefusingIsHeldAsideAndTheLaterOnesGoOn)
{
    LinkedBranch b;
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+5 where FCardId='C1'");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    b.host.hq().exec("create trigger refuse before update on T_Pos_VipRecord when new.FDecNum=12 begin "
                     "select raise(abort, "
                     "'refused'); end");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+7 where FCardId='C1'");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+9 where FCardId='C1'");
    for (int refusal = 1; refusal < kHeldAfterRefusals; ++refusal) {
        const ReplayState refused = SendQueuedToHQ();
        EXPECT_EQ(refused.waiting, 2) << "the later change waits behind it, in order";
        EXPECT_NE(refused.lastError.find("refused"), std::string::npos) << refused.lastError;
    }
    const ReplayState held = SendQueuedToHQ();
    EXPECT_EQ(held.waiting, 0);
    EXPECT_EQ(held.held, 1);
    EXPECT_EQ(b.hqPoints(), 14) << "the change after the held one went on";
    EXPECT_EQ(b.host.branch().rows("select FState,FAttempts from t_HqOutbox"),
              std::vector<std::string>{"held|3"});
    EXPECT_NE(b.host.branch().scalar("select FLastError from t_HqOutbox").toString().find("refused"),
              std::string::npos);
    b.host.messages().clear();
    EXPECT_TRUE(NothingWaitsForHQ()) << "operations are not refused for a held change";
    EXPECT_TRUE(b.host.messages().texts().empty());

    // Not reaching headquarters is no refusal: a change that cannot be sent is never held for it.
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+1 where FCardId='C1'");
    b.headquarters(kAway);
    for (int attempt = 0; attempt < kHeldAfterRefusals + 1; ++attempt)
        EXPECT_EQ(SendQueuedToHQ().waiting, 1);
    EXPECT_EQ(b.host.branch().rows("select FState,FAttempts from t_HqOutbox order by FSeq"),
              (std::vector<std::string>{"held|3", "waiting|0"}));
}

TEST(ReplayOutbox, AReplayHeadquartersCommittedButTheBranchDidNotMarkIsNotAppliedTwice)
{
    LinkedBranch b;
    b.headquarters(kAway);
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+10 where FCardId='C1'");
    // The branch fails right after headquarters committed: the queue cannot be marked.
    b.host.branch().exec(
        "create trigger interrupted before delete on t_HqOutbox begin select raise(abort, 'power cut'); end");
    b.headquarters(kBack);
    EXPECT_EQ(SendQueuedToHQ().waiting, 1);
    EXPECT_EQ(b.hqPoints(), 10);

    b.host.branch().exec("drop trigger interrupted");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 10) << "headquarters knew the replay and did not apply it again";
    EXPECT_EQ(b.host.hq().scalar("select count(*) from t_Log").toInt(), 1);
}

TEST(ReplayOutbox, TwoBranchesReplayingToOneHeadquartersLoseNothing)
{
    LinkedBranch b;
    b.headquarters(kAway);
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+1 where FCardId='C1'");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+2 where FCardId='C1'");
    b.host.useBranch("branch02.db", "02");
    ResetHQConnectionText();
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+10 where FCardId='C1'");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+20 where FCardId='C1'");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0) << "the second branch reaches headquarters";
    EXPECT_EQ(b.hqPoints(), 30);

    b.host.useBranch("branch.db", "01");
    b.headquarters(kBack);
    EXPECT_EQ(QueuedForHQ().waiting, 2);
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 33) << "the same sequence numbers from two branches are two replays";
    EXPECT_EQ(b.host.hq().rows("select FBranchNo,count(*) from t_HqReplay group by FBranchNo order by 1"),
              (std::vector<std::string>{"01|2", "02|2"}));
}

// The first use of a card's points by a branch (no totals row of that branch at headquarters yet)
// still raises the used points at headquarters: what one branch spent, another cannot spend again.
TEST(ReplayOutbox, PointsOneBranchUsedAreGoneAtHeadquartersForTheOthers)
{
    LinkedBranch b;
    b.change(module::points::DeductionGroup({"1", "01", "1"}, 1, "C1", 60, 100, 0));
    ASSERT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 60);

    b.host.useBranch("branch02.db", "02");
    ResetHQConnectionText();
    module::storedvalue::Conversion conversion;
    conversion.card = "C1";
    conversion.points = 30;
    conversion.amount = platform::Money::ofDouble(3);
    conversion.newBalance = platform::Money::ofDouble(3);
    conversion.operDate = "2026-11-25 10:00:00";
    b.change(module::storedvalue::ConversionStatements({"1", "2", "02"}, 1, conversion),
             HQOperation::PointsToStoredValue);
    ASSERT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 90) << "10 points are left at headquarters for every branch";
    EXPECT_EQ(b.host.hq().rows("select FBranchNo, FVipMinusTotalNum from T_Pos_VipConsume order by 1"),
              (std::vector<std::string>{"01|60", "02|30"}));
}

TEST(ReplayOutbox, AnOperationWaitsUntilHeadquartersHoldsTheChangesBeforeIt)
{
    LinkedBranch b;
    b.headquarters(kAway);
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+10 where FCardId='C1'");
    // Values read at headquarters now would not include the waiting change.
    EXPECT_FALSE(NothingWaitsForHQ());
    EXPECT_EQ(b.host.messages().last(), "尚有1笔变更未上传总部，请先上传后再操作！\r\n总部数据库无法连接");
    b.headquarters(kBack);
    EXPECT_TRUE(NothingWaitsForHQ()) << "what waited is sent first";
    EXPECT_EQ(b.hqPoints(), 10);
}

TEST(ReplayOutbox, AChangeFromACopiedBranchDatabaseIsNotTakenForTheOneHeadquartersHolds)
{
    LinkedBranch b;
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+10 where FCardId='C1'");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    // A restored copy of the branch database numbers its next change as the first one again.
    b.host.branch().exec("insert into t_HqOutbox (FSeq,FOrigin,FBranchNo,FBatch) select 1,FValue,'01',"
                         "'update T_Pos_VipRecord set FDecNum=FDecNum+99' from t_SystemProfile "
                         "where FKey='HqReplayOrigin'");
    const ReplayState state = SendQueuedToHQ();
    EXPECT_EQ(state.waiting, 1) << "kept, not dropped as if applied";
    EXPECT_NE(state.lastError.find("复制或恢复"), std::string::npos) << state.lastError;
    EXPECT_EQ(b.host.branch().scalar("select FAttempts from t_HqOutbox").toInt(), 1) << "a refusal";
    EXPECT_EQ(b.hqPoints(), 10);
}

TEST(ReplayOutbox, NothingIsQueuedOrSentOutsideALinkedBranch)
{
    test::TestHost host({.isBranch = true, .svCardShareType = false, .withHeadquarters = true});
    EXPECT_EQ(QueueOnHQ("update T set a=1", HQOperation::Recharge), "");
    host.branch().exec(
        "insert into t_HqOutbox (FOrigin,FBatch) values ('o','insert into t_Log (FUserID) values (1)')");
    EXPECT_EQ(SendQueuedToHQ().waiting, 1);
    EXPECT_TRUE(NothingWaitsForHQ());
    EXPECT_EQ(host.hq().scalar("select count(*) from t_Log").toInt(), 0);
}

TEST(ReplayOutbox, ABranchPutBackFromAnOlderCopyIsBehindWhatHeadquartersSaw)
{
    LinkedBranch b;
    b.host.branch().db().execute("insert into T_Pos_VipRecord (FCardId,FAccNum) values ('C1',100)");
    // A deduction of 5 points: its movement here, and its replay at headquarters with the head of
    // the card's ledger here.
    const auto deduct = [&] {
        const std::string statements =
            "insert into T_Pos_VipGiftList (FCardId,flag,FVipNum,FOperDate,FComFlag)"
            " values ('C1','1',5,getdate(),1)\r\n"
            "update T_Pos_VipRecord set FDecNum=FDecNum+5 where FCardId='C1'";
        module::frame::ExecuteSQL(statements +
                                  QueueOnHQ(statements, HQOperation::PointsDeduction, {}, {"C1"}));
        EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    };
    deduct();
    const std::string copy = b.host.branch().folder() + "/older-copy.db";
    b.host.branch().exec("VACUUM INTO '" + copy + "'");
    deduct();
    EXPECT_EQ(b.host.hq().rows("select FBranchNo, FCardId, FSeq from t_BranchLedgerHead"),
              std::vector<std::string>{"01|C1|2"});
    EXPECT_EQ(db::reconcile(b.host.branch().db(), b.host.hq().db()).unexplained(), 0);

    // The branch's file is put back from the copy: everything in it holds together, but headquarters
    // saw the card further on.
    db::copyDatabaseInto(copy, b.host.branch().db());
    EXPECT_TRUE(db::ledgerFindings(b.host.branch().db()).empty());
    const db::Reconciliation found = db::reconcile(b.host.branch().db(), b.host.hq().db());
    ASSERT_EQ(found.differences.size(), 1u);
    EXPECT_EQ(found.unexplained(), 1);
    EXPECT_EQ(found.differences[0].ledgerBehind,
              "分店账本停在第1笔流水，总部已见到第2笔：分店数据库可能被旧的备份替换");
}

#include <gtest/gtest.h>

#include "module/frame/Gateway.h"
#include "module/hq/HqLink.h"
#include "module/hq/ReplayOutbox.h"
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
    void change(const std::string& statements)
    {
        module::frame::ExecuteSQL("insert into t_OperLog (FDescription) values ('local')" +
                                  QueueOnHQ(statements, HQOperation::PointsDeduction));
    }
    int hqPoints()
    {
        return static_cast<int>(host.hq().scalar("select FDecNum from T_Pos_VipRecord").toInt());
    }

    test::TestHost host{{.isBranch = true, .svCardShareType = true, .withHeadquarters = true}};
};

} // namespace

TEST(ReplayOutbox, ReadChecksKeepTheirValuesAndTypesInTheQueue)
{
    const std::vector<platform::ReadCheck> checks{{"select a from T where k='x'", "a", platform::Value(12)},
                                                  {"select b from T", "b", platform::Value(0.1 + 0.2)},
                                                  {"select c from T", "c", platform::Value("张'三")},
                                                  {"select d from T", "d", platform::Value()},
                                                  {"select e from T", "e", platform::Value(true)}};
    const auto back = DecodeChecks(EncodeChecks(checks));
    ASSERT_EQ(back.size(), checks.size());
    for (std::size_t i = 0; i < checks.size(); ++i) {
        EXPECT_EQ(back[i].sql, checks[i].sql);
        EXPECT_EQ(back[i].field, checks[i].field);
        EXPECT_EQ(back[i].expected.type(), checks[i].expected.type()) << i;
        EXPECT_EQ(back[i].expected.toString(), checks[i].expected.toString()) << i;
    }
    EXPECT_EQ(back[1].expected.toDouble(), 0.1 + 0.2) << "every bit of a real";
    EXPECT_TRUE(DecodeChecks("").empty());
    EXPECT_THROW(DecodeChecks("select 1"), std::runtime_error);
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

TEST(ReplayOutbox, AChangeHeadquartersRefusesHoldsBackTheLaterOnesUntilItIsTaken)
{
    LinkedBranch b;
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+5 where FCardId='C1'");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    b.host.hq().exec(
        "create trigger refuse before update on T_Pos_VipRecord begin select raise(abort, 'refused'); "
        "end");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+7 where FCardId='C1'");
    b.change("update T_Pos_VipRecord set FDecNum=FDecNum+9 where FCardId='C1'");
    const ReplayState refused = SendQueuedToHQ();
    EXPECT_EQ(refused.waiting, 2);
    EXPECT_NE(refused.lastError.find("refused"), std::string::npos) << refused.lastError;
    EXPECT_EQ(b.hqPoints(), 5);
    EXPECT_EQ(b.host.branch().scalar("select FAttempts from t_HqOutbox order by FSeq limit 1").toInt(), 1);

    b.host.hq().exec("drop trigger refuse");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(b.hqPoints(), 21);
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

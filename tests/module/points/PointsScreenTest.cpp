// The points screen's first tab end to end: the member query, the three operations typed into the
// grid, the batch they send, the rows they leave, the refusals that leave nothing.
#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPrinter>
#include <QProcess>
#include <QProgressBar>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTabBar>
#include <QTabWidget>

#include "PointsScreenFixture.h"
#include "module/Application.h"
#include "module/frame/FormRegistry.h"
#include "module/frame/GridPrinter.h"
#include "module/hq/HqLink.h"
#include "module/hq/ReplayOutbox.h"
#include "module/widgets/CodeList.h"
#include "platform/HostServices.h"
#include "platform/Lookups.h"
#include "store/DemoData.h"

using namespace ormex;
using test::PointsScreen;
using Op = module::points::frmPointManage::Operation;

TEST(PointsScreen, QueriesMembersByTheConditionsOnScreen)
{
    PointsScreen t;
    EXPECT_EQ(t.screen.windowTitle(), "积分管理");
    EXPECT_EQ(t.screen.tabs()->tabText(0), "积分增减");
    EXPECT_EQ(t.grid().columns(), 7);
    EXPECT_TRUE(t.grid().isColumnHidden(t.grid().columnOf("cur_num")));
    t.query();
    EXPECT_EQ(t.grid().rowCount(), 4) << "points cards in normal use: not P5 (unused) nor P6 (no points)";
    EXPECT_EQ(t.screen.lastCondition(), " FAccFlag=1 and (FCardStatus=0 )  ");

    t.query("13900000003");
    ASSERT_EQ(t.grid().rowCount(), 1) << "a mobile number finds its card";
    EXPECT_EQ(t.grid().cellStd(0, "FCardId"), "P3");
    EXPECT_EQ(t.grid().cellStd(0, "FVipName"), "王芳");
    EXPECT_EQ(t.grid().cellStd(0, "FCardStatus"), "正常");
    EXPECT_EQ(t.grid().cellStd(0, "FCardType"), "金卡");
    EXPECT_EQ(t.grid().cellStd(0, "cur_num"), "50.00");

    t.screen.typeBox()->setText("普通卡");
    t.screen.typeBox()->setItemId("01");
    t.screen.statusList()->selectCode("0");
    t.screen.comparisonList()->selectCode("1");
    t.screen.leavePointBox()->setText("25");
    t.query();
    EXPECT_EQ(t.screen.lastCondition(),
              " FAccFlag=1 and (FCardStatus=0 )   and FCardType='01' and FCardStatus='0' "
              "and cur_num<25");
    EXPECT_EQ(t.grid().rowCount(), 2) << "P2 (20 left) and P4 (none left)";

    t.screen.comparisonList()->selectCode("0");
    t.screen.leavePointBox()->setText("1000");
    t.host.messages().clear();
    t.query();
    EXPECT_EQ(t.grid().rowCount(), 0);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"没有符合条件的记录存在!"});
}

TEST(PointsScreen, RewardFromTheGridToTheRows)
{
    PointsScreen t;
    t.host.branch().exec("insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,"
                         "FVipMinusTotalNum,FComFlag) values ('P1',2,'01',100,100,60,'1')");
    t.query();
    t.type(t.row("P1"), "FVipNum", "50");
    t.type(t.row("P3"), "FVipNum", "12.5");
    EXPECT_TRUE(t.screen.isChanged(0));
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确定对列表中会员进行积分奖励？"});
    EXPECT_EQ(t.card("P1"), "150|60");
    EXPECT_EQ(t.card("P3"), "62.5|0");
    EXPECT_EQ(t.movements(),
              (std::vector<std::string>{"P1|3|0|50|7|积分奖励|0", "P3|3|0|12.5|7|积分奖励|0"}));
    EXPECT_EQ(
        t.host.branch().rows("select FCardId,FVipCurAccNum,FVipAccNum,FComFlag from T_Pos_VipConsume order "
                             "by FCardId"),
        (std::vector<std::string>{"P1|150|150|0", "P3|12.5|12.5|0"}))
        << "an existing totals row is raised, a missing one created";
    EXPECT_EQ(t.host.branch().rows("select FFunctionID,FType,FDescription from t_OperLog"),
              std::vector<std::string>{"MCM0001|1|积分管理---积分奖励"});
    EXPECT_FALSE(t.screen.isChanged(0));
    EXPECT_EQ(t.grid().cellStd(t.row("P1"), "cur_num"), "90.00") << "the list is read again";
    EXPECT_TRUE(t.host.branch().rows("select * from t_NetTask").empty())
        << "the task guards the commit only, so other tills can commit after it";

    t.host.messages().clear();
    t.ok();
    EXPECT_TRUE(t.host.messages().shown().empty()) << "nothing changed since: OK does nothing";
}

TEST(PointsScreen, ARewardWhileAnotherOperatorHoldsTheTaskWritesNothingAndNamesThem)
{
    PointsScreen t;
    // 王芳 rewards points at the second till: her session holds the points task.
    t.host.branch().exec(
        "insert into t_User (FUserID, FLogin, FName, FPasswordHash, FRoleId) values "
        "(8,'wang','王芳','-','admin');"
        "insert into t_NetTask "
        "(FTaskNo,FCode,FItem,FMachine,FUserID,FSession,FProcessId,FStartTime,FHeartbeat)"
        " values (2002,'hy0008','','POS-02',8,'pos-02/1/1',1,'2026-11-23 10:00:00','2026-11-23 10:29:00')");
    t.query();
    t.type(t.row("P1"), "FVipNum", "50");
    const auto before = t.host.branch().dump();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"是否确定对列表中会员进行积分奖励？",
                                        "当前使用的功能与当前或其他用户有冲突,可能无法使用! "
                                        "请在软件的【系统工具】--【网络控制工具】中进行处理。"
                                        "\n该功能正由操作员【王芳】在机器【POS-02】上使用。"}));
    EXPECT_EQ(t.host.branch().dump(), before) << "no reward, no log, no task of this session";
    EXPECT_TRUE(t.log.batches.empty());
    EXPECT_TRUE(t.screen.isChanged(0)) << "the operator can commit once the task is free";

    t.host.branch().exec("delete from t_NetTask");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P1"), "150|60") << "rewarded once";
}

TEST(PointsScreen, DeductionIsRefusedAboveTheRemainingPointsAndNothingIsWritten)
{
    PointsScreen t;
    t.query();
    t.screen.option(Op::Deduction)->click();
    EXPECT_EQ(t.grid().model()->headerData(t.grid().columnOf("FVipNum"), Qt::Horizontal).toString(),
              "积分冲减");
    t.type(t.row("P1"), "FVipNum", "30");
    t.type(t.row("P2"), "FVipNum", "30");
    // Everything but the task lock, which the commit takes before its batch is built.
    auto data = [&] {
        auto rows = t.host.branch().dump();
        const auto lock = std::find(rows.begin(), rows.end(), "# t_NetTask");
        rows.erase(lock, std::find(lock + 1, rows.end(), "# t_OperLog"));
        return rows;
    };
    const auto before = data();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"是否确定对列表中会员进行积分冲减",
                                        "卡号【P2】冲减积分超过剩余积分，不能冲减！"}))
        << "no 保存数据失败！ after a refusal of its own";
    EXPECT_EQ(t.grid().currentRow(), t.row("P2"));
    EXPECT_EQ(t.grid().currentColumn(), t.grid().columnOf("FVipNum"));
    EXPECT_TRUE(t.log.batches.empty());
    EXPECT_EQ(data(), before) << "a refusal in the middle of the rows writes nothing";
    EXPECT_TRUE(t.screen.isChanged(0));

    // 40 left on P2 now: accepted, and the used points become 90.
    t.host.branch().exec("update T_Pos_VipRecord set FDecNum=60 where FCardId='P2'");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确定对列表中会员进行积分冲减"});
    EXPECT_EQ(t.card("P1"), "100|90");
    EXPECT_EQ(t.card("P2"), "100|90");
    EXPECT_EQ(t.movements(), (std::vector<std::string>{"P1|1|0|30|7|积分冲减|1", "P2|1|0|30|7|积分冲减|1"}));
    EXPECT_EQ(t.host.branch().rows("select FCardId,FVipMinusTotalNum,FComFlag from T_Pos_VipConsume order by "
                                   "FCardId"),
              (std::vector<std::string>{"P1|30|1", "P2|30|1"}));
    ASSERT_EQ(t.log.batches.size(), 1u);
    EXPECT_NE(t.log.batches[0].find("@blnIsinset1"), std::string::npos);
    EXPECT_NE(t.log.batches[0].find("@blnIsinset2"), std::string::npos) << "two records, two variables";
}

TEST(PointsScreen, DeductionAtAnotherBranchLeavesTheCardToItsOwnDatabase)
{
    PointsScreen t;
    t.host.branch().exec("update t_SystemProfile set FValue='09' where FKey='g_branch_no'");
    t.query("P1");
    t.screen.option(Op::Deduction)->click();
    t.type(0, "FVipNum", "10");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P1"), "100|60") << "the totals row was new here: the card is not this database's";
    EXPECT_EQ(t.host.branch().rows("select FVipMinusTotalNum,FComFlag from T_Pos_VipConsume"),
              std::vector<std::string>{"10|1"});
}

TEST(PointsScreen, ClearingFillsLocksAndClearsWithOneClearRecord)
{
    PointsScreen t;
    t.query();
    t.type(t.row("P1"), "FVipNum", "5");
    t.screen.option(Op::Clearing)->click();
    const int p1 = t.row("P1");
    EXPECT_EQ(t.grid().cellStd(p1, "FVipNum"), "40.00") << "the remaining points";
    EXPECT_TRUE(t.grid().isCellLocked(p1, t.grid().columnOf("FVipNum")));
    EXPECT_FALSE(t.screen.findChild<QPushButton*>("cmdBatchAdd_0")->isEnabled());
    t.screen.option(Op::Reward)->click();
    EXPECT_EQ(t.grid().cellStd(p1, "FVipNum"), "") << "back to reward: emptied";
    EXPECT_FALSE(t.grid().isCellLocked(p1, t.grid().columnOf("FVipNum")));
    EXPECT_TRUE(t.screen.findChild<QPushButton*>("cmdBatchAdd_0")->isEnabled());

    t.screen.option(Op::Clearing)->click();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"你确认现在对列表中的会员进行积分清零操作？"});
    for (const char* card : {"P1", "P2", "P3", "P4"})
        EXPECT_EQ(t.host.branch()
                      .scalar(std::string("select FAccNum-FDecNum from T_Pos_VipRecord where FCardId='") +
                              card + "'")
                      .toDouble(),
                  0)
            << card;
    EXPECT_EQ(t.movements(), (std::vector<std::string>{"P1|5|0|40|7|积分清零|1", "P2|5|0|20|7|积分清零|1",
                                                       "P3|5|0|50|7|积分清零|1"}))
        << "P4 had nothing left: skipped";
    EXPECT_EQ(t.host.branch().rows("select hostip,hostname,fuserid,memo from T_Pos_VipPointClear"),
              std::vector<std::string>{"10.0.0.8|POS-01|7|积分清除操作"});
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"积分管理---积分清零"});

    // Clearing again: every card is skipped; the commit succeeds and writes nothing.
    t.log.batches.clear();
    t.host.messages().clear();
    t.screen.option(Op::Clearing)->click();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"你确认现在对列表中的会员进行积分清零操作？"});
    EXPECT_TRUE(t.log.batches.empty());
    EXPECT_EQ(t.host.branch().scalar("select count(*) from T_Pos_VipPointClear").toInt(), 1);
}

TEST(PointsScreen, ZeroRowsAreSkippedAndNothingToSaveFails)
{
    PointsScreen t;
    t.query();
    t.type(t.row("P2"), "FVipNum", "0");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"是否确定对列表中会员进行积分奖励？", "保存数据失败！"}));
    EXPECT_TRUE(t.movements().empty());

    t.type(t.row("P3"), "FVipNum", "7");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.movements(), std::vector<std::string>{"P3|3|0|7|7|积分奖励|0"});
}

TEST(PointsScreen, TheBatchesAreTheSystemsTexts)
{
    PointsScreen t;
    const std::string movement =
        "insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,"
        "fuserid,FOperDate,memo,FComFlag)\r\n";
    t.query();
    t.type(t.row("P1"), "FVipNum", "10");
    t.type(t.row("P3"), "FVipNum", "20");
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.log.batches.size(), 1u);
    EXPECT_EQ(t.log.batches[0],
              "\r\n" + movement +
                  "select 2,'01','P1','3',0,10 ,7,getdate(),'积分奖励',0\r\n"
                  "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='P1' and FBranchID=2)\r\n"
                  " insert into  T_Pos_VipConsume "
                  "(FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)\r\n"
                  " select 'P1',2,'01',10,10,'0'  \r\n Else \r\n"
                  " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+10,"
                  "FVipAccNum=isnull(FVipAccNum,0)+10\r\n where FCardId='P1' and FBranchID=2\r\n\r\n"
                  "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +10\r\n where FCardId='P1'\r\n"
                  "\r\n" +
                  movement +
                  "select 2,'01','P3','3',0,20 ,7,getdate(),'积分奖励',0\r\n"
                  "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='P3' and FBranchID=2)\r\n"
                  " insert into  T_Pos_VipConsume "
                  "(FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)\r\n"
                  " select 'P3',2,'01',20,20,'0'  \r\n Else \r\n"
                  " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+20,"
                  "FVipAccNum=isnull(FVipAccNum,0)+20\r\n where FCardId='P3' and FBranchID=2\r\n\r\n"
                  "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +20\r\n where FCardId='P3'\r\n");

    // P1 now 110/60, P3 70/0: a deduction of 10 and 5 reads those values.
    t.screen.option(Op::Deduction)->click();
    t.type(t.row("P1"), "FVipNum", "10");
    t.type(t.row("P3"), "FVipNum", "5");
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.log.batches.size(), 2u);
    auto deduction = [&](int n, const std::string& card, const std::string& points, const std::string& a,
                         const std::string& dPlusP) {
        const std::string N = std::to_string(n);
        return "\r\n" + movement + "select 2,'01','" + card + "','1',0," + points +
               " ,7,getdate(),'积分冲减',1\r\n" + " declare @blnIsinset" + N + " int \r\n set @blnIsinset" +
               N + "=1 \r\n" + " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='" + card +
               "' and FBranchID=2)\r\n" +
               " begin \r\n insert into  T_Pos_VipConsume "
               "(FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )" +
               "\r\n select '" + card + "',2,'01'," + points + ",'1' \r\n set @blnIsinset" + N +
               "=0 \r\n end \r\n Else \r\n update T_Pos_VipConsume set "
               "FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" +
               points + "\r\n where FCardId='" + card + "' and FBranchID=2\r\n\r\n" +
               "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
               "lower(FKey)='g_branch_no')='01'"
               " or @blnIsinset" +
               N + "=1\r\n update T_Pos_VipRecord set FDecNum=case when " + dPlusP + ">" + a + " then " + a +
               " else " + dPlusP + " end,FAccNum= " + a + "\r\n where FCardId='" + card + "'\r\n";
    };
    EXPECT_EQ(t.log.batches[1], deduction(1, "P1", "10", "110", "70") + deduction(3, "P3", "5", "70", "5"))
        << "each variable is numbered by its record in the package";

    t.screen.option(Op::Clearing)->click();
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.log.batches.size(), 3u);
    EXPECT_NE(
        t.log.batches[2].find("select 2,'01','P1','5',0,40 ,7,getdate(),'积分清零',1\r\n"
                              " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='P1' and "
                              "FBranchID=2)\r\n  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,"
                              "FVipMinusTotalNum,FComFlag )\r\n  select 'P1',2,'01',40,'0' \r\n Else \r\n"
                              " update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull("
                              "FVipMinusTotalNum,0)+40\r\n where FCardId='P1' and FBranchID=2\r\n\r\n"
                              " update T_Pos_VipRecord set FDecNum=FAccNum\r\n where FCardId='P1'\r\n"),
        std::string::npos)
        << t.log.batches[2];
    EXPECT_EQ(t.log.batches[2].substr(t.log.batches[2].rfind("\r\nINSERT INTO T_Pos_VipPointClear")),
              "\r\nINSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, "
              "FClearDesc,memo )"
              "\r\n select getdate(),'10.0.0.8','POS-01',getdate(),'7','','积分清除操作'");
}

TEST(PointsScreen, TheProgressBarAdvancesWhileTheBatchIsBuilt)
{
    PointsScreen t;
    t.query();
    for (const char* card : {"P1", "P2", "P3"})
        t.type(t.row(card), "FVipNum", "1");
    int valueWhileRunning = -1;
    bool visibleWhileRunning = false, okEnabled = true;
    t.log.beforeRun = [&] {
        valueWhileRunning = t.screen.progressBar()->value();
        visibleWhileRunning = t.screen.progressBar()->isVisible();
        okEnabled = t.screen.findChild<QPushButton*>("cmdOk")->isEnabled();
        test::saveShot(t.screen, "points-commit.png");
    };
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(valueWhileRunning, 3) << "one step per record with points";
    EXPECT_EQ(t.screen.progressBar()->maximum(), 8)
        << "three records built, as far again for their run, plus two";
    EXPECT_EQ(t.screen.progressBar()->value(), 8);
    EXPECT_TRUE(visibleWhileRunning);
    EXPECT_FALSE(okEnabled) << "the commands are off during the commit";
    EXPECT_FALSE(t.screen.progressBar()->isVisible());
    EXPECT_TRUE(t.screen.findChild<QPushButton*>("cmdOk")->isEnabled());
}

TEST(PointsScreen, ADeductionMadeWhileHeadquartersGoesAwayStandsAndWaitsForIt)
{
    PointsScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    module::hq::ResetHQConnectionText();
    t.host.hq().exec("update T_Pos_VipRecord set FDecNum=70 where FCardId='P1'");
    t.query();
    t.screen.option(Op::Deduction)->click();
    t.type(t.row("P1"), "FVipNum", "10");
    // The link drops after headquarters was read and checked, as the branch writes its change.
    t.log.beforeRun = [&] {
        t.host.setHeadquartersSetting("(local)/Gone/sa/pw");
        module::hq::ResetHQConnectionText();
    };
    t.host.messages().answer(true);
    t.ok();
    t.log.beforeRun = nullptr;
    EXPECT_EQ(t.card("P1"), "100|80") << "the local change stands";
    EXPECT_TRUE(t.movements(&t.host.hq()).empty());
    EXPECT_EQ(t.host.branch().rows("select FOperation,FAttempts,FLastError from t_HqOutbox"),
              std::vector<std::string>{"0|0|总部数据库无法连接"})
        << "not reaching headquarters is no refusal";
    EXPECT_EQ(module::hq::QueuedForHQ().waiting, 1);

    t.host.setHeadquartersSetting("(local)/HQ/sa/pw");
    module::hq::ResetHQConnectionText();
    EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(t.movements(&t.host.hq()), std::vector<std::string>{"P1|1|0|10|7|积分冲减|1"})
        << "replayed once headquarters is back";
    EXPECT_EQ(t.host.hq().rows("select FDescription from t_Log"),
              std::vector<std::string>{"分店[01]进行积分管理---积分冲减"});
    EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(t.movements(&t.host.hq()).size(), 1u) << "and only once";
}

TEST(PointsScreen, LinkedBranchChecksAndReplaysDeductionsAtHeadquarters)
{
    {
        PointsScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
        EXPECT_FALSE(t.screen.option(Op::Clearing)->isVisibleTo(&t.screen))
            << "a linked branch does not clear";
        t.host.hq().exec("update T_Pos_VipRecord set FDecNum=95 where FCardId='P1'");
        t.query();
        t.screen.option(Op::Deduction)->click();
        t.type(t.row("P1"), "FVipNum", "10");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), "卡号【P1】冲减积分超过剩余积分，不能冲减！")
            << "headquarters holds only 5 points";
        t.host.hq().exec("update T_Pos_VipRecord set FDecNum=70 where FCardId='P1'");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.card("P1"), "100|80") << "the branch writes the values read at headquarters";
        EXPECT_EQ(t.card("P1", &t.host.hq()), "100|80")
            << "the replay raises headquarters' used points too, though it had no totals row of this branch";
        EXPECT_EQ(t.host.hq().rows("select FFunctionID,FStatement,FDescription from t_Log"),
                  std::vector<std::string>{"MCM0001|5|分店[01]进行积分管理---积分冲减"});
        EXPECT_EQ(t.movements(&t.host.hq()), std::vector<std::string>{"P1|1|0|10|7|积分冲减|1"});

        // A reward is not replayed: it goes to headquarters with the branch's data exchange, once.
        t.screen.option(Op::Reward)->click();
        t.type(t.row("P1"), "FVipNum", "10");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.movements(&t.host.hq()),
                  (std::vector<std::string>{"P1|1|0|10|7|积分冲减|1", "P1|3|0|10|7|积分奖励|1"}));
        EXPECT_EQ(t.movements(),
                  (std::vector<std::string>{"P1|1|0|10|7|积分冲减|1", "P1|3|0|10|7|积分奖励|1"}))
            << "marked exchanged at the branch";
        EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
        EXPECT_EQ(t.movements(&t.host.hq()).size(), 2u);
    }
    {
        PointsScreen t({.isBranch = true, .svCardShareType = true}); // no headquarters
        t.query();
        t.screen.option(Op::Deduction)->click();
        t.type(t.row("P1"), "FVipNum", "10");
        t.ok();
        EXPECT_EQ(t.host.messages().texts(),
                  std::vector<std::string>{"检测到未联上总部数据库，请联网后再冲减积分！"})
            << "refused before the prompt";
        EXPECT_TRUE(t.log.batches.empty());
    }
}

TEST(PointsScreen, ClosingAsksAboutChangesAndReleasesTheTask)
{
    PointsScreen t;
    t.query();
    t.type(t.row("P1"), "FVipNum", "10");
    t.host.messages().answer(true);
    t.ok();
    t.type(t.row("P2"), "FVipNum", "10");
    t.host.messages().clear();
    t.host.messages().answer(false);
    QKeyEvent esc(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&t.screen, &esc);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"数据已经改变，是否保存？"});
    EXPECT_FALSE(t.screen.isVisible());
    EXPECT_EQ(t.card("P2"), "100|80") << "No discards";
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_NetTask").toInt(), 0)
        << "no task is left behind";
}

TEST(PointsScreen, FunctionFourOpensOnTheTabAskedForAndCtrlTabCycles)
{
    test::TestHost host;
    module::frame::ModuleForm* shown = nullptr;
    module::frame::FormRegistry::instance().setModalRunner([&](module::frame::ModuleForm& f) { shown = &f; });
    std::unique_ptr<module::Application> app(OrmexCardManage_CreateApplication());
    app->ShowForm(4, platform::Value(2));
    ASSERT_NE(shown, nullptr);
    auto* screen = static_cast<module::points::frmPointManage*>(shown);
    EXPECT_EQ(screen->tabs()->currentIndex(), 2);
    screen->show();
    QKeyEvent ctrlTab(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
    QApplication::sendEvent(screen->memberBox(2)->edit(), &ctrlTab);
    EXPECT_EQ(screen->tabs()->currentIndex(), 0) << "from the last tab back to the first";
    screen->close();
    app->ShowForm(4);
    EXPECT_EQ(screen->tabs()->currentIndex(), 0);
    app.reset();
    module::frame::FormRegistry::instance().setModalRunner({});
}

TEST(PointsScreen, PrintsTheListWithTitleDateAndOperator)
{
    PointsScreen t;
    t.query();
    t.type(t.row("P1"), "FVipNum", "25");
    const char* shots = std::getenv("ORMEX_SHOTS");
    const QString pdf =
        QString::fromStdString(shots ? std::string(shots) : t.host.branch().folder()) + "/points.pdf";
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    module::frame::PrintGrid(printer, t.grid(), {"积分管理 — 积分奖励", "测试员", "01"});
    QProcess text;
    text.start("pdftotext", {"-layout", pdf, "-"});
    ASSERT_TRUE(text.waitForFinished(10000));
    const QString printed = QString::fromUtf8(text.readAllStandardOutput());
    for (const char* expected : {"积分管理 — 积分奖励", "2026-11-23 10:30:00", "操作员：测试员",
                                 "序号\\s+卡号\\s+姓名", "张伟\\s+25.00\\s+正常\\s+普通卡", "共\\s*4"})
        EXPECT_TRUE(printed.contains(QRegularExpression(QString::fromUtf8(expected))))
            << expected << "\n"
            << printed.toStdString();
    EXPECT_FALSE(printed.contains("cur_num")) << "hidden columns are not printed";
}

TEST(PointsScreen, OnTheDemoData)
{
    PointsScreen t;
    t.useDemoData();
    t.screen.resize(900, 600);
    t.query();
    EXPECT_GT(t.grid().rowCount(), 50);
    t.screen.option(Op::Clearing)->click();
    EXPECT_FALSE(t.grid().cellStd(0, "FVipNum").empty());
    test::saveShot(t.screen, "points-clearing.png");
}

TEST(PointsScreen, ALogThatCannotBeWrittenAfterTheSaveLeavesNothingToApplyAgain)
{
    PointsScreen t;
    t.query();
    t.type(t.row("P1"), "FVipNum", "10");
    t.host.branch().exec(
        "create trigger test_refuse before insert on t_OperLog begin select raise(abort, 'disk full'); end");
    t.host.messages().answer(true);
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P1"), "110|60") << "the save stands";
    EXPECT_EQ(t.host.messages().texts(), (std::vector<std::string>{"是否确定对列表中会员进行积分奖励？",
                                                                   "数据已保存，但操作日志写入失败！"}));
    EXPECT_FALSE(t.screen.isChanged(0));
    EXPECT_EQ(t.grid().cellStd(t.row("P1"), "cur_num"), "50.00") << "the list is read again";
    EXPECT_EQ(t.grid().cellStd(t.row("P1"), "FVipNum"), "");

    t.ok();
    EXPECT_EQ(t.card("P1"), "110|60") << "a second OK applies nothing";
    EXPECT_EQ(t.movements().size(), 1u);
}

namespace {

// The member lookup of the host, answering with the cards it was given.
class ChoosingCards : public platform::GLView, public platform::MCBaseDataApp
{
public:
    std::vector<std::string> chosen;
    platform::LookupResult itemLookup(int, const std::string&, const std::string&,
                                      const platform::FieldMap&) override
    {
        return {};
    }
    platform::LookupResult subMesLookup(int, const std::string&, const std::string&) override { return {}; }
    platform::LookupResult showFormReturn(int, bool, int, const std::string&, const std::string&) override
    {
        platform::LookupResult result{true, {}};
        for (const std::string& card : chosen)
            result.returnObject.push_back({{"FCardId", card}});
        return result;
    }
};

} // namespace

TEST(PointsScreen, ClearingTheCardsChosenInTheLookupListsOnlyThemAgain)
{
    PointsScreen t;
    auto lookup = std::make_shared<ChoosingCards>();
    lookup->chosen = {"P1", "P2"};
    platform::HostServices::instance().factory().registerClass("OrmexMCBaseData.Application", [lookup] {
        return std::static_pointer_cast<platform::GLView>(lookup);
    });
    t.screen.onCardLookup();
    ASSERT_EQ(t.grid().rowCount(), 2);
    t.screen.option(Op::Clearing)->click();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P1"), "100|100");
    EXPECT_EQ(t.card("P2"), "100|100");
    EXPECT_EQ(t.grid().rowCount(), 2) << "the chosen cards, not every card";
    EXPECT_NE(t.screen.lastCondition().find("FCardId in ('P1','P2')"), std::string::npos);

    // Choosing clearing again and confirming touches no card outside the choice.
    t.screen.option(Op::Clearing)->click();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P3"), "50|0");
    EXPECT_EQ(t.movements().size(), 2u);

    // The query button lists by the conditions on screen again.
    t.query();
    EXPECT_EQ(t.grid().rowCount(), 4);
}

TEST(PointsScreen, TheTabsStayDuringACommit)
{
    PointsScreen t;
    t.query();
    t.screen.option(Op::Deduction)->click();
    t.type(t.row("P2"), "FVipNum", "30");
    // The keys and the click arrive while the batch is built (the commit lets the window repaint).
    QTabBar* bar = t.screen.tabs()->tabBar();
    const QPoint second = bar->tabRect(1).center();
    QCoreApplication::postEvent(t.screen.memberBox(0)->edit(),
                                new QKeyEvent(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier));
    QCoreApplication::postEvent(bar,
                                new QMouseEvent(QEvent::MouseButtonPress, second, bar->mapToGlobal(second),
                                                Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts().back(), "卡号【P2】冲减积分超过剩余积分，不能冲减！");
    EXPECT_EQ(t.screen.tabs()->currentIndex(), 0);
    EXPECT_EQ(t.grid().currentRow(), t.row("P2")) << "the refusal marks the row of the tab committed";
    EXPECT_EQ(t.grid().currentColumn(), t.grid().columnOf("FVipNum"));

    // After the commit the keys switch tabs again.
    QKeyEvent ctrlTab(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
    QApplication::sendEvent(t.screen.memberBox(0)->edit(), &ctrlTab);
    EXPECT_EQ(t.screen.tabs()->currentIndex(), 1);
}

// The stored-value screen end to end: finding cards, recharging one or many, converting points,
// the refusals of the fill settings, the balance nobody else changed meanwhile, and a database
// kept busy by another operator.
#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QMessageBox>

#include <chrono>

#include "StoredValueFixture.h"
#include "host/ui/QtMessageService.h"
#include "module/Application.h"
#include "module/frame/FormRegistry.h"
#include "module/widgets/CodeList.h"
#include "sql/Database.h"
#include "store/SharedDatabases.h"

using namespace ormex;
using test::StoredValueScreen;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {
const std::string kStrictFill = test::fillSettings("500", false);
const std::string kLooseFill = test::fillSettings("0", true);
} // namespace

TEST(StoredValueScreen, OpensOnTheTabTheHostAsksForWhenItIsShown)
{
    test::TestHost host;
    module::frame::ModuleForm* shown = nullptr;
    module::frame::FormRegistry::instance().setModalRunner([&](module::frame::ModuleForm& f) { shown = &f; });
    std::unique_ptr<module::Application> app(OrmexCardManage_CreateApplication());
    app->ShowForm(5, platform::Value(0));
    auto* screen = static_cast<Screen*>(shown);
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->windowTitle(), "储值管理");
    EXPECT_EQ(screen->tabs()->currentIndex(), 1) << "tab 0 is hidden: the screen stays on tab 1";
    EXPECT_FALSE(screen->tabs()->isTabVisible(0));
    EXPECT_EQ(screen->tabs()->tabText(1), "会员卡充值");
    app->ShowForm(5, platform::Value(2));
    EXPECT_EQ(screen->tabs()->currentIndex(), 2);
    screen->show();
    QKeyEvent ctrlTab(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
    QApplication::sendEvent(screen->numberBox(2)->edit(), &ctrlTab);
    EXPECT_EQ(screen->tabs()->currentIndex(), 0) << "Ctrl+Tab reaches the single-card tab";
    screen->close();
    app.reset();
    module::frame::FormRegistry::instance().setModalRunner({});
}

TEST(StoredValueScreen, TheBatchQueryAndItsConditions)
{
    StoredValueScreen t;
    t.query(Screen::BatchTab);
    EXPECT_EQ(t.screen.cardFilter(), " FSavingFlag='1' and FCardStatus='0'  and  "
                                     "datediff(day,getdate(),FVipEndDate)>0  and FCardStatus='0'");
    ASSERT_EQ(t.grid(1).rowCount(), 2)
        << "S1 and S2: S3 ends today, S5 is lost, S6 expired, S4 holds no value";
    EXPECT_EQ(t.grid(1).cellStd(t.row(1, "S1"), "FResidualAmt"), "50.00") << "balances are shown decoded";
    EXPECT_EQ(t.grid(1).cellStd(0, "FBalanceStyle"), "现金");
    EXPECT_EQ(t.grid(1).cellStd(0, "FChargeAmt"), "0.00");

    t.screen.amountBox(1)->setText("100");
    t.query(Screen::BatchTab);
    EXPECT_EQ(t.screen.cardFilter(),
              " FSavingFlag='1' and FCardStatus='0'  and  datediff(day,getdate(),FVipEndDate)>0 "
              " and FCardStatus='0' and  convert(float,dbo.f_decrypt(FResidualAmt)) >= 100");
    t.host.messages().clear();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{});
    EXPECT_EQ(t.grid(1).rowCount(), 0);

    t.open(Screen::PointsTab);
    t.screen.amountBox(2)->setText("100");
    t.query(Screen::PointsTab);
    EXPECT_EQ(t.screen.cardFilter(),
              " FSavingFlag='1' and FCardStatus='0'  and  datediff(day,getdate(),FVipEndDate)>0 "
              " and FCardStatus='0' and cur_num  >= 100");
    ASSERT_EQ(t.grid(2).rowCount(), 1);
    EXPECT_EQ(t.field("itMemType").textStd(), "银卡");
    EXPECT_EQ(t.field("itLeaveAmt_2").textStd(), "5元");
}

// The batch query reads only the card columns its grid shows; the panel shows the first card
// read whole, and the saves read the hidden columns back from the grid.
TEST(StoredValueScreen, TheBatchGridsAndThePanelHoldWhatTheyShowOfTheCards)
{
    StoredValueScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FVipTax=30 where FCardId='S1';"
                         "update T_Pos_VipRecord set FDecNum=40 where FCardId='S2'");
    t.query(Screen::BatchTab);
    ASSERT_EQ(t.grid(1).rowCount(), 2);
    const int s1 = t.row(1, "S1");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FVipName"), "张伟");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FVipTax"), "30.00");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FResidualAmt"), "50.00");
    EXPECT_EQ(t.field("itCardID_1").textStd(), "S1");
    EXPECT_EQ(t.field("itFlowId_1").textStd(), "F1");
    EXPECT_EQ(t.field("itSocialId_1").textStd(), "4403001");
    EXPECT_EQ(t.field("itLeaveAmt_1").textStd(), "50元");

    t.open(Screen::PointsTab);
    t.query(Screen::PointsTab, "S2");
    ASSERT_EQ(t.grid(2).rowCount(), 1);
    EXPECT_EQ(t.grid(2).cellStd(0, "cur_num"), "260.00");
    EXPECT_EQ(t.grid(2).cellStd(0, "FDecNum"), "40.00");
    EXPECT_EQ(t.grid(2).cellStd(0, "FCardType"), "02");
    EXPECT_EQ(t.grid(2).cellStd(0, "FCardStatus"), "正常");
    EXPECT_EQ(t.grid(2).cellStd(0, "FResidualAmt"), "5.00");
    EXPECT_EQ(t.field("itMemType").textStd(), "银卡");
    EXPECT_EQ(t.field("itPoint").textStd(), "260");
    EXPECT_EQ(t.field("itFlowId_2").textStd(), "F2");
}

TEST(StoredValueScreen, TheSingleCardSearchAndItsRefusals)
{
    StoredValueScreen t;
    t.screen.tabs()->setTabVisible(0, true);
    t.open(Screen::SingleTab);
    const std::pair<const char*, const char*> refusals[] = {
        {"", "请输入会员卡号!"},
        {"NOPE", "不存在该会员卡！"},
        {"S4", "该会员卡不是储值卡，不能充值！"},
        {"S6", "该会员卡已经过期，不能充值！"},
    };
    for (const auto& [typed, message] : refusals) {
        t.host.messages().clear();
        t.query(Screen::SingleTab, typed);
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{message}) << typed;
        EXPECT_EQ(t.field("itCardID_0").textStd(), "") << typed;
    }
    t.host.messages().clear();
    t.query(Screen::SingleTab, "S3");
    EXPECT_TRUE(t.host.messages().shown().empty()) << "a card ending today may be recharged";
    EXPECT_EQ(t.field("itCardID_0").textStd(), "S3");
    t.query(Screen::SingleTab, "13900000001");
    EXPECT_EQ(t.field("itCardID_0").textStd(), "S1");
    EXPECT_EQ(t.field("itLeaveAmt_0").textStd(), "50元");
    EXPECT_EQ(t.field("itCardStatus").textStd(), "正常");
    EXPECT_EQ(t.field("itBalanceStyle").textStd(), "现金");
    EXPECT_EQ(t.field("itOperateDate").textStd(), "2026-11-23");
    EXPECT_EQ(t.field("itCardAmt").textStd(), "100") << "the issue amount";
    EXPECT_EQ(t.screen.balanceOf("S1").value_or(platform::Money()).toString(), "50");
}

TEST(StoredValueScreen, ASingleRechargeOfOneHundredOnFifty)
{
    StoredValueScreen t({}, kStrictFill);
    t.screen.tabs()->setTabVisible(0, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, "S1");
    t.field("itChargeAmt").setText("100");
    EXPECT_EQ(t.field("itCharge").textStd(), "100");
    EXPECT_EQ(t.field("itActualAmt").textStd(), "100") << "the paid amount follows";
    EXPECT_EQ(t.field("itAmt").textStd(), "100");
    t.field("itMemo").setText("生日充值");
    t.field("itBalanceStyle").setText("02");
    Q_EMIT t.field("itBalanceStyle").edit()->editingFinished();
    EXPECT_EQ(t.field("itBalanceStyle").textStd(), "银行卡");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【单卡充值】?"});
    EXPECT_EQ(t.balance("S1"), "150");
    EXPECT_EQ(
        t.host.branch().scalar("select FResidualAmt from T_Pos_VipRecord where FCardId='S1'").toString(),
        platform::encodeBalance(std::string("150")));
    EXPECT_EQ(t.moneyRows(), std::vector<std::string>{"S1|100|7|50|2|01|生日充值|100|150|2|1"});
    EXPECT_EQ(
        t.host.branch().scalar("select FOperDate from T_Pos_AddMoneyList where other1='生日充值'").toString(),
        "2026-11-23 10:30:0");
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"储值管理---单卡充值"});
    EXPECT_EQ(t.field("itLeaveAmt_0").textStd(), "150元") << "the card is shown again";
}

TEST(StoredValueScreen, TheFillSettingsBoundASingleRecharge)
{
    struct Case
    {
        std::string settings;
        const char* charge;
        const char* actual;
        std::vector<std::string> texts; // after the amounts: what the operator sees
    };
    const std::string max = "充值金额已经大于会员设置画面设定的最大充值金额500，请修正！";
    const Case cases[] = {
        {kStrictFill, "500", "500", {"是否确认【单卡充值】?"}},
        {kStrictFill, "500.01", "500.01", {max}},
        {kStrictFill, "0", "0", {"充值金额不能为0！"}},
        {kStrictFill, "-10", "-10", {"充值金额不允许为负数！"}},
        {kStrictFill, "100", "0", {"实付金额不能为0！"}},
        {kStrictFill, "100", "120", {"充值金额小于实付金额，是否确认充值？"}},
        {kStrictFill, "100", "80", {"是否确认【单卡充值】?"}},
        {kLooseFill, "-10", "0", {"充值金额小于实付金额，是否确认充值？"}},
        {kLooseFill, "-10", "-10", {"是否确认【单卡充值】?"}},
        {kLooseFill, "-50.01", "0", {"扣减的充值金额不能大于卡余额！"}},
        {kLooseFill, "99999", "1", {"是否确认【单卡充值】?"}},
    };
    for (const Case& c : cases) {
        StoredValueScreen t({}, c.settings);
        t.screen.tabs()->setTabVisible(0, true);
        t.open(Screen::SingleTab);
        t.query(Screen::SingleTab, "S1");
        t.field("itChargeAmt").setText(c.charge);
        t.field("itActualAmt").setText(c.actual);
        t.host.messages().clear();
        t.ok();
        EXPECT_EQ(t.host.messages().texts(), c.texts) << c.charge << " / " << c.actual;
        EXPECT_EQ(t.balance("S1"), "50") << "no was answered, or it was refused";
    }
}

TEST(StoredValueScreen, ABatchRechargeOfTwoCards)
{
    StoredValueScreen t({}, kStrictFill);
    t.query(Screen::BatchTab);
    const int s1 = t.row(1, "S1"), s2 = t.row(1, "S2");
    t.type(1, s1, "FChargeAmt", "100");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FActualAmt"), "100.00") << "the paid amount follows the recharge";
    t.type(1, s1, "FActualAmt", "90");
    t.type(1, s1, "other1", "会员日");
    t.type(1, s2, "FChargeAmt", "20.5");
    t.type(1, s2, "FBalanceStyle", "02");
    EXPECT_EQ(t.grid(1).cellStd(s2, "FBalanceStyle"), "银行卡");
    EXPECT_EQ(t.grid(1).cellStd(s2, "FBalanceStyleID"), "2");
    EXPECT_EQ(t.grid(1).currentColumn(), t.grid(1).columnOf("FChargeAmt"));
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【会员卡充值】?"});
    EXPECT_EQ(t.balance("S1"), "150");
    EXPECT_EQ(t.balance("S2"), "25.5");
    EXPECT_EQ(t.moneyRows(), (std::vector<std::string>{"S1|100|7|50|2|01|会员日|90|150|1|1",
                                                       "S2|20.5|7|5|2|01||20.5|25.5|2|1"}));
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"储值管理---会员卡充值"});
    EXPECT_EQ(t.grid(1).cellStd(t.row(1, "S1"), "FResidualAmt"), "150.00") << "the tab is read again";
    EXPECT_EQ(t.grid(1).cellStd(t.row(1, "S1"), "FChargeAmt"), "0.00");
}

TEST(StoredValueScreen, BatchRefusalsWriteNothing)
{
    StoredValueScreen t({}, kStrictFill);
    t.host.branch().exec("update T_Pos_VipRecord set FVipEndDate='2027-12-31' where FCardId='S3'");
    t.query(Screen::BatchTab);
    ASSERT_EQ(t.grid(1).rowCount(), 3);
    t.type(1, 0, "FChargeAmt", "50");
    t.type(1, 1, "FChargeAmt", "50");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"充值金额不能为0"})
        << "the third row has none";
    EXPECT_EQ(t.grid(1).currentRow(), 2);
    EXPECT_EQ(t.grid(1).currentColumn(), t.grid(1).columnOf("FChargeAmt"));
    EXPECT_TRUE(t.moneyRows().empty());

    // Batch fill above the maximum is refused before any row changes.
    t.type(1, 2, "FChargeAmt", "600");
    t.host.messages().clear();
    t.grid(1).setActiveCell(2, t.grid(1).columnOf("FChargeAmt"));
    t.screen.onBatchFill();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"充值金额已经大于会员设置画面设定的最大充值金额500，请修正！"});
    EXPECT_EQ(t.grid(1).cellStd(0, "FChargeAmt"), "50.00");
    t.type(1, 2, "FChargeAmt", "30");
    t.grid(1).setActiveCell(2, t.grid(1).columnOf("FChargeAmt"));
    t.host.messages().answer(true);
    t.screen.onBatchFill();
    EXPECT_EQ(t.host.messages().texts().back(), "确定批量更新【充值金额】栏位值为：30.00?");
    EXPECT_EQ(t.grid(1).cellStd(0, "FChargeAmt"), "30.00");
    EXPECT_EQ(t.grid(1).cellStd(0, "FActualAmt"), "30.00") << "the paid amount follows on every row";

    t.grid(1).setActiveCell(0, 1);
    t.screen.onDelete();
    EXPECT_EQ(t.grid(1).rowCount(), 2);
    t.screen.onDelete();
    t.screen.onDelete();
    EXPECT_EQ(t.field("itCardID_1").textStd(), "") << "deleting the last row clears the panel";
}

TEST(StoredValueScreen, PointsIntoStoredValue)
{
    StoredValueScreen t;
    t.host.branch().exec(
        "update T_Pos_VipRecord set FAccNum=100 where FCardId='S2';"
        "insert into T_Pos_VipRecord (FCardId,FVipName,FCardType,FCardStatus,FVipEndDate,FAccNum,"
        "FDecNum,FResidualAmt,FSavingFlag) values ('S7','孙丽','03','0','2027-12-31',1250,0,'0',1),"
        " ('S8','周杰','02','0','2027-12-31',100,0,'0',1)");
    t.open(Screen::PointsTab);
    t.query(Screen::PointsTab);
    ASSERT_EQ(t.grid(2).rowCount(), 4); // S1 (no points), S2, S7, S8
    const int s2 = t.row(2, "S2"), s7 = t.row(2, "S7");

    t.type(2, s2, "FPoint", "150");
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"本次使用积分超过结余积分！"});
    EXPECT_EQ(t.grid(2).currentRow(), s2);
    t.host.messages().clear();
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"本次使用积分已经超过结余积分，不能转换!"});
    EXPECT_TRUE(t.moneyRows().empty());

    t.type(2, s2, "FPoint", "100");
    EXPECT_EQ(t.grid(2).cellStd(s2, "FAmt"), "10.00");
    t.type(2, s7, "FPoint", "1250");
    EXPECT_EQ(t.grid(2).cellStd(s7, "FPoint"), "1000.00")
        << "tiers 1000, 500, 100: 1000 consumed, and 250 left below the next tier";
    EXPECT_EQ(t.grid(2).cellStd(s7, "FAmt"), "120.00");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【积分转储值】?"});
    EXPECT_EQ(t.balance("S2"), "15");
    EXPECT_EQ(t.balance("S7"), "120");
    EXPECT_EQ(t.balance("S8"), "0") << "a row without an amount is skipped";
    EXPECT_EQ(t.host.branch().rows(
                  "select FCardId,flag,FVipPlusAmt,FVipNum,memo,FComFlag from T_Pos_VipGiftList order "
                  "by FCardId"),
              (std::vector<std::string>{"S2|4|10|100|积分转储值|1", "S7|4|120|1000|积分转储值|1"}));
    EXPECT_EQ(t.host.branch().rows(
                  "select FCardId,FOldAmt,FPlusAmt,FResidualAmt,other1 from T_Pos_AddMoneyList where "
                  "other1='积分转储值' order by FCardId"),
              (std::vector<std::string>{"S2|5|10|15|积分转储值", "S7|0|120|120|积分转储值"}));
    EXPECT_EQ(t.host.branch().rows(
                  "select FCardId,FDecNum from T_Pos_VipRecord where FCardId in ('S2','S7') order by 1"),
              (std::vector<std::string>{"S2|100", "S7|1000"}));
    ASSERT_EQ(t.log.batches.size(), 1u);
    const std::string& batch = t.log.batches[0];
    const std::string first = "@blnIsinset" + std::to_string(s2 + 1) + " ";
    EXPECT_NE(batch.find(first), std::string::npos) << "variables are numbered by the record";
    EXPECT_EQ(batch.find("@blnIsinset" + std::to_string(t.row(2, "S1") + 1) + " "), std::string::npos)
        << "a skipped record leaves a gap";
    EXPECT_EQ(t.host.branch().rows("select FDescription from t_OperLog"),
              std::vector<std::string>{"储值管理---积分转储值"});
}

TEST(StoredValueScreen, ABalanceChangedAfterItWasReadIsNotOverwritten)
{
    StoredValueScreen t;
    t.query(Screen::BatchTab, "S1");
    t.type(1, t.row(1, "S1"), "FChargeAmt", "100");
    // A till takes 30 from S1 after the screen has read its balance.
    t.log.beforeRun = [&] {
        auto till = db::Database::open(t.host.branch().path());
        till->execute("update T_Pos_VipRecord set FResidualAmt='" +
                      platform::encodeBalance(std::string("20")) + "' where FCardId='S1'");
    };
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(
        t.host.messages().texts(),
        (std::vector<std::string>{"是否确认【会员卡充值】?",
                                  "卡上的积分或余额已被其他操作修改，或该卡已被删除，请重新查询后再试！"}));
    EXPECT_EQ(t.balance("S1"), "20") << "the till's change stands";
    EXPECT_TRUE(t.moneyRows().empty()) << "nothing of the batch was written";
    EXPECT_EQ(t.grid(1).cellStd(t.row(1, "S1"), "FResidualAmt"), "20.00")
        << "the tab shows the card as it is now";
    t.log.beforeRun = {};
    t.type(1, t.row(1, "S1"), "FChargeAmt", "100");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.balance("S1"), "120");
}

TEST(StoredValueScreen, ABusyDatabaseWritesNothingAndTheRechargeCanBeRepeated)
{
    StoredValueScreen t({}, kStrictFill);
    db::sharedDatabase(t.host.config().databasePath()).setBusyTimeout(std::chrono::milliseconds(200));
    t.screen.tabs()->setTabVisible(0, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, "S1");
    t.field("itChargeAmt").setText("100");
    // Another operator's long batch holds the write lock for longer than the save waits.
    auto other = db::Database::open(t.host.branch().path());
    other->executeNative("BEGIN IMMEDIATE");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"是否确认【单卡充值】?", "数据库正忙，请稍后再试！"}));
    EXPECT_EQ(t.host.messages().shown().back().kind, test::ScriptedMessageService::Kind::Error);
    EXPECT_EQ(t.balance("S1"), "50");
    EXPECT_TRUE(t.moneyRows().empty()) << "nothing of the recharge was written";
    EXPECT_TRUE(t.host.branch().rows("select FDescription from t_OperLog").empty());

    other->executeNative("COMMIT");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【单卡充值】?"});
    EXPECT_EQ(t.balance("S1"), "150");
    EXPECT_EQ(t.moneyRows().size(), 1u);
}

TEST(StoredValueScreen, ALinkedBranchReadsAndReplaysAtHeadquarters)
{
    StoredValueScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true}, kStrictFill);
    t.host.hq().exec("update T_Pos_VipRecord set FResidualAmt='" +
                     platform::encodeBalance(std::string("80")) + "' where FCardId='S1'");
    t.query(Screen::BatchTab, "S1");
    const int s1 = t.row(1, "S1");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FResidualAmt"), "80.00") << "the list is read at headquarters";
    t.type(1, s1, "FChargeAmt", "10");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.balance("S1"), "90") << "the branch writes headquarters' balance plus the recharge";
    EXPECT_EQ(t.balance("S1", &t.host.hq()), "90");
    EXPECT_EQ(t.moneyRows(&t.host.hq()), std::vector<std::string>{"S1|10|7|80|2|01||10|90|1|1"});
    EXPECT_EQ(t.host.hq().rows("select FDescription from t_Log"),
              std::vector<std::string>{"分店[01]进行储值管理---会员卡充值"});

    StoredValueScreen offline({.isBranch = true, .svCardShareType = true});
    offline.query(Screen::BatchTab);
    EXPECT_EQ(offline.host.messages().texts(),
              std::vector<std::string>{"充值需与总部联网，请联网后再充值！"});
}

TEST(StoredValueScreen, WhatTheOperatorSees)
{
    StoredValueScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FVipEndDate='2027-12-31'");
    t.screen.resize(960, 620);
    t.query(Screen::BatchTab);
    test::saveShot(t.screen, "stored-value-batch.png");
    t.open(Screen::PointsTab);
    t.query(Screen::PointsTab);
    t.type(2, t.row(2, "S2"), "FPoint", "300");
    EXPECT_EQ(t.grid(2).cellStd(t.row(2, "S2"), "FAmt"), "30.00");
    test::saveShot(t.screen, "stored-value-points.png");

    // The final question as the host's message box shows it.
    platform::HostServices::instance().setMessageService(std::make_shared<host::QtMessageService>());
    bool asked = false;
    test::whenModal<QMessageBox>([&](QMessageBox& box) {
        asked = box.text() == "是否确认【积分转储值】?";
        test::saveShot(box, "stored-value-question.png");
        box.button(QMessageBox::No)->click();
    });
    t.ok();
    EXPECT_TRUE(asked);
    EXPECT_EQ(t.balance("S2"), "5") << "No saves nothing";
}

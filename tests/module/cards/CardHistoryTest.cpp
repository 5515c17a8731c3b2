// The history of a card: its points movements, money-list rows and card operations, newest first,
// with the running points and balance, from the card screen and the stored-value screen, on the
// branch's own database or on headquarters'.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>

#include "CardScreenFixture.h"
#include "module/cards/dlgCardHistory.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/points/PointsStatements.h"
#include "module/storedvalue/StoredValueFixture.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "store/CardLedger.h"
#include "store/CsvRecords.h"
#include "store/DemoData.h"

using namespace ormex;
using module::cards::dlgCardHistory;
using namespace ormex::platform::money_literals;

namespace {

// A gold card that starts with nothing, and a gift to exchange.
void seedHistoryCard(test::TestDatabase& db)
{
    db.exec(
        "insert or ignore into T_Pos_VipType values ('03','金卡',1,1);"
        "insert into T_Pos_VipRecord (FCardId,FVipName,mobile,FCardType,FCardStatus,FVipEndDate,FSavingFlag)"
        " values ('H1','周杰','13900000021','03','0','2027-12-31',1);"
        "insert into t_Item (FItemID,FNumber,FName,FUnit) values (101,'G001','保温杯','个')");
}

// The card's life, one operation a day, each written by the statements the screens run and the
// card object the card screen calls: points 100, 80, 50, 50, 0, 0; balance 0, 0, 0, 200, 205, 205.
void liveTheCard(test::TestHost& host)
{
    const module::points::PointsSession points{"2", "01", "7"};
    const module::storedvalue::StoredValueSession money{"7", "2", "01"};
    auto on = [&host](int day) { host.clock().set({{2026, 11, day}, 10, 0, 0}); };
    on(1);
    module::frame::ExecuteSQL(module::points::RewardGroup(points, "H1", 100));
    on(5);
    module::frame::ExecuteSQL(module::points::DeductionGroup(points, 1, "H1", 20, 100, 0));
    on(10);
    module::frame::ExecuteSQL(
        module::points::ExchangeGroup(points, 1, "H1", {"2", "0101", "101", "1", "30", "0"}, 30));
    on(15);
    // The single recharge writes its time without leading zeros.
    module::frame::ExecuteSQL(module::storedvalue::RechargeStatements(
        money, {"H1", 200_yuan, 180_yuan, 0_yuan, 200_yuan, 200_yuan, "开业活动", "2026-11-15 9:5:7", "1"}));
    on(20);
    module::frame::ExecuteSQL(module::storedvalue::ConversionStatements(
        money, 1, {"H1", 50, 5_yuan, 200_yuan, 200_yuan, 205_yuan, "2026-11-20 10:00:00"}));
    on(23);
    platform::FieldMap change{{"FCardId", "H1"}, {"FCardStatus", 2}};
    int lossCode = 4;
    ASSERT_TRUE(module::frame::CardObject()->updateMCInfo(change, 4, lossCode));
}

std::string columnText(const module::frame::Grid& grid, int row, const char* field)
{
    return grid.cellText(row, QString::fromUtf8(field)).toStdString();
}

// Each shown row as "date|kind|points change|amount change|points after|balance after".
std::vector<std::string> shownRows(const module::frame::Grid& grid)
{
    std::vector<std::string> rows;
    for (int r = 0; r < grid.rowCount(); ++r) {
        std::string row;
        for (const char* field :
             {"FOperDate", "FKind", "FPointsChange", "FAmountChange", "FPointsAfter", "FBalanceAfter"})
            row += (row.empty() ? "" : "|") + columnText(grid, r, field);
        rows.push_back(row);
    }
    return rows;
}

} // namespace

TEST(CardHistory, ListsEveryChangeNewestFirstWithTheRunningPointsAndBalance)
{
    test::TestHost host;
    seedHistoryCard(host.branch());
    liveTheCard(host);
    ASSERT_EQ(
        host.branch().rows("select FAccNum-FDecNum, FCardStatus from T_Pos_VipRecord where FCardId='H1'"),
        std::vector<std::string>{"0|2"});
    ASSERT_EQ(host.branch().decodedBalance("H1").toString(), "205");

    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("h1")) << host.messages().last();
    EXPECT_EQ(shownRows(dialog.grid()), (std::vector<std::string>{
                                            "2026-11-23 10:00:00|卡操作|||0|205.00",
                                            "2026-11-20 10:00:00|积分转储值||+5.00|0|205.00",
                                            "2026-11-20 10:00:00|积分转储值|-50||0|200.00",
                                            "2026-11-15 09:05:07|充值||+200.00|50|200.00",
                                            "2026-11-10 10:00:00|礼品兑换|-30||50|0.00",
                                            "2026-11-05 10:00:00|积分冲减|-20||80|0.00",
                                            "2026-11-01 10:00:00|积分奖励|+100||100|0.00",
                                        }));
    EXPECT_EQ(columnText(dialog.grid(), 0, "FDetail"), "会员卡管理---挂失");
    EXPECT_EQ(columnText(dialog.grid(), 0, "FBranchNo"), "01");
    EXPECT_EQ(columnText(dialog.grid(), 3, "FDetail"), "实付180.00 开业活动");
    EXPECT_EQ(columnText(dialog.grid(), 4, "FDetail"), "保温杯 ×1");
    EXPECT_EQ(columnText(dialog.grid(), 6, "FOperator"), "测试员") << "operator 7 by name";
    EXPECT_EQ(dialog.totalsText().toStdString(), "共 7 笔　积分变动合计：0　金额变动合计：+205.00");
    EXPECT_EQ(dialog.findChild<QLabel*>("lblCard")->text().toStdString(),
              "卡号：H1　姓名：周杰　卡类别：金卡　卡状态：挂失　当前积分：0　当前余额：205.00");
    EXPECT_EQ(dialog.findChild<QLabel*>("lblSource")->text().toStdString(), "数据来源：本店数据库");
    EXPECT_FALSE(dialog.findChild<QComboBox*>("cmbSource")->isVisibleTo(&dialog));
    test::saveShot(dialog, "card-history.png");
}

TEST(CardHistory, FiltersByDatesAndKindAndRefusesABadDate)
{
    test::TestHost host;
    seedHistoryCard(host.branch());
    liveTheCard(host);
    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("H1"));
    auto* from = dialog.findChild<module::widgets::InputField*>("itFrom");
    auto* to = dialog.findChild<module::widgets::InputField*>("itTo");
    auto* kind = dialog.findChild<QComboBox*>("cmbKind");
    ASSERT_TRUE(from && to && kind);

    from->setText("2026-11-05");
    to->setText("2026-11-15");
    ASSERT_TRUE(dialog.applyFilter());
    EXPECT_EQ(shownRows(dialog.grid()), (std::vector<std::string>{
                                            "2026-11-15 09:05:07|充值||+200.00|50|200.00",
                                            "2026-11-10 10:00:00|礼品兑换|-30||50|0.00",
                                            "2026-11-05 10:00:00|积分冲减|-20||80|0.00",
                                        }))
        << "running values stay those of the whole history";
    EXPECT_EQ(dialog.totalsText().toStdString(), "共 3 笔　积分变动合计：-50　金额变动合计：+200.00");

    from->clear();
    to->clear();
    kind->setCurrentText("积分转储值");
    ASSERT_TRUE(dialog.applyFilter());
    EXPECT_EQ(dialog.grid().rowCount(), 2);
    EXPECT_EQ(dialog.totalsText().toStdString(), "共 2 笔　积分变动合计：-50　金额变动合计：+5.00");

    for (const char* bad : {"2026-13-01", "2026/11/01", "11-01"}) {
        from->setText(bad);
        EXPECT_FALSE(dialog.applyFilter()) << bad;
        EXPECT_EQ(host.messages().last(), "起始日期格式不正确，请输入yyyy-mm-dd格式的日期！");
        EXPECT_EQ(dialog.grid().rowCount(), 2) << "the list stays as it was";
    }
    from->setText("2026-11-20");
    to->setText("2026-11-01");
    EXPECT_FALSE(dialog.applyFilter());
    EXPECT_EQ(host.messages().last(), "起始日期不能晚于截止日期！");
}

TEST(CardHistory, ExportsWhatItShowsAsCsv)
{
    test::TestHost host;
    seedHistoryCard(host.branch());
    liveTheCard(host);
    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("H1"));
    const std::string path = host.branch().folder() + "/history.csv";
    host.messages().choose(path);
    dialog.findChild<QPushButton*>("cmdExport")->click();
    EXPECT_EQ(host.messages().shown().back().text, "会员卡历史-H1.csv") << "the name offered";

    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    const auto records = db::readCsvRecords(bytes.mid(3).toStdString());
    ASSERT_EQ(records.size(), 8u);
    EXPECT_EQ(records[0].fields,
              (std::vector<std::string>{"序号", "日期时间", "分店", "操作员", "类别", "积分变动", "金额变动",
                                        "积分余额", "储值余额", "说明"}));
    EXPECT_EQ(records[4].fields,
              (std::vector<std::string>{"4", "2026-11-15 09:05:07", "01", "测试员", "充值", "", "+200.00",
                                        "50", "200.00", "实付180.00 开业活动"}));
}

TEST(CardHistory, AnUndecodableBalanceIsSaidSoAndNoRunningBalanceIsMadeUp)
{
    test::TestHost host;
    seedHistoryCard(host.branch());
    module::frame::ExecuteSQL(module::points::RewardGroup({"2", "01", "7"}, "H1", 10));
    host.branch().exec("update T_Pos_VipRecord set FResidualAmt='not a balance' where FCardId='H1'");
    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("H1"));
    EXPECT_NE(dialog.findChild<QLabel*>("lblCard")->text().toStdString().find("当前余额：无法解码"),
              std::string::npos);
    EXPECT_EQ(shownRows(dialog.grid()), std::vector<std::string>{"2026-11-23 10:30:00|积分奖励|+10||10|"});
}

TEST(CardHistory, TheCardScreenOpensItForTheCardShownWithItsOperations)
{
    test::CardScreen t;
    auto* history = t.screen.findChild<QPushButton*>("cmdHistory");
    EXPECT_FALSE(history->isEnabled()) << "no card shown yet";
    t.search("13800000001"); // C100, by its mobile
    ASSERT_TRUE(history->isEnabled());
    t.host.messages().answer(true);
    t.screen.statusButton(0)->click(); // report the loss

    std::vector<std::string> rows;
    test::whenModal<dlgCardHistory>([&rows](dlgCardHistory& dialog) {
        rows = shownRows(dialog.grid());
        rows.push_back(columnText(dialog.grid(), 0, "FDetail"));
        dialog.reject();
    });
    history->click();
    EXPECT_EQ(rows,
              (std::vector<std::string>{"2026-11-23 10:30:00|卡操作|||200|88.50", "会员卡管理---挂失"}));
    EXPECT_EQ(t.host.branch().rows("select FCardId,FBranchNo,FUserID,FType,FMachineName from t_OperLog"),
              std::vector<std::string>{"C100|01|7|4|POS-01"});
}

TEST(CardHistory, ALinkedBranchShowsHeadquartersHistoryAndSaysSo)
{
    test::StoredValueScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    seedHistoryCard(t.host.hq());
    seedHistoryCard(t.host.branch());
    // Headquarters holds a recharge made at another branch; this branch holds only its reward.
    t.host.hq().exec(
        "update T_Pos_VipRecord set FResidualAmt='" + platform::encodeBalance("50") +
        "' where FCardId='H1';"
        "insert into T_Pos_AddMoneyList (FCardId,FPlusAmt,fuserid,FOperDate,FOldAmt,FBranchno,other1,"
        "FPlusRealAmt) values ('H1',50,3,'2026-11-20 08:00:00',0,'02','',50)");
    module::frame::ExecuteSQL(module::points::RewardGroup({"2", "01", "7"}, "H1", 10));

    t.screen.tabs()->setTabVisible(0, true);
    t.open(module::storedvalue::frmStoreCardManage::SingleTab);
    t.query(module::storedvalue::frmStoreCardManage::SingleTab, "H1");
    std::vector<std::string> seen;
    test::whenModal<dlgCardHistory>([&seen](dlgCardHistory& dialog) {
        seen.push_back(dialog.findChild<QLabel*>("lblSource")->text().toStdString());
        seen.push_back(shownRows(dialog.grid()).at(0));
        seen.push_back(columnText(dialog.grid(), 0, "FBranchNo"));
        auto* source = dialog.findChild<QComboBox*>("cmbSource");
        source->setCurrentIndex(1);
        Q_EMIT source->activated(1);
        seen.push_back(dialog.findChild<QLabel*>("lblSource")->text().toStdString());
        seen.push_back(shownRows(dialog.grid()).at(0));
        dialog.reject();
    });
    t.screen.findChild<QPushButton*>("cmdHistory_0")->click();
    EXPECT_EQ(seen, (std::vector<std::string>{
                        "数据来源：总部数据库（各分店的记录）", "2026-11-20 08:00:00|充值||+50.00|0|50.00",
                        "02", "数据来源：本店数据库", "2026-11-23 10:30:00|积分奖励|+10||10|0.00"}));

    // Without headquarters the branch's own history is shown, and the window says why.
    t.host.setHeadquartersSetting("(local)/Gone/sa/x");
    module::hq::ResetHQConnectionText();
    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("H1"));
    EXPECT_EQ(dialog.findChild<QLabel*>("lblSource")->text().toStdString(),
              "数据来源：本店数据库（总部数据库无法连接）");
    EXPECT_EQ(dialog.grid().rowCount(), 1);
}

TEST(CardHistory, AChangedCardEndsAtNothingAndItsNewCardHoldsWhatItReceived)
{
    test::TestHost host;
    // A database of its own, not a branch of headquarters: its movements explain its cards.
    host.branch().exec("delete from t_SystemProfile where FKey in ('PosSavingServerDb','is_branch')");
    seedHistoryCard(host.branch());
    host.branch().exec("insert into T_Pos_VipRecord (FCardId,FCardType,FCardStatus,FVipEndDate,FSavingFlag)"
                       " values ('H2','03','9','2028-12-31',1)");
    host.clock().set({{2026, 11, 1}, 10, 0, 0});
    module::frame::ExecuteSQL(module::points::RewardGroup({"2", "01", "7"}, "H1", 30));
    host.clock().set({{2026, 11, 15}, 10, 0, 0});
    module::frame::ExecuteSQL(module::storedvalue::RechargeStatements(
        {"7", "2", "01"},
        {"H1", 100_yuan, 100_yuan, 0_yuan, 100_yuan, 100_yuan, "", "2026-11-15 10:00:00", "1"}));
    host.clock().set({{2026, 11, 23}, 10, 30, 0});
    platform::Value old("H1"), old2("H1"), type("03");
    std::string fresh = "H2";
    ASSERT_EQ(module::frame::CardObject()->changeMemberCard(old, old2, fresh, type), 1);
    for (const db::LedgerFinding& finding : db::ledgerFindings(host.branch().db()))
        ADD_FAILURE() << finding.card << ": " << finding.text;

    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load("H1")) << host.messages().last();
    EXPECT_EQ(shownRows(dialog.grid()), (std::vector<std::string>{
                                            "2026-11-23 10:30:00|卡操作|||0|0.00",
                                            "2026-11-23 10:30:00|换卡转出||-100.00|0|0.00",
                                            "2026-11-23 10:30:00|换卡转出|-30||0|100.00",
                                            "2026-11-15 10:00:00|充值||+100.00|30|100.00",
                                            "2026-11-01 10:00:00|积分奖励|+30||30|0.00",
                                        }));
    EXPECT_EQ(columnText(dialog.grid(), 0, "FDetail"), "会员卡管理---换卡：更换成H2");
    EXPECT_EQ(module::cards::MismatchText(dialog.history()), "") << "the history adds up";
    EXPECT_FALSE(dialog.findChild<QLabel*>("lblMismatch")->isVisibleTo(&dialog));
    dialog.resize(1180, 420);
    test::saveShot(dialog, "card-history-changed-card.png");

    // The filter offers both halves of a change; each names the points and the money row.
    dialog.findChild<QComboBox*>("cmbKind")->setCurrentText("换卡转出");
    ASSERT_TRUE(dialog.applyFilter());
    EXPECT_EQ(dialog.totalsText().toStdString(), "共 2 笔　积分变动合计：-30　金额变动合计：-100.00");

    dlgCardHistory received;
    ASSERT_TRUE(received.load("H2"));
    EXPECT_EQ(shownRows(received.grid()), (std::vector<std::string>{
                                              "2026-11-23 10:30:00|卡操作|||30|100.00",
                                              "2026-11-23 10:30:00|换卡转入||+100.00|30|100.00",
                                              "2026-11-23 10:30:00|换卡转入|+30||30|0.00",
                                          }));
    EXPECT_EQ(module::cards::MismatchText(received.history()), "");
    received.findChild<QComboBox*>("cmbKind")->setCurrentText("换卡转入");
    ASSERT_TRUE(received.applyFilter());
    EXPECT_EQ(received.grid().rowCount(), 2);
}

TEST(CardHistory, ADemoCardAddsUpFromNothingAndOneThatDoesNotIsSaidSo)
{
    test::TestHost host;
    host.branch().exec("delete from t_SystemProfile");
    db::seedDemo(host.branch().db(), db::DemoRole::Branch);
    const std::string card = "88000020"; // silver: issued, recharged, rewarded twice, points converted

    dlgCardHistory dialog;
    ASSERT_TRUE(dialog.load(card)) << host.messages().last();
    auto* mismatch = dialog.findChild<QLabel*>("lblMismatch");
    ASSERT_NE(mismatch, nullptr);
    const std::vector<std::string> rows = shownRows(dialog.grid());
    ASSERT_EQ(rows.size(), 6u);
    EXPECT_EQ(rows.back(), "2024-06-17 09:00:00|初始金额||+100.00|0|100.00")
        << "the oldest row starts from nothing";
    EXPECT_EQ(rows.front().substr(rows.front().find('|')), "|积分转储值||+10.00|1200|242.74")
        << "the newest ends at what the card holds";
    EXPECT_EQ(dialog.history().openingPoints, 0);
    ASSERT_TRUE(dialog.history().openingBalance);
    EXPECT_EQ(dialog.history().openingBalance->toString(), "0");
    EXPECT_FALSE(mismatch->isVisibleTo(&dialog)) << mismatch->text().toStdString();
    dialog.resize(1180, 420);
    test::saveShot(dialog, "card-history-demo.png");

    // The same card changed outside its rows: each difference is named, the balance's in yuan.
    auto balance = [](const char* value) { return "'" + platform::encodeBalance(std::string(value)) + "'"; };
    const std::pair<std::string, std::string> cases[] = {
        {"FAccNum=1500", "账目不符：剩余积分比各笔变动的合计多 100。差额不在以下记录中。"},
        {"FResidualAmt=" + balance("230.24"),
         "账目不符：卡上储值余额比各笔变动的合计少 12.50 元。差额不在以下记录中。"},
        {"FResidualAmt=" + balance("300") + ", FDecNum=200.5",
         "账目不符：卡上储值余额比各笔变动的合计多 57.26 元，剩余积分比各笔变动的合计少 0.5。差额不在以下记录"
         "中。"},
    };
    for (const auto& [change, said] : cases) {
        host.branch().exec("update T_Pos_VipRecord set " + change + " where FCardId='" + card + "'");
        dlgCardHistory changed;
        ASSERT_TRUE(changed.load(card));
        auto* label = changed.findChild<QLabel*>("lblMismatch");
        EXPECT_TRUE(label->isVisibleTo(&changed)) << change;
        EXPECT_EQ(label->text().toStdString(), said) << change;
        EXPECT_EQ(shownRows(changed.grid()).size(), rows.size()) << change;
        changed.resize(1180, 420);
        test::saveShot(changed, "card-history-mismatch.png");
        host.branch().exec("update T_Pos_VipRecord set FAccNum=1400, FDecNum=200, FResidualAmt=" +
                           balance("242.74") + " where FCardId='" + card + "'");
    }
}

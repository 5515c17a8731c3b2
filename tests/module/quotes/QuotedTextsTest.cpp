// Texts with quotes and "--" reach every database exactly as they were typed or read, through
// every operation of every screen, at the branch and at headquarters: a card number imported with
// a quote, a memo, a password. No statement sent anywhere can be changed by what it carries.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

#include "../cards/CardScreenFixture.h"
#include "../points/PointsScreenFixture.h"
#include "../storedvalue/StoredValueFixture.h"
#include "module/cards/dlgPWD.h"
#include "module/hq/ReplayOutbox.h"

using namespace ormex;

namespace {

constexpr const char* kCard = "Q'7--";      // as an imported card number may be
constexpr const char* kMemo = "O'B--x';--"; // as an operator may type
const test::TestHostOptions kLinked{.isBranch = true, .svCardShareType = true, .withHeadquarters = true};

// Both databases hold the same rows for a query.
void expectBothHold(test::TestHost& host, const std::string& sql, const std::vector<std::string>& rows)
{
    EXPECT_EQ(host.branch().rows(sql), rows) << "branch: " << sql;
    EXPECT_EQ(host.hq().rows(sql), rows) << "headquarters: " << sql;
}

void expectNothingWaitsForHeadquarters(test::TestHost& host)
{
    EXPECT_EQ(host.branch().scalar("select count(*) from t_HqOutbox").toInt(), 0)
        << "every change reached headquarters";
}

} // namespace

TEST(QuotedTexts, CardOperationsAndPasswords)
{
    test::CardScreen t(kLinked);
    test::seedCards(t.host.hq());
    for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()})
        db->exec(
            "insert into T_Pos_VipRecord (FCardId,FVipName,FCardType,FCardStatus,FVipEndDate,FSavingFlag,"
            "password) values ('Q''7--','钱七','03','0','2027-06-30',1,'')");
    const std::string others = "select FCardId, FCardStatus, FVipEndDate, password from T_Pos_VipRecord "
                               "where FCardId<>'Q''7--' order by FCardId";
    const auto othersBefore = t.host.hq().rows(others);

    auto run = [&](int button) {
        t.search(QString::fromUtf8(kCard));
        ASSERT_EQ(t.item(0), kCard);
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.screen.onStatusClicked(button);
    };
    run(0); // report lost
    expectBothHold(t.host, "select FCardStatus from T_Pos_VipRecord where FCardId='Q''7--'", {"2"});
    run(1); // restore
    t.host.messages().type("30");
    run(2); // extend by 30 days
    expectBothHold(t.host, "select FCardStatus, FVipEndDate from T_Pos_VipRecord where FCardId='Q''7--'",
                   {"0|2027-07-30"});

    // The password that once emptied every password at headquarters, and one with a quote.
    for (const auto& [card, current, password] :
         {std::tuple{kCard, "", "'--abc"}, std::tuple{"C100", "123456", "O'Bri1"}}) {
        test::whenModal<module::cards::dlgPWD>([current = current, password = password, &t](auto& d) {
            d.field(0)->setText(QString::fromUtf8(current));
            d.field(1)->setText(QString::fromUtf8(password));
            d.field(2)->setText(QString::fromUtf8(password));
            t.host.messages().answer(true);
            d.onOk();
        });
        t.search(QString::fromUtf8(card));
        t.screen.onStatusClicked(6);
        EXPECT_EQ(t.host.messages().texts().back(), "会员卡(" + std::string(card) + ")修改密码成功！");
    }
    expectBothHold(t.host,
                   "select password from T_Pos_VipRecord where FCardId in ('Q''7--','C100') order by 1",
                   {"'--abc", "O'Bri1"});
    auto expected = othersBefore;
    for (auto& row : expected)
        if (row.rfind("C100|", 0) == 0) row = row.substr(0, row.rfind('|') + 1) + "O'Bri1";
    EXPECT_EQ(t.host.hq().rows(others), expected) << "no other card changed at headquarters";
    expectNothingWaitsForHeadquarters(t.host);
}

TEST(QuotedTexts, RechargesAndConversions)
{
    test::StoredValueScreen t(kLinked, test::fillSettings("0", false));
    for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()})
        db->exec(
            "insert into T_Pos_VipRecord (FCardId,FVipName,FCardType,FCardStatus,FVipEndDate,FAccNum,FDecNum,"
            "FResidualAmt,FSavingFlag) values ('Q''7--','钱七','02','0','2027-12-31',300,0,'" +
            platform::encodeBalance("10") + "',1)");
    using Screen = module::storedvalue::frmStoreCardManage;

    // A batch recharge of the card with a memo typed with quotes.
    t.query(Screen::BatchTab, QString::fromUtf8(kCard));
    ASSERT_EQ(t.grid(1).rowCount(), 1);
    t.type(1, 0, "FChargeAmt", "20");
    t.type(1, 0, "other1", QString::fromUtf8(kMemo));
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【会员卡充值】?"});

    // The points of the same card into stored value.
    t.open(Screen::PointsTab);
    t.query(Screen::PointsTab, QString::fromUtf8(kCard));
    ASSERT_EQ(t.grid(2).rowCount(), 1);
    t.type(2, 0, "FPoint", "100");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【积分转储值】?"});

    // One card on the single tab, with a memo and a payment number typed with quotes.
    t.screen.tabs()->setTabVisible(Screen::SingleTab, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, QString::fromUtf8(kCard));
    t.field("itChargeAmt").setText("5");
    t.field("itMemo").setText(QString::fromUtf8(kMemo));
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【单卡充值】?"});

    for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()})
        EXPECT_EQ(t.balance(kCard, db), "45") << "10 + 20 + 10 + 5";
    expectBothHold(t.host,
                   "select FCardId, FPlusAmt, FOldAmt, FResidualAmt, other1 from T_Pos_AddMoneyList "
                   "where FCardId='Q''7--' order by FID",
                   {"Q'7--|20|10|30|O'B--x';--", "Q'7--|10|30|40|积分转储值", "Q'7--|5|40|45|O'B--x';--"});
    expectBothHold(t.host, "select FCardId, flag, FVipNum from T_Pos_VipGiftList", {"Q'7--|4|100"});
    EXPECT_EQ(t.balance("S1", &t.host.hq()), "50") << "no other card changed";
    expectNothingWaitsForHeadquarters(t.host);
}

TEST(QuotedTexts, PointsAndGifts)
{
    test::PointsScreen t(kLinked);
    for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()})
        db->exec(
            "insert into T_Pos_VipRecord (FCardId,FVipName,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag,"
            "FVipEndDate) values ('Q''7--','钱七','01','0',100,0,1,'2027-12-31');"
            "insert into T_Pos_VipGift values (107,'All',3,'0102',1,5,'2026-11-01','2026-12-31')");
    t.query(QString::fromUtf8(kCard));
    ASSERT_EQ(t.grid().rowCount(), 1);
    t.screen.option(module::points::frmPointManage::Deduction)->click();
    t.type(0, "FVipNum", "10");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card(kCard), "100|10");

    t.screen.tabs()->setCurrentIndex(2);
    t.screen.memberBox(2)->setText(QString::fromUtf8(kCard));
    t.screen.findChild<QPushButton*>("cmdSearch_2")->click();
    auto& gifts = t.grid(2);
    ASSERT_EQ(gifts.rowCount(), 1);
    gifts.setActiveCell(0, gifts.columnOf("Sel"));
    QTest::keyClick(gifts.viewport(), Qt::Key_Space);
    QApplication::processEvents();
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    ASSERT_EQ(t.host.messages().texts(), std::vector<std::string>{"确定对会员[Q'7--]的积分进行礼品兑换？"});

    expectBothHold(t.host, "select FCardId, flag, FVipNum from T_Pos_VipGiftList order by FID",
                   {"Q'7--|1|10", "Q'7--|2|5"});
    EXPECT_EQ(t.card(kCard), "100|15");
    EXPECT_EQ(t.card("P1", &t.host.hq()), "100|60") << "no other card changed";
    expectNothingWaitsForHeadquarters(t.host);
}

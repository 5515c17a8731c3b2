// A card whose balance or points were changed outside the system (the sqlite3 command on the
// database file): the card screen says so, and the saves that would build on its values refuse it
// by name and write nothing.
#include <gtest/gtest.h>

#include <QLabel>
#include <QRadioButton>

#include "StoredValueFixture.h"
#include "module/cards/CardScreenFixture.h"
#include "module/frame/Gateway.h"
#include "module/points/PointsScreenFixture.h"

using namespace ormex;
using Screen = module::storedvalue::frmStoreCardManage;

TEST(CardsChangedOutside, TheCardScreenWarnsAndStillReportsTheLoss)
{
    test::CardScreen t;
    test::changeOutsideTheSystem(t.host.branch().path(), "update T_Pos_VipRecord set FResidualAmt='" +
                                                             platform::encodeBalance("8850") +
                                                             "' where FCardId='C100'");
    t.screen.show();
    t.search("C101");
    auto* warning = t.screen.findChild<QLabel*>("lblSeal");
    EXPECT_FALSE(warning->isVisibleTo(&t.screen)) << "an untouched card";
    t.search("C100");
    EXPECT_EQ(t.item(9), "8850元") << "the value as it stands";
    EXPECT_TRUE(warning->isVisibleTo(&t.screen));
    EXPECT_NE(warning->text().toStdString().find("校验码不符"), std::string::npos);
    test::saveShot(t.screen, "card-changed-outside.png");

    // Reporting the loss changes neither the balance nor the points: it goes on.
    t.host.messages().answer(true);
    t.screen.statusButton(0)->click();
    EXPECT_EQ(t.status("C100"), "2");
    EXPECT_TRUE(warning->isVisibleTo(&t.screen)) << "still not accepted";
}

TEST(CardsChangedOutside, RechargesAndConversionsRefuseTheCardAndWriteNothing)
{
    test::StoredValueScreen t;
    test::changeOutsideTheSystem(t.host.branch().path(),
                                 "update T_Pos_VipRecord set FAccNum=3000 where FCardId='S2'");
    const auto before = t.host.branch().dump();

    t.open(Screen::BatchTab);
    t.query(Screen::BatchTab);
    t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S1"), "FChargeAmt", "10");
    t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S2"), "FChargeAmt", "10");
    t.host.messages().clear();
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{module::frame::SealRefusal({"S2"}, "会员卡充值")});

    t.open(Screen::PointsTab);
    t.query(Screen::PointsTab);
    t.type(Screen::PointsTab, t.row(Screen::PointsTab, "S2"), "FPoint", "100");
    t.host.messages().clear();
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{module::frame::SealRefusal({"S2"}, "积分转储值")});

    EXPECT_EQ(t.host.branch().dump(), before) << "nothing written, no log row";
    EXPECT_TRUE(t.log.batches.empty());
}

TEST(CardsChangedOutside, PointRewardsAndDeductionsRefuseTheCard)
{
    test::PointsScreen t;
    test::changeOutsideTheSystem(t.host.branch().path(),
                                 "update T_Pos_VipRecord set FDecNum=0 where FCardId='P2'");
    t.query();
    for (const auto& [option, name] : {std::pair{module::points::frmPointManage::Reward, "积分奖励"},
                                       std::pair{module::points::frmPointManage::Deduction, "积分冲减"}}) {
        t.screen.option(option)->click();
        t.type(t.row("P1"), "FVipNum", "5");
        t.type(t.row("P2"), "FVipNum", "5");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), module::frame::SealRefusal({"P2"}, name));
    }
    EXPECT_TRUE(t.log.batches.empty());
    EXPECT_EQ(t.card("P1"), "100|60") << "the other card of the batch is left as well";
}

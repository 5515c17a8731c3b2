// A deduction is written only while the points it read of every card still stand: a card changed
// by another writer between the read and the commit stops the whole deduction, whichever group of
// cards its check falls in, and nothing is written.
#include <gtest/gtest.h>

#include <QRadioButton>

#include "PointsScreenFixture.h"
#include "module/frame/Gateway.h"

using namespace ormex;
using test::PointsScreen;
using Op = module::points::frmPointManage::Operation;

namespace {

// Everything the deduction writes: the cards' points, their movements and totals.
std::vector<std::string> written(PointsScreen& t)
{
    auto rows =
        t.host.branch().rows("select FCardId, FAccNum, FDecNum from T_Pos_VipRecord order by FCardId");
    for (const char* table : {"T_Pos_VipGiftList", "T_Pos_VipConsume"})
        rows.push_back(t.host.branch().rows(std::string("select count(*) from ") + table).at(0));
    return rows;
}

// Deducts `points` from every listed card, filled down from the first row, with `meanwhile` run
// just before the batch reaches the database.
void deductFromEveryRow(PointsScreen& t, const char* points, const std::function<void()>& meanwhile)
{
    t.query();
    t.screen.option(Op::Deduction)->click();
    t.type(0, "FVipNum", points);
    t.grid().setActiveCell(0, t.grid().columnOf("FVipNum"));
    t.screen.onBatchFill(0);
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.log.beforeRun = meanwhile;
    t.ok();
    t.log.beforeRun = nullptr;
}

} // namespace

TEST(PointsDeductionChecks, AChangeToEitherValueOrADeletionOfOneCardAfterTheReadStopsTheDeduction)
{
    PointsScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FAccFlag=0 where FCardId in ('P4','P5')");
    const auto before = written(t);
    // Each change to P2 and the card as it stands after it.
    const std::vector<std::pair<std::string, std::string>> changes = {
        {"FDecNum=FDecNum+1", "P2|100|81"}, {"FAccNum=FAccNum+1", "P2|101|80"}, {"FDeleted=1", "P2|100|80"}};
    for (const auto& [change, changedCard] : changes) {
        deductFromEveryRow(t, "5", [&] {
            t.host.branch().exec("update T_Pos_VipRecord set " + change + " where FCardId='P2'");
        });
        EXPECT_EQ(t.host.messages().last(), module::frame::kChangedSinceReadMessage) << change;
        auto expected = before;
        expected[1] = changedCard;
        EXPECT_EQ(written(t), expected) << change << ": nothing of the deduction was written";
        t.host.branch().exec(
            "update T_Pos_VipRecord set FAccNum=100, FDecNum=80, FDeleted=0 where FCardId='P2'");
    }
    // Read again, the same deduction goes through.
    deductFromEveryRow(t, "5", {});
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确定对列表中会员进行积分冲减"});
    EXPECT_EQ(t.card("P1"), "100|65");
    EXPECT_EQ(t.card("P2"), "100|85");
    EXPECT_EQ(t.card("P3"), "50|5");
}

TEST(PointsDeductionChecks, TheChangedCardIsFoundInAnyGroupOfCards)
{
    PointsScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FAccFlag=0 where FCardId='P4'");
    // 1,200 cards besides the fixture's: several groups of checks.
    t.host.branch().exec(
        "with recursive n(i) as (select 0 union all select i+1 from n where i<1199)"
        " insert into T_Pos_VipRecord (FCardId,FVipName,FCardType,FCardStatus,FAccNum,FDecNum,"
        "FAccFlag) select 'R'||(100000+i),'会员'||i,'01','0',100,10,1 from n");
    const auto before = written(t);
    // A card of the first group, of one in the middle and of the last, in the order the checks
    // list the cards.
    for (const char* card : {"R100003", "R100700", "R101199"}) {
        deductFromEveryRow(t, "1", [&] {
            t.host.branch().exec("update T_Pos_VipRecord set FDecNum=11 where FCardId='" + std::string(card) +
                                 "'");
        });
        EXPECT_EQ(t.host.messages().last(), module::frame::kChangedSinceReadMessage) << card;
        t.host.branch().exec("update T_Pos_VipRecord set FDecNum=10 where FCardId='" + std::string(card) +
                             "'");
        EXPECT_EQ(written(t), before) << card;
    }
    deductFromEveryRow(t, "1", {});
    EXPECT_EQ(
        t.host.branch().rows("select count(*), sum(FDecNum) from T_Pos_VipRecord where FCardId like 'R%'"),
        std::vector<std::string>{"1200|13200"});
}

// Points added up in the database may hold binary digits beyond the 15 the system writes numbers
// with: unchanged, they still are what was read.
TEST(PointsDeductionChecks, PointsSummedInTheDatabaseCompareAsRead)
{
    PointsScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FAccNum=0.1, FDecNum=0.1 where FCardId='P1';"
                         "update T_Pos_VipRecord set FAccNum=FAccNum+0.2 where FCardId='P1'");
    ASSERT_EQ(t.host.branch().rows("select FAccNum=0.3 from T_Pos_VipRecord where FCardId='P1'"),
              std::vector<std::string>{"0"});
    t.query("P1");
    t.screen.option(Op::Deduction)->click();
    t.type(0, "FVipNum", "0.1");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确定对列表中会员进行积分冲减"});
    EXPECT_EQ(t.card("P1"), "0.3|0.2");
}

// What the grouped checks take as one card, and what they cannot both hold.
TEST(PointsDeductionChecks, ACardListedTwiceCountsOnceAndOtherValuesForItCannotHold)
{
    using module::frame::CardPointsRead;
    PointsScreen t;
    const std::string batch = "update T_Pos_VipRecord set FVipName='checked' where FCardId='P3'";
    auto runs = [&](const std::vector<CardPointsRead>& cards) {
        t.host.branch().exec("update T_Pos_VipRecord set FVipName='王芳' where FCardId='P3'");
        try {
            module::frame::ExecuteSQL(batch, module::frame::CardPointsChecks(cards));
        } catch (const platform::ChangedSinceReadError&) {
            EXPECT_EQ(t.host.branch().rows("select FVipName from T_Pos_VipRecord where FCardId='P3'").at(0),
                      "王芳");
            return false;
        }
        return true;
    };
    const platform::Value blank("");
    EXPECT_TRUE(runs({{"P1", platform::Value(100), platform::Value(60)},
                      {"p1", platform::Value(100.0), platform::Value("60")},
                      {"P2", platform::Value(100), platform::Value(80)}}))
        << "one card in two spellings with the same values";
    EXPECT_FALSE(runs({{"P1", platform::Value(100), platform::Value(60)},
                       {"p1", platform::Value(100), platform::Value(59)},
                       {"P2", platform::Value(100), platform::Value(80)}}))
        << "the card cannot hold 59 and 60 at once";
    EXPECT_FALSE(runs({{"P1", platform::Value(100), blank}})) << "a card with points was read as none";
    EXPECT_FALSE(runs({{"P9", blank, blank}})) << "a card that is not there is not counted";
}

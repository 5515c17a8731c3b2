// The points rewards of a branch linked to headquarters reach headquarters with the branch's data
// exchange, once, before anything reads headquarters' points: a reward followed by a deduction of
// the same card keeps the reward at both ends.
#include <gtest/gtest.h>

#include <QRadioButton>

#include "PointsScreenFixture.h"
#include "module/hq/DataExchange.h"
#include "module/hq/ReplayOutbox.h"

using namespace ormex;
using Op = module::points::frmPointManage;

namespace {

class LinkedPoints : public test::PointsScreen
{
public:
    LinkedPoints() : PointsScreen({.isBranch = true, .svCardShareType = true, .withHeadquarters = true}) {}
    void commit(Op::Operation operation, const char* card, const char* points)
    {
        query();
        screen.option(operation)->click();
        type(row(card), "FVipNum", points);
        host.messages().answer(true);
        ok();
    }
    void headquarters(const char* setting)
    {
        host.setHeadquartersSetting(setting);
        module::hq::ResetHQConnectionText();
    }
};

} // namespace

TEST(RewardsReachHeadquarters, ARewardThenADeductionKeepTheRewardAtBothEnds)
{
    LinkedPoints t; // P1 holds 100 accumulated, 60 used, at both ends
    t.commit(Op::Reward, "P1", "10");
    EXPECT_EQ(t.card("P1"), "110|60");
    EXPECT_EQ(t.card("P1", &t.host.hq()), "110|60") << "the reward reached headquarters";
    t.commit(Op::Deduction, "P1", "5");
    EXPECT_EQ(t.card("P1"), "110|65") << "the deduction wrote headquarters' points, reward included";
    EXPECT_EQ(t.card("P1", &t.host.hq()), "110|65");
    EXPECT_EQ(t.host.hq().rows("select FCardId,FBranchNo,FVipAccNum,FVipMinusTotalNum from T_Pos_VipConsume"),
              std::vector<std::string>{"P1|01|10|5"})
        << "this branch's totals at headquarters";
    EXPECT_EQ(t.host.branch().rows("select FComFlag from T_Pos_VipConsume"), std::vector<std::string>{"1"});
}

TEST(RewardsReachHeadquarters, ARewardMadeWhileHeadquartersIsAwayIsSentBeforeTheNextDeduction)
{
    LinkedPoints t;
    t.headquarters("(local)/Gone/sa/pw");
    t.commit(Op::Reward, "P1", "10");
    EXPECT_EQ(t.card("P1"), "110|60") << "the reward stands at the branch";
    EXPECT_EQ(module::hq::PendingExchange(), 1);
    EXPECT_EQ(module::hq::QueuedForHQ().waiting, 1) << "the reward waits for headquarters";

    t.headquarters("(local)/HQ/sa/pw");
    t.commit(Op::Deduction, "P1", "5");
    EXPECT_EQ(t.card("P1"), "110|65");
    EXPECT_EQ(t.card("P1", &t.host.hq()), "110|65");
    EXPECT_EQ(module::hq::PendingExchange(), 0);
}

TEST(RewardsReachHeadquarters, ARewardHeadquartersTookButTheBranchDidNotMarkIsNotTakenTwice)
{
    LinkedPoints t;
    // The branch fails right after headquarters committed: the movement cannot be marked.
    t.host.branch().exec("create trigger interrupted before update of FComFlag on T_Pos_VipGiftList"
                         " begin select raise(abort, 'power cut'); end");
    t.commit(Op::Reward, "P1", "10");
    EXPECT_EQ(t.card("P1", &t.host.hq()), "110|60");
    EXPECT_EQ(module::hq::PendingExchange(), 1);

    t.host.branch().exec("drop trigger interrupted");
    module::hq::ExchangeWithHQ();
    EXPECT_EQ(module::hq::PendingExchange(), 0);
    EXPECT_EQ(t.card("P1", &t.host.hq()), "110|60")
        << "headquarters knew the movement and did not take it again";
    EXPECT_EQ(t.movements(&t.host.hq()).size(), 1u);
}

// A large points commit runs while the window keeps turning: timers fire, the bar moves, the
// commands stay off until the end, a close waits for the commit, and a commit that fails part-way
// writes nothing.
#include <gtest/gtest.h>

#include <QProgressBar>
#include <QRadioButton>
#include <QTimer>

#include <set>

#include "PointsScreenFixture.h"
#include "module/frame/Gateway.h"

using namespace ormex;
using Op = module::points::frmPointManage::Operation;

namespace {

constexpr int kCards = 20000;

// kCards more members, R100000 on, each with 100 points left; the member list shows them all.
void seedManyCards(test::PointsScreen& t)
{
    t.host.branch().exec("with recursive n(i) as (select 0 union all select i+1 from n where i<" +
                         std::to_string(kCards - 1) +
                         ") insert into T_Pos_VipRecord "
                         "(FCardId,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag)"
                         " select 'R'||(100000+i),'会员'||i,'137'||(10000000+i),'01','0',100,0,1 from n");
    t.query();
}

// One point for every listed card, filled down from the first row.
void rewardEveryRow(test::PointsScreen& t)
{
    t.screen.option(Op::Reward)->click();
    t.type(0, "FVipNum", "1");
    t.grid().setActiveCell(0, t.grid().columnOf("FVipNum"));
    t.screen.onBatchFill(0);
}

std::string pointsOfTheManyCards(test::PointsScreen& t)
{
    return t.host.branch()
        .rows("select count(*), sum(FAccNum) from T_Pos_VipRecord where FCardId like 'R%'")
        .at(0);
}

} // namespace

TEST(PointsCommitOffThread, TheWindowTurnsWhileTheBatchRunsAndACloseWaitsForItsEnd)
{
    test::PointsScreen t;
    seedManyCards(t);
    rewardEveryRow(t);

    // From the moment the batch is handed to the database until OK returns.
    bool running = false;
    int ticksWhileRunning = 0;
    std::set<int> barValues;
    bool okEnabled = true, gridEnabled = true, stillShownAfterClose = false, closeAsked = false;
    bool shot = false;
    t.log.beforeRun = [&] { running = true; };
    QTimer timer;
    timer.setInterval(2);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (!running) return;
        ++ticksWhileRunning;
        QProgressBar& bar = *t.screen.progressBar();
        barValues.insert(bar.value());
        okEnabled = okEnabled && t.screen.findChild<QPushButton*>("cmdOk")->isEnabled();
        gridEnabled = gridEnabled && t.grid().isEnabled();
        if (!shot && bar.value() * 10 > bar.maximum() * 6 && bar.value() * 10 < bar.maximum() * 9) {
            test::saveShot(t.screen, "points-commit-running.png");
            shot = true;
        }
        if (!closeAsked && barValues.size() >= 3) {
            closeAsked = true;
            t.screen.close();
            stillShownAfterClose = t.screen.isVisible();
        }
    });
    timer.start();
    t.host.messages().answer(true);
    t.ok();
    running = false;
    timer.stop();

    EXPECT_GE(ticksWhileRunning, 3) << "a timer fires while the batch runs";
    EXPECT_GE(barValues.size(), 3u) << "the bar moves while the batch runs";
    EXPECT_FALSE(okEnabled);
    EXPECT_FALSE(gridEnabled);
    ASSERT_TRUE(closeAsked);
    EXPECT_TRUE(stillShownAfterClose) << "the screen stays while its commit runs";
    EXPECT_EQ(pointsOfTheManyCards(t), std::to_string(kCards) + "|" + std::to_string(kCards * 101));
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确定对列表中会员进行积分奖励？"});
    EXPECT_EQ(t.screen.progressBar()->value(), t.screen.progressBar()->maximum());
    EXPECT_TRUE(t.screen.findChild<QPushButton*>("cmdOk")->isEnabled()) << "the commands are back";
    EXPECT_TRUE(t.grid().isEnabled());
    QCoreApplication::processEvents();
    EXPECT_FALSE(t.screen.isVisible()) << "the close asked for during the commit happens after it";
}

TEST(PointsCommitOffThread, ABatchFailingPartWayWritesNothing)
{
    test::PointsScreen t;
    seedManyCards(t);
    const std::string before = pointsOfTheManyCards(t);
    // The database refuses the movement of a card in the middle of the list.
    t.host.branch().exec("create trigger refuse_one before insert on T_Pos_VipGiftList"
                         " when new.FCardId='R110000' begin select raise(abort,'disk full'); end");
    rewardEveryRow(t);
    t.host.messages().answer(true);
    t.ok();

    const auto texts = t.host.messages().texts();
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_NE(texts[1].find("disk full"), std::string::npos) << texts[1];
    EXPECT_EQ(texts[2], "保存数据失败！");
    EXPECT_EQ(pointsOfTheManyCards(t), before);
    EXPECT_EQ(t.host.branch().rows("select count(*) from T_Pos_VipGiftList").at(0), "0");
    EXPECT_EQ(t.host.branch().rows("select count(*) from T_Pos_VipConsume").at(0), "0");
    EXPECT_TRUE(t.screen.isChanged(0)) << "the points stay on the grid for another try";
    EXPECT_TRUE(t.screen.findChild<QPushButton*>("cmdOk")->isEnabled());
}

TEST(PointsCommitOffThread, ACardDeletedAfterTheListWasReadStopsTheWholeReward)
{
    test::PointsScreen t;
    seedManyCards(t);
    const std::string before = pointsOfTheManyCards(t);
    rewardEveryRow(t);
    // The last card in the order the checks group them in, and one of the first.
    for (const char* card : {"R119999", "R100001"}) {
        t.host.branch().exec("update T_Pos_VipRecord set FDeleted=1 where FCardId='" + std::string(card) +
                             "'");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), module::frame::kChangedSinceReadMessage) << card;
        EXPECT_EQ(t.host.branch().rows("select count(*) from T_Pos_VipGiftList").at(0), "0") << card;
        EXPECT_EQ(pointsOfTheManyCards(t), before) << card;
        t.host.branch().exec("update T_Pos_VipRecord set FDeleted=0 where FCardId='" + std::string(card) +
                             "'");
        t.query();
        rewardEveryRow(t);
    }
}

// A large batch recharge runs while the window keeps turning: timers fire during the commit, the
// tabs and the commands stay off until its end, and every card is recharged.
#include <gtest/gtest.h>

#include <QTimer>

#include "StoredValueFixture.h"
#include "platform/Text.h"

using namespace ormex;
using test::StoredValueScreen;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {

constexpr int kCards = 5000;

// kCards more stored-value cards, V100000 on, each holding 10 yuan.
void seedManyCards(StoredValueScreen& t)
{
    t.host.branch().exec(
        "with recursive n(i) as (select 0 union all select i+1 from n where i<" + std::to_string(kCards - 1) +
        ") insert into T_Pos_VipRecord (FCardId,FCardFlowno,FVipName,mobile,FCardType,"
        "FCardStatus,FVipEndDate,FAccNum,FDecNum,FResidualAmt,FPlusAmt,FSavingFlag)"
        " select 'V'||(100000+i),'FV'||i,'会员'||i,'136'||(10000000+i),'03','0','2027-12-31',"
        "0,0," +
        platform::quoted(platform::encodeBalance(std::string("10"))) + ",100,1 from n");
}

} // namespace

TEST(StoredValueCommitOffThread, TheWindowTurnsWhileABatchRechargeRunsWithItsControlsOff)
{
    StoredValueScreen t({}, test::fillSettings("500", false));
    seedManyCards(t);
    t.open(Screen::BatchTab);
    t.query(Screen::BatchTab);
    ASSERT_GT(t.grid(Screen::BatchTab).rowCount(), kCards);
    t.type(Screen::BatchTab, 0, "FChargeAmt", "10");
    t.grid(Screen::BatchTab).setActiveCell(0, t.grid(Screen::BatchTab).columnOf("FChargeAmt"));
    t.host.messages().answer(true);
    t.screen.onBatchFill();

    QWidget* controls[] = {t.screen.tabs(), t.screen.findChild<QPushButton*>("cmdOk"),
                           t.screen.findChild<QPushButton*>("cmdCancel"),
                           t.screen.findChild<QPushButton*>("cmdPrint")};
    for (QWidget* control : controls) {
        ASSERT_NE(control, nullptr);
        ASSERT_TRUE(control->isEnabled());
    }
    // From the moment the batch is handed to the database until OK returns.
    bool running = false, anyEnabled = false;
    int ticksWhileRunning = 0;
    t.log.beforeRun = [&] { running = true; };
    QTimer timer;
    timer.setInterval(2);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (!running) return;
        ++ticksWhileRunning;
        for (QWidget* control : controls)
            anyEnabled = anyEnabled || control->isEnabled();
    });
    timer.start();
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    running = false;
    timer.stop();

    EXPECT_GE(ticksWhileRunning, 3) << "a timer fires while the batch runs";
    EXPECT_FALSE(anyEnabled) << "the tabs, OK, cancel and print are off during the commit";
    for (QWidget* control : controls)
        EXPECT_TRUE(control->isEnabled()) << control->objectName().toStdString() << " is back after it";
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【会员卡充值】?"});
    EXPECT_EQ(t.host.branch()
                  .rows("select count(*), count(distinct FCardId) from T_Pos_AddMoneyList where FCardId like "
                        "'V%'")
                  .at(0),
              std::to_string(kCards) + "|" + std::to_string(kCards));
    for (const char* card : {"V100000", "V102500", "V104999"})
        EXPECT_EQ(t.balance(card), "20") << card;
}

// A branch on its SQLite file whose headquarters is a PostgreSQL server: the screens read
// headquarters' values there, their changes are replayed there with their log rows, and a
// headquarters that goes away mid-session is met with the online checks' messages while the
// branch's own change stands and waits.
#include <gtest/gtest.h>

#include <QRadioButton>

#include <chrono>
#include <memory>
#include <thread>

#include "PgHeadquarters.h"
#include "module/cards/CardScreenFixture.h"
#include "module/hq/ReplayOutbox.h"
#include "module/points/PointsScreenFixture.h"
#include "module/storedvalue/StoredValueFixture.h"
#include "platform/BalanceCodec.h"
#include "support/FrozenBackends.h"

using namespace ormex;
using test::PgHeadquarters;
using Op = module::points::frmPointManage::Operation;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {

constexpr int kLossButton = 0;
constexpr int kExtendButton = 2;

using Rows = std::vector<std::string>;

} // namespace

TEST(LinkedBranchOnPostgres, APointsDeductionIsCheckedAndReplayedAtHeadquarters)
{
    SKIP_WITHOUT_PG_CLUSTER();
    test::PointsScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    PgHeadquarters hq(t.host);
    hq.execute("update T_Pos_VipRecord set FDecNum=95 where FCardId='P1'");
    t.query();
    t.screen.option(Op::Deduction)->click();
    t.type(t.row("P1"), "FVipNum", "10");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts().back(), "卡号【P1】冲减积分超过剩余积分，不能冲减！")
        << "headquarters holds only 5 points";
    EXPECT_TRUE(t.movements().empty());

    hq.execute("update T_Pos_VipRecord set FDecNum=70 where FCardId='P1'");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.card("P1"), "100|80") << "the branch writes the values read at headquarters";
    EXPECT_EQ(hq.rows("select FAccNum, FDecNum from T_Pos_VipRecord where FCardId='P1'"), Rows{"100|80"})
        << "headquarters' used points are raised too";
    EXPECT_EQ(hq.rows("select FCardId,flag,FItemNum,FVipNum,fuserid,memo,FComFlag from T_Pos_VipGiftList"),
              Rows{"P1|1|0|10|7|积分冲减|1"});
    EXPECT_EQ(hq.rows("select FFunctionID,FStatement,FDescription from t_Log"),
              Rows{"MCM0001|5|分店[01]进行积分管理---积分冲减"});
    EXPECT_EQ(hq.rows("select count(*) from t_HqReplay"), Rows{"1"});
    EXPECT_TRUE(t.movements(&t.host.hq()).empty()) << "HQ.db, where the rows came from, is not headquarters";
    EXPECT_EQ(module::hq::QueuedForHQ().waiting, 0);
}

TEST(LinkedBranchOnPostgres, ARechargeReadsTheBalanceAtHeadquartersAndIsReplayedThere)
{
    SKIP_WITHOUT_PG_CLUSTER();
    test::StoredValueScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true},
                              "insert into t_SystemProfile values ('VIP','MaxFillAmount','500'),"
                              " ('VIP','AllowFillPlusAmt','0')");
    PgHeadquarters hq(t.host);
    hq.execute("update T_Pos_VipRecord set FResidualAmt='" + platform::encodeBalance(std::string("80")) +
               "' where FCardId='S1'");
    t.query(Screen::BatchTab, "S1");
    const int s1 = t.row(1, "S1");
    EXPECT_EQ(t.grid(1).cellStd(s1, "FResidualAmt"), "80.00") << "the list is read at headquarters";
    t.screen.resize(960, 620);
    test::saveShot(t.screen, "stored-value-hq-postgres.png");
    t.type(1, s1, "FChargeAmt", "10");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.balance("S1"), "90") << "the branch writes headquarters' balance plus the recharge";
    EXPECT_EQ(hq.rows("select dbo.f_decrypt(FResidualAmt) from T_Pos_VipRecord where FCardId='S1'"),
              Rows{"90"});
    EXPECT_EQ(hq.rows("select FCardId,FPlusAmt,fuserid,FOldAmt,Fbranchid,FBranchno,other1,FPlusRealAmt,"
                      "FResidualAmt,FBalanceStyle,FComFlag from T_Pos_AddMoneyList where other1 is null or "
                      "other1<>'初始金额' order by FID"),
              Rows{"S1|10|7|80|2|01||10|90|1|1"});
    EXPECT_EQ(hq.rows("select FDescription from t_Log"), Rows{"分店[01]进行储值管理---会员卡充值"});
}

TEST(LinkedBranchOnPostgres, ACardOperationIsReplayedAtHeadquarters)
{
    SKIP_WITHOUT_PG_CLUSTER();
    test::CardScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    test::seedCards(t.host.hq());
    PgHeadquarters hq(t.host);
    t.search("C100");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(kLossButton);
    EXPECT_EQ(t.status("C100"), "2");
    EXPECT_EQ(hq.rows("select FCardStatus from T_Pos_VipRecord where FCardId='c100'"), Rows{"2"})
        << "card numbers compare without regard to case at headquarters too";
    EXPECT_EQ(hq.rows("select FFunctionID,FDescription,FMachineName from t_Log"),
              Rows{"MCM0001|分店[01]进行卡状态管理---修改密码|POS-01"});

    t.host.messages().type("30");
    t.screen.onStatusClicked(kExtendButton);
    EXPECT_EQ(hq.rows("select FVipEndDate, FCardStatus from T_Pos_VipRecord where FCardId='C100'"),
              Rows{"2027-07-30|2"})
        << "headquarters receives the end date only";
}

TEST(LinkedBranchOnPostgres, HeadquartersGoingAwayMidSessionIsMetByTheOnlineCheckAndTheLocalChangeWaits)
{
    SKIP_WITHOUT_PG_CLUSTER();
    test::PointsScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    PgHeadquarters hq(t.host);
    hq.execute("update T_Pos_VipRecord set FDecNum=70 where FCardId='P1'");
    t.query();
    t.screen.option(Op::Deduction)->click();

    // Gone before the save: the online check refuses, nothing is written anywhere.
    hq.goAway();
    t.type(t.row("P1"), "FVipNum", "10");
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts().back(), "检测到未联上总部数据库，请联网后再冲减积分！");
    EXPECT_EQ(t.card("P1"), "100|60");
    EXPECT_TRUE(t.movements().empty());

    // Gone after headquarters was read and checked, as the branch writes its change: the change
    // stands at the branch and waits in the queue with its reason.
    hq.comeBack();
    t.query();
    t.type(t.row("P1"), "FVipNum", "10");
    t.log.beforeRun = [&] { hq.goAway(); };
    t.host.messages().answer(true);
    t.ok();
    t.log.beforeRun = nullptr;
    EXPECT_EQ(t.card("P1"), "100|80") << "the local change stands";
    EXPECT_EQ(module::hq::QueuedForHQ().waiting, 1);

    hq.comeBack();
    EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(hq.rows("select FCardId,flag,FVipNum,memo from T_Pos_VipGiftList"), Rows{"P1|1|10|积分冲减"})
        << "replayed once headquarters is back";
    EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(hq.rows("select count(*) from t_Log"), Rows{"1"}) << "and only once";
}

TEST(LinkedBranchOnPostgres, AFrozenHeadquartersIsGivenUpOnAtTheDeadlineAndTheLocalChangeWaits)
{
    SKIP_WITHOUT_PG_CLUSTER();
    using namespace std::chrono_literals;
    using Clock = std::chrono::steady_clock;
    test::PointsScreen t(
        {.isBranch = true, .svCardShareType = true, .withHeadquarters = true, .hqDeadline = 2s});
    PgHeadquarters hq(t.host);
    hq.execute("update T_Pos_VipRecord set FDecNum=70 where FCardId='P1'");
    t.query();
    t.screen.option(Op::Deduction)->click();
    t.type(t.row("P1"), "FVipNum", "10");

    // Headquarters' server processes stop as the branch writes its change (a hung server, or a link
    // that carries nothing): the replay waits for the deadline, no longer.
    std::unique_ptr<test::FrozenBackends> frozen;
    t.log.beforeRun = [&] { frozen = std::make_unique<test::FrozenBackends>(hq.pg.name()); };
    t.host.messages().answer(true);
    const Clock::time_point saved = Clock::now();
    t.ok();
    const auto answered = Clock::now() - saved;
    t.log.beforeRun = nullptr;
    ASSERT_TRUE(frozen) << "the save reached the branch's write";
    EXPECT_LT(answered, 10s) << "the till came back; a hang would never";
    RecordProperty("freeze_to_answer_ms",
                   static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(answered).count()));
    EXPECT_EQ(t.card("P1"), "100|80") << "the local change stands";
    module::hq::ReplayState state = module::hq::QueuedForHQ();
    EXPECT_EQ(state.waiting, 1);
    EXPECT_EQ(state.held, 0) << "not reaching headquarters is no refusal";
    EXPECT_TRUE(state.lastError.starts_with("总部数据库无法连接")) << state.lastError;

    // Thawed, headquarters is asked again once a deadline has passed since it fell silent (not at
    // every question meanwhile), and takes the change once.
    frozen.reset();
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(module::hq::SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(hq.rows("select FCardId,flag,FVipNum,memo from T_Pos_VipGiftList"), Rows{"P1|1|10|积分冲减"});
    EXPECT_EQ(hq.rows("select count(*) from t_HqReplay"), Rows{"1"});
}

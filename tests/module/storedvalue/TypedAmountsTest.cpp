// What an operator types as an amount reaches the checks as typed, never changed into another
// amount, and balances are exact sums of what was recharged and deducted.
#include <gtest/gtest.h>

#include <QLineEdit>
#include <QTest>

#include <random>

#include <QMessageBox>

#include "StoredValueFixture.h"
#include "host/ui/QtMessageService.h"
#include "module/widgets/CodeList.h"

using namespace ormex;
using test::StoredValueScreen;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {
const std::string kNoNegatives = test::fillSettings("0", false);
const std::string kNegativesAllowed = test::fillSettings("0", true);

// Types into a line edit key by key, as an operator does.
void typeKeys(QLineEdit& edit, const char* text)
{
    edit.clear();
    edit.setFocus();
    QTest::keyClicks(&edit, QString::fromLatin1(text));
}
} // namespace

TEST(TypedAmounts, AMinusSignOrAnExponentIsNeverDroppedFromARecharge)
{
    StoredValueScreen t({}, kNoNegatives);
    t.query(Screen::BatchTab, "S1");
    ASSERT_EQ(t.grid(1).rowCount(), 1);
    t.type(1, 0, "FChargeAmt", "-5.79");
    EXPECT_EQ(t.grid(1).cellStd(0, "FChargeAmt"), "-5.79") << "the sign stays in the cell";
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"充值金额不允许为负数！"});
    EXPECT_EQ(t.grid(1).currentColumn(), t.grid(1).columnOf("FChargeAmt"));
    if (std::getenv("ORMEX_SHOTS")) {
        // The refusal as the host's message box shows it over the screen.
        platform::HostServices::instance().setMessageService(std::make_shared<host::QtMessageService>());
        test::whenModal<QMessageBox>([&](QMessageBox& box) {
            test::saveShotWithDialog(t.screen, box, "typed-negative-refused.png");
            box.accept();
        });
        t.ok();
        // The scripted operator again, not owned here: the host keeps it.
        platform::HostServices::instance().setMessageService(
            std::shared_ptr<platform::MessageService>(std::shared_ptr<void>(), &t.host.messages()));
    }

    // A number written with an exponent is refused at once; the cell keeps the amount it had.
    t.host.messages().clear();
    t.type(1, 0, "FChargeAmt", "1e20");
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"【充值金额】只能输入数字，最多2位小数，不能接受“1e20”！"});
    EXPECT_EQ(t.grid(1).cellStd(0, "FChargeAmt"), "-5.79");
    EXPECT_EQ(t.balance("S1"), "50");
    EXPECT_TRUE(t.moneyRows().empty());

    // The single-card tab keeps every key typed and refuses what is no amount by name.
    t.screen.tabs()->setTabVisible(Screen::SingleTab, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, "S1");
    for (const auto& [charge, refusal] :
         {std::pair{"-5.79", "充值金额不允许为负数！"},
          std::pair{"1e20", "【充值金额】只能输入数字，最多2位小数，不能接受“1e20”！"},
          std::pair{"12.345", "【充值金额】只能输入数字，最多2位小数，不能接受“12.345”！"}}) {
        typeKeys(*t.field("itChargeAmt").edit(), charge);
        EXPECT_EQ(t.field("itCharge").textStd(), charge) << "mirrored as typed";
        t.host.messages().clear();
        t.ok();
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{refusal}) << charge;
    }
    EXPECT_EQ(t.balance("S1"), "50");
    EXPECT_TRUE(t.moneyRows().empty());
}

TEST(TypedAmounts, TheAmountConditionOfAQueryIsReadAsTyped)
{
    StoredValueScreen t({}, kNoNegatives);
    t.screen.comparison(Screen::BatchTab)->setCurrentIndex(0); // >=
    typeKeys(*t.screen.amountBox(Screen::BatchTab), "1e1");
    t.query(Screen::BatchTab);
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{"【剩余金额】只能输入数字，最多2位小数，不能接受“1e1”！"});
    EXPECT_EQ(t.grid(1).rowCount(), 0) << "no query ran with another amount";
    typeKeys(*t.screen.amountBox(Screen::BatchTab), "10");
    t.query(Screen::BatchTab);
    EXPECT_EQ(t.grid(1).rowCount(), 1) << "S1 (50); S2 holds 5";
}

TEST(TypedAmounts, BalancesAreTheExactSumOfWhatWasRechargedAndDeducted)
{
    StoredValueScreen t({}, kNegativesAllowed);
    auto recharge = [&](const char* amount) {
        t.query(Screen::BatchTab, "S1");
        t.type(1, 0, "FChargeAmt", amount);
        t.type(1, 0, "FActualAmt", amount);
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        ASSERT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【会员卡充值】?"}) << amount;
    };
    // The operator's sequence: 50 + 81.78 = 131.78, less 131.58, then three times 0.1.
    for (const char* amount : {"81.78", "-131.58", "0.1", "0.1", "0.1"})
        recharge(amount);
    EXPECT_EQ(t.balance("S1"), "0.5");
    EXPECT_EQ(t.field("itLeaveAmt_1").textStd(), "0.5元");
    EXPECT_EQ(t.host.branch().rows("select FOldAmt, FResidualAmt from T_Pos_AddMoneyList where other1 is "
                                   "null or other1<>'初始金额' order by FID"),
              (std::vector<std::string>{"50|131.78", "131.78|0.2", "0.2|0.3", "0.3|0.4", "0.4|0.5"}));

    // Any sequence of whole cents ends at the exact sum.
    std::mt19937 random(31);
    std::int64_t cents = 50;
    for (int i = 0; i < 25; ++i) {
        const int step = static_cast<int>(random() % 20000) - 5000;
        if (cents + step < 0 || step == 0) continue;
        cents += step;
        const std::string amount = (step < 0 ? "-" : "") + std::to_string(std::abs(step) / 100) + "." +
                                   std::to_string(std::abs(step) % 100 / 10) +
                                   std::to_string(std::abs(step) % 10);
        recharge(amount.c_str());
    }
    EXPECT_EQ(t.balance("S1"), platform::Money::fromUnits(cents * 100).toString());
}

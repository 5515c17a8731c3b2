// Saves of the stored-value screen that must never cost or give a card money twice: deductions
// measured against the balance as it is when the save runs, the card on the panel, the payment
// method, headquarters dropping around the save, and what the screen holds after a commit.
#include <gtest/gtest.h>

#include "StoredValueFixture.h"
#include "module/hq/ReplayOutbox.h"
#include "sql/Database.h"

using namespace ormex;
using test::StoredValueScreen;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {

const std::string kLooseFill = test::fillSettings("0", true);

// A till takes money from a card outside the screen.
void tillSets(StoredValueScreen& t, const char* card, const char* balance)
{
    auto till = db::Database::open(t.host.branch().path());
    till->execute("update T_Pos_VipRecord set FResidualAmt='" +
                  platform::encodeBalance(std::string(balance)) + "' where FCardId='" + card + "'");
}

// The scripted operator, with something happening just after the next question was answered.
class AfterTheQuestion : public platform::MessageService
{
public:
    AfterTheQuestion(test::ScriptedMessageService& operatorSays, std::function<void()> then)
        : m_operator(operatorSays), m_then(std::move(then))
    {
    }
    void message(const std::string& text, const std::string& title, platform::MessageIcon icon) override
    {
        m_operator.message(text, title, icon);
    }
    bool question(const std::string& text, const std::string& title, platform::MessageIcon icon) override
    {
        const bool yes = m_operator.question(text, title, icon);
        if (auto then = std::exchange(m_then, {})) then();
        return yes;
    }
    std::optional<std::string> input(const std::string& prompt, const std::string& title,
                                     const std::string& defaultText) override
    {
        return m_operator.input(prompt, title, defaultText);
    }
    void error(const std::string& description) override { m_operator.error(description); }
    void warning(const std::string& text) override { m_operator.warning(text); }
    std::optional<std::string> saveFileName(const std::string& title, const std::string& proposedName,
                                            const std::string& filter) override
    {
        return m_operator.saveFileName(title, proposedName, filter);
    }

private:
    test::ScriptedMessageService& m_operator;
    std::function<void()> m_then;
};

const test::TestHostOptions kLinked{.isBranch = true, .svCardShareType = true, .withHeadquarters = true};

// Headquarters can no longer be reached by the branch, or can again.
void headquartersGone(StoredValueScreen& t, bool gone)
{
    t.host.setHeadquartersSetting(gone ? "(local)/Gone/sa/x" : "(local)/HQ/sa/x");
    module::hq::ResetHQConnectionText();
}

} // namespace

TEST(StoredValueSafeSaves, ADeductionBeyondTheBalanceAsItIsNowIsRefused)
{
    // S1 shows 50; a till leaves it 20 before OK; deducting 30 would leave -10.
    for (const int tab : {Screen::SingleTab, Screen::BatchTab}) {
        StoredValueScreen t({}, kLooseFill);
        t.screen.tabs()->setTabVisible(0, true);
        t.open(tab);
        t.query(tab, "S1");
        if (tab == Screen::SingleTab) {
            t.field("itChargeAmt").setText("-30");
            t.field("itActualAmt").setText("-30");
        } else {
            t.type(tab, t.row(tab, "S1"), "FChargeAmt", "-30");
            t.type(tab, t.row(tab, "S1"), "FActualAmt", "-30");
        }
        tillSets(t, "S1", "20");
        const auto before = t.host.branch().dump();
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"扣减的充值金额不能大于卡余额！"})
            << tab;
        EXPECT_EQ(t.host.branch().dump(), before) << tab << ": nothing written";
        EXPECT_EQ(t.balance("S1"), "20") << tab;
        if (tab == Screen::BatchTab) test::saveShot(t.screen, "stored-value-deduction-refused.png");

        // Down to exactly zero is a deduction the card can pay.
        tillSets(t, "S1", "30");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.balance("S1"), "0") << tab;
    }
}

TEST(StoredValueSafeSaves, NoRechargeWithoutAPaymentMethod)
{
    // "99" is no payment method's number: the tab is left without a method, and OK refuses.
    for (const int tab : {Screen::SingleTab, Screen::BatchTab}) {
        StoredValueScreen t;
        t.screen.tabs()->setTabVisible(0, true);
        t.open(tab);
        t.query(tab, "S1");
        if (tab == Screen::SingleTab) {
            t.field("itChargeAmt").setText("10");
            t.field("itBalanceStyle").setText("99");
            Q_EMIT t.field("itBalanceStyle").edit()->editingFinished();
        } else {
            t.type(tab, 0, "FChargeAmt", "10");
            t.type(tab, 0, "FBalanceStyle", "99");
        }
        const auto before = t.host.branch().dump();
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"请选择付款方式！"}) << tab;
        EXPECT_EQ(t.host.branch().dump(), before) << tab << ": nothing written";
    }

    // A method chosen by its number, then shown by its name, stays chosen.
    StoredValueScreen t;
    t.screen.tabs()->setTabVisible(0, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, "S1");
    t.field("itChargeAmt").setText("10");
    t.field("itBalanceStyle").setText("02");
    Q_EMIT t.field("itBalanceStyle").edit()->editingFinished();
    Q_EMIT t.field("itBalanceStyle").edit()->editingFinished();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.moneyRows(), std::vector<std::string>{"S1|10|7|50|2|01||10|60|2|1"});
}

TEST(StoredValueSafeSaves, TheSingleCardTabRechargesTheCardOnItsPanelWithItsOwnBalance)
{
    StoredValueScreen t({}, kLooseFill);
    t.screen.tabs()->setTabVisible(0, true);
    t.open(Screen::SingleTab);
    t.query(Screen::SingleTab, "S1");
    // The batch tab shows S2 (5 yuan) on its panel meanwhile.
    t.open(Screen::BatchTab);
    t.query(Screen::BatchTab);
    t.grid(1).setActiveCell(t.row(1, "S2"), t.grid(1).columnOf("FChargeAmt"));
    ASSERT_EQ(t.field("itCardID_1").textStd(), "S2");
    t.open(Screen::SingleTab);
    t.field("itChargeAmt").setText("-30");
    t.field("itActualAmt").setText("-30");
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"是否确认【单卡充值】?"})
        << "S1's 50 pays the deduction; S2's 5 is no measure of it";
    EXPECT_EQ(t.moneyRows(), std::vector<std::string>{"S1|-30|7|50|2|01||-30|20|1|1"})
        << "the old balance is S1's";

    // A different number typed into the search box is not what is checked: the card on the panel
    // is, as it is now. S1 reported lost after it was found is refused though S2 is typed.
    t.screen.numberBox(Screen::SingleTab)->setText("S2");
    t.field("itChargeAmt").setText("10");
    t.host.branch().exec("update T_Pos_VipRecord set FCardStatus='2' where FCardId='S1'");
    const auto before = t.host.branch().dump();
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"该会员卡不在正常使用状态，不能充值！"});
    EXPECT_EQ(t.host.branch().dump(), before);

    // Reported lost between the operator's Yes and the save: the save writes nothing.
    t.host.branch().exec("update T_Pos_VipRecord set FCardStatus='0' where FCardId='S1'");
    t.log.beforeRun = [&] {
        auto other = db::Database::open(t.host.branch().path());
        other->execute("update T_Pos_VipRecord set FCardStatus='2' where FCardId='S1'");
    };
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(
        t.host.messages().texts(),
        (std::vector<std::string>{"是否确认【单卡充值】?",
                                  "卡上的积分或余额已被其他操作修改，或该卡已被删除，请重新查询后再试！"}));
    EXPECT_EQ(t.balance("S1"), "20");
    EXPECT_EQ(t.moneyRows().size(), 1u);
}

TEST(StoredValueSafeSaves, HeadquartersDroppingAfterTheQuestionIsSaidSo)
{
    StoredValueScreen t(kLinked);
    t.query(Screen::BatchTab, "S1");
    t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S1"), "FChargeAmt", "10");
    platform::HostServices::instance().setMessageService(
        std::make_shared<AfterTheQuestion>(t.host.messages(), [&] { headquartersGone(t, true); }));
    const auto hq = t.host.hq().dump();
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"是否确认【会员卡充值】?", "总部数据库无法连接"}))
        << "not that another operation changed the balance";
    EXPECT_TRUE(t.moneyRows().empty()) << "nothing written at the branch, nothing queued";
    EXPECT_EQ(t.host.branch().rows("select count(*) from t_HqOutbox"), std::vector<std::string>{"0"});
    EXPECT_EQ(t.balance("S1"), "50");
    EXPECT_EQ(t.host.hq().dump(), hq);
}

TEST(StoredValueSafeSaves, AfterTheCommitASecondOkSendsNothingAgain)
{
    // The log row cannot be written: the recharge stands, the operator is told, and the amounts
    // are gone from the tab.
    for (const int tab : {Screen::SingleTab, Screen::BatchTab}) {
        StoredValueScreen t;
        t.host.branch().exec(
            "create trigger no_log before insert on t_OperLog begin select raise(abort, 'log full'); end");
        t.screen.tabs()->setTabVisible(0, true);
        t.open(tab);
        t.query(tab, "S1");
        if (tab == Screen::SingleTab)
            t.field("itChargeAmt").setText("10");
        else
            t.type(tab, t.row(tab, "S1"), "FChargeAmt", "10");
        t.host.messages().answer(true);
        t.ok();
        const std::string saved =
            tab == Screen::SingleTab ? "【单卡充值】已保存，但" : "【会员卡充值】已保存，但";
        ASSERT_EQ(t.host.messages().texts().size(), 2u) << tab;
        EXPECT_EQ(t.host.messages().texts()[1], saved + "写入操作日志失败。");
        EXPECT_EQ(t.balance("S1"), "60") << tab;
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.balance("S1"), "60") << tab << ": the same recharge is not written twice";
        EXPECT_EQ(t.moneyRows().size(), 1u) << tab;
    }

    // Headquarters drops just after the commit: the cards cannot be read again there. When it is
    // back, OK has nothing left to send; the queued recharge reaches headquarters once.
    StoredValueScreen t(kLinked);
    t.query(Screen::BatchTab, "S1");
    t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S1"), "FChargeAmt", "10");
    t.log.beforeRun = [&] { headquartersGone(t, true); };
    t.host.messages().answer(true);
    t.ok();
    t.log.beforeRun = {};
    EXPECT_EQ(
        t.host.messages().texts(),
        (std::vector<std::string>{"是否确认【会员卡充值】?",
                                  "【会员卡充值】已保存，但重新读取会员卡失败（总部数据库无法连接）。"}));
    EXPECT_EQ(t.balance("S1"), "60");
    EXPECT_EQ(t.grid(Screen::BatchTab).rowCount(), 0) << "rows that were not read again are not kept";
    headquartersGone(t, false);
    t.host.messages().answer(true);
    t.ok();
    module::hq::SendQueuedToHQ();
    EXPECT_EQ(t.moneyRows().size(), 1u);
    EXPECT_EQ(t.balance("S1", &t.host.hq()), "60");
    EXPECT_EQ(t.moneyRows(&t.host.hq()).size(), 1u);
}

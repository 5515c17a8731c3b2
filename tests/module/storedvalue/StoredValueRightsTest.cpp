// The rights of the stored-value screen: recharges, negative recharges and points to stored value
// are each refused to an operator whose role lacks the right, with the function named, a log row,
// no final question and nothing written; the cashier recharges.
#include <gtest/gtest.h>

#include "StoredValueFixture.h"
#include "store/Operators.h"

using namespace ormex;
using test::StoredValueScreen;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {

// Negative recharges allowed, no maximum: only the rights stand in the way.
const std::string kLooseFill = test::fillSettings("0", true);

// Every row but the log of refusals.
std::vector<std::string> dataOf(test::TestDatabase& db)
{
    auto rows = db.dump();
    std::erase_if(rows, [](const std::string& row) { return row.find("|RIGHT|") != std::string::npos; });
    return rows;
}

std::string refusal(const std::string& function)
{
    return "您没有【" + function + "】的权限，不能进行该操作，请与系统管理员联系！";
}

} // namespace

TEST(StoredValueRights, EachKindOfSaveNeedsItsOwnRight)
{
    const std::string recharge = "会员卡充值", negative = "会员卡负数充值（扣减余额）", points = "积分转储值";
    struct Case
    {
        const char* role;                // cashier: hy0014 only; others hold `rights`
        std::vector<std::string> rights; // of a role made for the case
        int tab;
        std::vector<const char*> amounts; // S1, S2 on tabs 0 and 1; points of S2 on tab 2
        std::string refused;              // the function refused; "" when the save goes through
        const char* logged;               // the refusal's log row
    };
    const Case cases[] = {
        {"cashier", {}, Screen::SingleTab, {"100"}, "", ""},
        {"cashier", {}, Screen::SingleTab, {"-10"}, negative, "（hy0015）：S1"},
        {"cashier", {}, Screen::BatchTab, {"100", "20"}, "", ""},
        {"cashier", {}, Screen::BatchTab, {"100", "-5"}, negative, "（hy0015）"},
        {"cashier", {}, Screen::PointsTab, {"100"}, points, "（hy0016）"},
        {"withdraw", {"hy0015"}, Screen::SingleTab, {"-10"}, "", ""},
        {"withdraw", {"hy0015"}, Screen::BatchTab, {"100", "-5"}, recharge, "（hy0014）"},
        {"withdraw", {"hy0015"}, Screen::SingleTab, {"10"}, recharge, "（hy0014）：S1"},
        {"till", {"hy0014", "hy0015"}, Screen::BatchTab, {"100", "-5"}, "", ""},
        {"till", {"hy0014", "hy0015"}, Screen::PointsTab, {"100"}, points, "（hy0016）"},
        {"points", {"hy0016"}, Screen::PointsTab, {"100"}, "", ""},
    };
    for (const Case& c : cases) {
        const std::string name = std::string(c.role) + " tab " + std::to_string(c.tab);
        StoredValueScreen t({.role = c.role}, kLooseFill);
        if (!c.rights.empty()) db::grantRights(t.host.branch().db(), c.role, c.rights);
        if (c.tab == Screen::SingleTab) {
            t.screen.tabs()->setTabVisible(Screen::SingleTab, true);
            t.open(Screen::SingleTab);
            t.query(Screen::SingleTab, "S1");
            t.field("itChargeAmt").setText(c.amounts[0]);
        } else if (c.tab == Screen::BatchTab) {
            t.query(Screen::BatchTab);
            ASSERT_EQ(t.grid(1).rowCount(), 2) << name;
            for (const auto& [card, amount] :
                 {std::pair{"S1", c.amounts[0]}, std::pair{"S2", c.amounts[1]}}) {
                t.type(1, t.row(1, card), "FChargeAmt", amount);
                t.type(1, t.row(1, card), "FActualAmt", amount);
            }
        } else {
            t.open(Screen::PointsTab);
            t.query(Screen::PointsTab);
            t.type(2, t.row(2, "S2"), "FPoint", c.amounts[0]);
        }
        const auto before = dataOf(t.host.branch());
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        if (c.refused.empty()) {
            EXPECT_EQ(t.host.messages().texts().size(), 1u) << name << ": the final question alone";
            EXPECT_NE(dataOf(t.host.branch()), before) << name << ": saved";
            continue;
        }
        EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{refusal(c.refused)})
            << name << ": refused before the final question";
        EXPECT_EQ(dataOf(t.host.branch()), before) << name << ": nothing written";
        EXPECT_EQ(t.host.branch().rows("select FUserID, FDescription, FMachineName from t_OperLog"),
                  std::vector<std::string>{"7|权限不足，拒绝【" + c.refused + "】" + c.logged + "|pos-01"})
            << name;
    }
}

// What a cashier may not do: every card operation and every points operation is refused by the
// task lock with the function's name, nothing is written, and the refusal is logged once.
#include <gtest/gtest.h>

#include <QRadioButton>

#include "CardScreenFixture.h"
#include "module/points/PointsScreenFixture.h"
#include "store/Operators.h"

using namespace ormex;

namespace {

const test::TestHostOptions kCashier{.role = "cashier"};

// Every row but the log of refusals.
std::vector<std::string> dataOf(test::TestDatabase& db)
{
    auto rows = db.dump();
    std::erase_if(rows, [](const std::string& row) { return row.find("|RIGHT|") != std::string::npos; });
    return rows;
}

} // namespace

TEST(OperatorRights, ACashierIsRefusedEveryCardOperation)
{
    test::CardScreen t(kCashier);
    t.search("C100");
    const auto before = dataOf(t.host.branch());
    std::vector<std::string> expected;
    for (const auto& [button, code] :
         {std::pair{0, "hy0001"}, std::pair{1, "hy0002"}, std::pair{2, "hy0003"}, std::pair{3, "hy0004"},
          std::pair{5, "hy0005"}, std::pair{6, "hy0006"}}) {
        t.host.messages().answer(true);
        t.screen.onStatusClicked(button);
        expected.push_back(db::rightRefusal(code));
    }
    EXPECT_EQ(t.host.messages().texts(), expected);
    EXPECT_EQ(expected.front(), "您没有【会员卡挂失】的权限，不能进行该操作，请与系统管理员联系！");
    EXPECT_EQ(dataOf(t.host.branch()), before) << "nothing written, no task registered";
    EXPECT_EQ(t.host.branch().rows("select FUserID, FFunctionID, FDescription, FMachineName from t_OperLog"),
              (std::vector<std::string>{
                  "7|RIGHT|权限不足，拒绝【会员卡挂失】（hy0001）：C100|pos-01",
                  "7|RIGHT|权限不足，拒绝【会员卡恢复】（hy0002）：C100|pos-01",
                  "7|RIGHT|权限不足，拒绝【会员卡延期】（hy0003）：C100|pos-01",
                  "7|RIGHT|权限不足，拒绝【会员卡换卡】（hy0004）：C100|pos-01",
                  "7|RIGHT|权限不足，拒绝【会员卡作废】（hy0005）：C100|pos-01",
                  "7|RIGHT|权限不足，拒绝【设置会员卡密码】（hy0006）：C100|pos-01",
              }));
}

TEST(OperatorRights, ACashierIsRefusedRewardsDeductionsAndClearing)
{
    test::PointsScreen t(kCashier);
    t.query();
    const auto before = dataOf(t.host.branch());
    for (int option : {0, 1, 2}) {
        t.screen.option(option)->click();
        if (option != 2) t.type(t.row("P1"), "FVipNum", "5");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), db::rightRefusal("hy0008")) << option;
        EXPECT_EQ(t.host.messages().texts().size(), 2u) << "the question, then the refusal alone";
    }
    EXPECT_EQ(dataOf(t.host.branch()), before);
    EXPECT_TRUE(t.log.batches.empty());
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_OperLog where FFunctionID='RIGHT'").toInt(), 3);
}

TEST(OperatorRights, AnAdministratorIsAllowedAndARevokedRightIsRefusedAtOnce)
{
    test::CardScreen t;
    t.search("C100");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(0);
    EXPECT_EQ(t.status("C100"), "2");

    db::grantRights(t.host.branch().db(), "admin", {"hy0002"}, true);
    t.host.messages().clear();
    t.host.messages().answer(true);
    t.screen.onStatusClicked(1);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{db::rightRefusal("hy0002")});
    EXPECT_EQ(t.status("C100"), "2");
}

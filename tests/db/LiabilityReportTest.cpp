// The liability report over the demo branch (cards of every type and status, balances and
// points): its totals against sums the database computes on its own, a balance that does not
// decode listed apart, and the movements of a period.
#include <gtest/gtest.h>

#include <cmath>

#include "db/DemoData.h"
#include "db/LiabilityReport.h"
#include "platform/BalanceCodec.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

// The group's line, or a line of 0 cards.
db::LiabilityLine lineOf(const std::vector<db::LiabilityLine>& lines, const std::string& prefix)
{
    for (const auto& line : lines)
        if (line.group.rfind(prefix, 0) == 0) return line;
    return {};
}

} // namespace

TEST(LiabilityReport, TotalsAgreeWithTheDatabaseAndAnUndecodableBalanceStandsApart)
{
    test::ScopedClock clock(2026, 11, 23);
    test::TestDatabase t;
    db::seedDemo(t.db(), db::DemoRole::Branch);
    const std::string broken = t.scalar("select min(FCardId) from T_Pos_VipRecord where FCardStatus='0' and "
                                        "FSavingFlag=1")
                                   .toString();
    t.exec("update T_Pos_VipRecord set FResidualAmt='%%' where FCardId='" + broken + "'");
    t.exec("update T_Pos_VipRecord set FDeleted=1 where FCardId=(select max(FCardId) from T_Pos_VipRecord)");

    const db::LiabilityReport report = db::liabilityReport(t.db(), "2026-11-01", "2026-11-23");
    ASSERT_EQ(report.undecodable.size(), 1u);
    EXPECT_EQ(report.undecodable[0].card, broken);
    EXPECT_EQ(report.undecodable[0].stored, "%%");

    // The same sums by the database's own decoding, over the cards that count.
    const std::string counted = " from T_Pos_VipRecord where FDeleted=0 and FCardId<>'" + broken + "'";
    EXPECT_EQ(report.total.cards, t.scalar("select count(*)" + counted).toInt());
    EXPECT_NEAR(report.total.balance,
                t.scalar("select sum(cast(dbo.f_decrypt(FResidualAmt) as float))" + counted).toDouble(),
                0.005);
    EXPECT_DOUBLE_EQ(report.total.points,
                     t.scalar("select sum(isnull(FAccNum,0)-isnull(FDecNum,0))" + counted).toDouble());
    for (const auto& [lines, column] :
         {std::pair{&report.byType, "FCardType"}, std::pair{&report.byBranch, "FBranchno"}}) {
        double balance = 0, points = 0;
        long cards = 0;
        for (const auto& line : *lines) {
            balance += line.balance;
            points += line.points;
            cards += line.cards;
        }
        EXPECT_EQ(cards, report.total.cards) << column;
        EXPECT_NEAR(balance, report.total.balance, 0.01) << column;
        EXPECT_DOUBLE_EQ(points, report.total.points) << column;
    }
    const auto gold = lineOf(report.byType, "03 ");
    EXPECT_EQ(gold.cards, t.scalar("select count(*)" + counted + " and FCardType='03'").toInt());
    EXPECT_NEAR(
        gold.balance,
        t.scalar("select sum(cast(dbo.f_decrypt(FResidualAmt) as float))" + counted + " and FCardType='03'")
            .toDouble(),
        0.005);
    for (const char* status : {"正常", "失效", "挂失", "作废", "黑名单", "未使用"})
        EXPECT_GT(lineOf(report.byStatus, status).cards, 0) << status;
    EXPECT_EQ(lineOf(report.byStatus, "未使用").balance, 0);
}

TEST(LiabilityReport, TheMovementsOfThePeriodOnly)
{
    test::TestDatabase t;
    t.exec("insert into T_Pos_AddMoneyList (FCardId, FPlusAmt, FOperDate, other1) values"
           " ('A', 100.5, '2026-11-01 08:00:00', ''), ('A', 20, '2026-11-23 21:00:00', '现金'),"
           " ('A', 7, '2026-10-31 23:59:59', ''), ('B', 30, '2026-11-05 10:00:00', '积分转储值'),"
           " ('C', '" +
           platform::encodeBalance(std::string("250")) +
           "', '2026-11-02 09:00:00', '初始金额');"
           "insert into T_Pos_VipGiftList (FCardId, flag, FVipNum, FOperDate) values"
           " ('A', '3', 10, '2026-11-02'), ('A', '3', 5, '2026-11-03'), ('A', '1', 4, '2026-11-04'),"
           " ('A', '5', 9, '2026-11-24')");
    const auto report = db::liabilityReport(t.db(), "2026-11-01", "2026-11-23");
    ASSERT_EQ(report.money.size(), 3u);
    EXPECT_EQ(report.money[0].kind, "充值");
    EXPECT_EQ(report.money[0].rows, 2);
    EXPECT_DOUBLE_EQ(report.money[0].total, 120.5);
    EXPECT_EQ(report.money[1].kind, "积分转储值");
    EXPECT_DOUBLE_EQ(report.money[1].total, 30);
    EXPECT_EQ(report.money[2].kind, "初始金额");
    EXPECT_DOUBLE_EQ(report.money[2].total, 250) << "the issue amount is held encoded";
    ASSERT_EQ(report.points.size(), 2u);
    EXPECT_EQ(report.points[0].kind, "积分冲减");
    EXPECT_EQ(report.points[1].kind, "积分奖励");
    EXPECT_EQ(report.points[1].rows, 2);
    EXPECT_DOUBLE_EQ(report.points[1].total, 15);
}

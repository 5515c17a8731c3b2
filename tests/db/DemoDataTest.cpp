#include <gtest/gtest.h>

#include <map>

#include "platform/BalanceCodec.h"
#include "platform/Money.h"
#include "store/DemoData.h"
#include "store/LargeData.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using namespace ormex;
using test::TestDatabase;

TEST(DemoData, BranchHoldsEveryKindOfCardAndSetting)
{
    test::ScopedClock clock(2026, 11, 23);
    TestDatabase t;
    db::seedDemo(t.db(), db::DemoRole::Branch);

    for (const char* status : {"0", "1", "2", "3", "4", "9"}) {
        EXPECT_GT(t.scalar(std::string("select count(*) from T_Pos_VipRecord where FCardStatus='") + status +
                           "' and FSavingFlag=1")
                      .toInt(),
                  0)
            << status;
        EXPECT_GT(t.scalar(std::string("select count(*) from T_Pos_VipRecord where FCardStatus='") + status +
                           "' and FSavingFlag=0")
                      .toInt(),
                  0)
            << status;
    }
    EXPECT_GT(t.scalar("select count(*) from T_Pos_VipRecord where FVipEndDate='2026-11-23'").toInt(), 0);
    EXPECT_GT(
        t.scalar("select count(*) from T_Pos_VipRecord where FVipEndDate<'2026-11-23' and FCardStatus='0'")
            .toInt(),
        0);
    EXPECT_EQ(t.scalar("select count(*) from T_Pos_VipRecord where mobile='13900000001'").toInt(), 2);
    EXPECT_EQ(t.scalar("select count(*) from t_SystemProfile where FCategory='VIP'").toInt(), 22);
    EXPECT_EQ(
        t.scalar("select FValue from t_SystemProfile where FCategory='VIP' and FKey='PosSavingServerDb'")
            .toString(),
        "(local)/HQ/sa/ormex");
    EXPECT_EQ(t.rows("select FKey,FValue from t_SystemProfile where lower(FCategory)='ic' order by FKey"),
              (std::vector<std::string>{"g_branch_no|01", "is_branch|1"}));
    // Warehouses of the branch: numbers that start with 01 and go on.
    EXPECT_EQ(t.rows("select FNumber from t_stock where FNumber like '01_%' order by FNumber"),
              (std::vector<std::string>{"0101", "0102"}));
    EXPECT_EQ(t.rows("select FItemID,FNumber from t_PayMethod where FName='现金'"),
              std::vector<std::string>{"1|01"});
    EXPECT_GT(t.scalar("select count(*) from T_Pos_VipGift where FEndDate<'2026-11-23'").toInt(), 0);
    EXPECT_GT(t.scalar("select count(*) from T_Pos_VipGift where FCardType='All' and FEndDate>='2026-11-23'")
                  .toInt(),
              0);
    EXPECT_GT(t.scalar("select count(*) from t_Item i where FIsAuxi=1 and exists(select 1 from t_AuxProp a "
                       "where a.FItemID=i.FItemID)")
                  .toInt(),
              0);
    EXPECT_GT(
        t.scalar("select count(*) from T_Pos_VipRecordCheck c join T_Pos_VipRecord r on r.FCardId=c.FCardId "
                 "where c.FVipEmail<>r.FVipEmail")
            .toInt(),
        0);
    EXPECT_GT(t.scalar("select count(*) from T_Pos_VipRecordCheck where FModifyDate='2026-11-23'").toInt(),
              0);

    // Every stored-value card in use that holds a balance was issued with an amount, encoded in the
    // money list as the card import writes it, and named on the card.
    EXPECT_EQ(t.rows("select r.FCardId from T_Pos_VipRecord r where r.FSavingFlag=1 and r.FCardStatus<>'9'"
                     " and r.FResidualAmt<>'0' and not exists (select 1 from T_Pos_AddMoneyList m"
                     " where m.FCardId=r.FCardId and m.other1='初始金额')"),
              std::vector<std::string>{});
    auto issues = t.db().query("select m.FPlusAmt, r.FPlusAmt as FCardAmt from T_Pos_AddMoneyList m"
                               " join T_Pos_VipRecord r on r.FCardId=m.FCardId where m.other1='初始金额'");
    EXPECT_GT(issues.recordCount(), 50u);
    for (; !issues.atEnd(); issues.moveNext())
        EXPECT_EQ(platform::decodeBalance(issues.field("FPlusAmt").toString()),
                  issues.field("FCardAmt").toString());
}

namespace {

platform::Money amountOf(const platform::Value& value)
{
    return platform::Money::fromDouble(value.toDouble()).value();
}

// What a card's rows say it holds, from nothing: the money rows' amounts (the issue amount
// decoded), the rewards and what was spent; and what its totals rows hold.
struct Explained
{
    platform::Money balance;
    double accumulated = 0, used = 0;
    double totalsAccumulated = 0, totalsCurrent = 0, totalsUsed = 0;
    std::string firstRow = "9999";
};

std::map<std::string, Explained> explained(TestDatabase& t)
{
    std::map<std::string, Explained> cards;
    for (auto rs = t.db().query("select FCardId, FPlusAmt, other1, FOperDate from T_Pos_AddMoneyList");
         !rs.atEnd(); rs.moveNext()) {
        Explained& card = cards[rs.field("FCardId").toString()];
        card.balance +=
            rs.field("other1").toString() == "初始金额"
                ? platform::Money::parse(platform::decodeBalance(rs.field("FPlusAmt").toString())).value()
                : amountOf(rs.field("FPlusAmt"));
        card.firstRow = std::min(card.firstRow, rs.field("FOperDate").toString());
    }
    for (auto rs = t.db().query("select FCardId, flag, FVipNum, FOperDate from T_Pos_VipGiftList");
         !rs.atEnd(); rs.moveNext()) {
        Explained& card = cards[rs.field("FCardId").toString()];
        (rs.field("flag").toString() == "3" ? card.accumulated : card.used) += rs.field("FVipNum").toDouble();
        card.firstRow = std::min(card.firstRow, rs.field("FOperDate").toString());
    }
    for (auto rs = t.db().query(
             "select FCardId, FVipAccNum, FVipCurAccNum, FVipMinusTotalNum from T_Pos_VipConsume");
         !rs.atEnd(); rs.moveNext()) {
        Explained& card = cards[rs.field("FCardId").toString()];
        card.totalsAccumulated += rs.field("FVipAccNum").toDouble();
        card.totalsCurrent += rs.field("FVipCurAccNum").toDouble();
        card.totalsUsed += rs.field("FVipMinusTotalNum").toDouble();
    }
    return cards;
}

} // namespace

TEST(DemoData, EveryCardHoldsWhatItsRowsExplainAtTheBranchAndAtHeadquarters)
{
    test::ScopedClock clock(2026, 11, 23);
    TestDatabase branch, hq("HQ.db");
    db::seedDemo(branch.db(), db::DemoRole::Branch);
    db::seedDemo(hq.db(), db::DemoRole::Headquarters);
    for (TestDatabase* t : {&branch, &hq}) {
        auto rows = explained(*t);
        long cards = 0;
        for (auto rs = t->db().query("select FCardId, FResidualAmt, FAccNum, FDecNum, FOperDate from "
                                     "T_Pos_VipRecord");
             !rs.atEnd(); rs.moveNext(), ++cards) {
            const std::string id = rs.field("FCardId").toString();
            const Explained& card = rows[id];
            const auto balance = platform::tryDecodeBalance(rs.field("FResidualAmt").toString());
            ASSERT_TRUE(balance) << id;
            EXPECT_EQ(platform::Money::fromDouble(*balance).value().toString(), card.balance.toString())
                << id;
            EXPECT_EQ(rs.field("FAccNum").toDouble(), card.accumulated) << id;
            EXPECT_EQ(rs.field("FDecNum").toDouble(), card.used) << id;
            EXPECT_EQ(card.totalsAccumulated, card.accumulated) << id;
            EXPECT_EQ(card.totalsCurrent, card.accumulated) << id;
            EXPECT_EQ(card.totalsUsed, card.used) << id;
            if (card.firstRow != "9999") {
                EXPECT_GE(card.firstRow, rs.field("FOperDate").toString())
                    << id << ": nothing before the issue";
            }
        }
        EXPECT_EQ(cards, 200);
        EXPECT_EQ(rows.size(), 200u) << "no rows of a card that is not there";
        EXPECT_LT(t->scalar("select max(FOperDate) from T_Pos_VipGiftList").toString(), "2026-11-23");
        EXPECT_LT(t->scalar("select max(FOperDate) from T_Pos_AddMoneyList").toString(), "2026-11-23");
    }
    // Every kind of row is there to be seen, the same at both.
    EXPECT_EQ(branch.rows("select distinct flag from T_Pos_VipGiftList order by flag"),
              (std::vector<std::string>{"1", "2", "3", "4", "5"}));
    EXPECT_EQ(branch.rows("select distinct other1 from T_Pos_AddMoneyList order by other1"),
              (std::vector<std::string>{"", "会员日充值", "初始金额", "积分转储值"}));
    for (const char* table : {"T_Pos_VipGiftList", "T_Pos_AddMoneyList", "T_Pos_VipConsume"})
        EXPECT_EQ(branch.rows(std::string("select * from ") + table + " order by 1"),
                  hq.rows(std::string("select * from ") + table + " order by 1"))
            << table;
}

TEST(DemoData, HeadquartersHoldsTheSameCards)
{
    TestDatabase branch, hq("HQ.db");
    db::seedDemo(branch.db(), db::DemoRole::Branch);
    db::seedDemo(hq.db(), db::DemoRole::Headquarters);
    EXPECT_EQ(branch.rows("select FCardId,FResidualAmt,FAccNum from T_Pos_VipRecord order by FCardId"),
              hq.rows("select FCardId,FResidualAmt,FAccNum from T_Pos_VipRecord order by FCardId"));
    EXPECT_EQ(hq.rows("select FValue from t_SystemProfile where FKey='is_branch'"),
              std::vector<std::string>{"0"});
    EXPECT_EQ(hq.scalar("select count(*) from T_Pos_VipRecordCheck").toInt(), 0);
}

TEST(LargeData, GeneratesCardsAfterTheOnesThere)
{
    TestDatabase t;
    db::generateCards(t.db(), 500);
    db::generateCards(t.db(), 250);
    EXPECT_EQ(t.scalar("select count(*) from T_Pos_VipRecord").toInt(), 750);
    EXPECT_EQ(t.scalar("select max(FCardId) from T_Pos_VipRecord").toString(), "9000000749");
    EXPECT_GT(t.scalar("select count(*) from T_Pos_VipRecord where FSavingFlag=1 and "
                       "convert(float,dbo.f_decrypt(FResidualAmt))>0")
                  .toInt(),
              0);
}

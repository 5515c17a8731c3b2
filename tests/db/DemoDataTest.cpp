#include <gtest/gtest.h>

#include "db/DemoData.h"
#include "db/LargeData.h"
#include "platform/BalanceCodec.h"
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

    // Every stored-value card has its issue amount, encoded, in the money list.
    auto issues = t.db().query("select FCardId, FPlusAmt from T_Pos_AddMoneyList where other1='初始金额'");
    EXPECT_EQ(issues.recordCount(),
              static_cast<std::size_t>(
                  t.scalar("select count(*) from T_Pos_VipRecord where FSavingFlag=1").toInt()));
    for (; !issues.atEnd(); issues.moveNext())
        EXPECT_EQ(platform::decodeBalance(issues.field("FPlusAmt").toString()), "100");
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

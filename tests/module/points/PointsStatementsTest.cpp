// The points statements of the points screen: their exact text, and what they do to the rows when
// run as one batch on a fresh database.
#include <gtest/gtest.h>

#include "module/points/PointsStatements.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using namespace ormex::module::points;
using ormex::test::ScopedClock;
using ormex::test::TestDatabase;

namespace {

class PointsBatch : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.exec("insert into t_SystemProfile values ('ic','g_branch_no','01'), ('ic','is_branch','1');"
               "insert into T_Pos_VipRecord (FCardId, FCardStatus, FAccNum, FDecNum) values"
               " ('C1','0',100,60), ('C2','0',100,80), ('C3','0',50,0);");
    }
    std::string consume(const std::string& card)
    {
        auto r = t.rows("select FBranchno, FVipCurAccNum, FVipAccNum, FVipMinusTotalNum, FComFlag from "
                        "T_Pos_VipConsume where FCardId='" +
                        card + "' and Fbranchid=2");
        return r.empty() ? "none" : r.front();
    }
    std::string card(const std::string& id)
    {
        return t.rows("select FAccNum, FDecNum from T_Pos_VipRecord where FCardId='" + id + "'").at(0);
    }

    ScopedClock clock{2026, 11, 23, 10, 30, 5};
    TestDatabase t;
    PointsSession s{"2", "01", "7"};
};

} // namespace

TEST_F(PointsBatch, TheTextsAreThoseOfTheSystem)
{
    EXPECT_EQ(
        RewardGroup(s, "C3", 50),
        "\r\ninsert into "
        "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,"
        "memo,FComFlag)\r\nselect 2,'01','C3','3',0,50 ,7,getdate(),'积分奖励',0\r\n"
        "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='C3' and FBranchID=2)\r\n"
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)\r\n"
        " select 'C3',2,'01',50,50,'0'  \r\n Else \r\n"
        " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+50,"
        "FVipAccNum=isnull(FVipAccNum,0)+50\r\n where FCardId='C3' and FBranchID=2\r\n\r\n"
        "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +50\r\n where FCardId='C3'\r\n");
    EXPECT_EQ(
        DeductionGroup(s, 2, "C1", 30, 100, 60),
        "\r\ninsert into "
        "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,"
        "memo,FComFlag)\r\nselect 2,'01','C1','1',0,30 ,7,getdate(),'积分冲减',1\r\n"
        " declare @blnIsinset2 int \r\n set @blnIsinset2=1 \r\n"
        " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='C1' and FBranchID=2)\r\n begin \r\n"
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )\r\n"
        " select 'C1',2,'01',30,'1' \r\n set @blnIsinset2=0 \r\n end \r\n Else \r\n"
        " update T_Pos_VipConsume set FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+30\r\n"
        " where FCardId='C1' and FBranchID=2\r\n\r\n"
        "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
        "lower(FKey)='g_branch_no')='01'"
        " or @blnIsinset2=1\r\n update T_Pos_VipRecord set FDecNum=case when 90>100 then 100 else 90 end,"
        "FAccNum= 100\r\n where FCardId='C1'\r\n");
    EXPECT_EQ(ClearingGroup(s, "C2", 20, 20) + PointClearRecord("10.0.0.5", "POS1", "7"),
              "\r\ninsert into "
              "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,"
              "memo,FComFlag)\r\nselect 2,'01','C2','5',0,20 ,7,getdate(),'积分清零',1\r\n"
              " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='C2' and FBranchID=2)\r\n"
              "  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )\r\n"
              "  select 'C2',2,'01',20,'0' \r\n Else \r\n"
              " update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+20\r\n"
              " where FCardId='C2' and FBranchID=2\r\n\r\n update T_Pos_VipRecord set FDecNum=FAccNum\r\n"
              " where FCardId='C2'\r\n\r\n"
              "INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, "
              "FClearDesc,memo )\r\n"
              " select getdate(),'10.0.0.5','POS1',getdate(),'7','','积分清除操作'");
}

TEST_F(PointsBatch, RewardCreatesThenRaisesTheBranchTotals)
{
    t.db().execute(RewardGroup(s, "C3", 50));
    EXPECT_EQ(t.rows("select Fbranchid,FBranchno,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag from "
                     "T_Pos_VipGiftList"),
              std::vector<std::string>{"2|01|3|0|50|7|2026-11-23 10:30:05|积分奖励|0"});
    EXPECT_EQ(consume("C3"), "01|50|50|0|0");
    EXPECT_EQ(card("C3"), "100|0");

    t.exec("update T_Pos_VipConsume set FComFlag='1'");
    t.db().execute(RewardGroup(s, "C3", 12.5));
    EXPECT_EQ(consume("C3"), "01|62.5|62.5|0|0");
    EXPECT_EQ(card("C3"), "112.5|0");
}

TEST_F(PointsBatch, DeductionOfTwoCardsNumbersItsVariables)
{
    // C1 has a totals row, C2 has none; this database's branch is the session's branch.
    t.exec("insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) values "
           "('C1',2,'01',5,'0')");
    t.db().execute(DeductionGroup(s, 1, "C1", 30, 100, 60) + DeductionGroup(s, 2, "C2", 30, 100, 80));
    EXPECT_EQ(consume("C1"), "01|0|0|35|0");
    EXPECT_EQ(consume("C2"), "01|0|0|30|1");
    EXPECT_EQ(card("C1"), "100|90");
    EXPECT_EQ(card("C2"), "100|100"); // capped at what was earned
    EXPECT_EQ(
        t.scalar("select count(*) from T_Pos_VipGiftList where flag='1' and memo='积分冲减' and FComFlag=1")
            .toInt(),
        2);
}

TEST_F(PointsBatch, DeductionElsewhereTouchesTheCardOnlyWhenTheTotalsRowExisted)
{
    t.exec("update t_SystemProfile set FValue='00' where FKey='g_branch_no';"
           "insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) values "
           "('C1',2,'01',0,'0')");
    t.db().execute(DeductionGroup(s, 1, "C1", 30, 100, 60) + DeductionGroup(s, 2, "C2", 10, 100, 80));
    EXPECT_EQ(card("C1"), "100|90"); // totals row existed
    EXPECT_EQ(card("C2"), "100|80"); // created here: the card is the other database's business
    EXPECT_EQ(consume("C2"), "01|0|0|10|1");
}

TEST_F(PointsBatch, ClearingWritesOneClearRecordPerCommit)
{
    t.exec("insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) values "
           "('C1',2,'01',5,'1')");
    std::string batch;
    for (const auto& [cardId, remaining] :
         {std::pair{"C1", 40.0}, std::pair{"C2", 20.0}, std::pair{"C3", 50.0}})
        batch += ClearingGroup(s, cardId, remaining, remaining);
    batch += PointClearRecord("10.0.0.5", "POS1", "7");
    t.db().execute(batch);
    EXPECT_EQ(card("C1"), "100|100");
    EXPECT_EQ(card("C3"), "50|50");
    EXPECT_EQ(consume("C1"), "01|0|0|45|0");
    EXPECT_EQ(consume("C2"), "01|0|0|20|0");
    EXPECT_EQ(t.scalar("select count(*) from T_Pos_VipGiftList where flag='5'").toInt(), 3);
    EXPECT_EQ(t.rows("select FAccDate,hostip,hostname,fuserid,FClearDesc,memo from T_Pos_VipPointClear"),
              std::vector<std::string>{"2026-11-23 10:30:05|10.0.0.5|POS1|7||积分清除操作"});
}

TEST_F(PointsBatch, GiftExchangeOfThreeGifts)
{
    std::string batch;
    const ExchangedGift gifts[3] = {{"3", "0101", "11", "1", "40", "0"},
                                    {"3", "0101", "12", "2", "60", "0"},
                                    {"3", "0101", "13", "1", "30", "0"}};
    for (int i = 0; i < 3; ++i)
        batch += ExchangeGroup(s, i + 1, "C1", gifts[i], std::stod(gifts[i].points));
    t.db().execute(batch);
    EXPECT_EQ(
        t.rows(
            "select Fbranchid,FBranchno,flag,Fitemid,FItemNum,FVipNum,memo from T_Pos_VipGiftList order by "
            "FID"),
        (std::vector<std::string>{"3|0101|2|11|1|40|礼品兑换", "3|0101|2|12|2|60|礼品兑换",
                                  "3|0101|2|13|1|30|礼品兑换"}));
    EXPECT_EQ(consume("C1"), "01|0|0|130|0");
    EXPECT_EQ(card("C1"), "100|190");
}

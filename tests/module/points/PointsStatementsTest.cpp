// The points statements the points screen sends (reward, deduction, clearing, gift exchange),
// run exactly as written on a fresh database.
#include <gtest/gtest.h>

#include "support/TestClock.h"
#include "support/TestDatabase.h"

using ormex::test::ScopedClock;
using ormex::test::TestDatabase;

namespace {

const std::string CRLF = "\r\n";

struct Session
{
    std::string branchId = "2";
    std::string branchNo = "01";
    std::string userId = "7";
};

std::string movement(const Session& s, const std::string& card, const std::string& kind,
                     const std::string& points, const std::string& memo, const std::string& comFlag)
{
    return CRLF +
           "insert into "
           "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,"
           "FComFlag)" +
           CRLF + "select " + s.branchId + ",'" + s.branchNo + "','" + card + "','" + kind + "'" + ",0," +
           points + " ," + s.userId + ",getdate(),'" + memo + "'," + comFlag;
}

std::string rewardGroup(const Session& s, const std::string& card, const std::string& p)
{
    const std::string totals =
        "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='" + card +
        "' and FBranchID=" + s.branchId + ")" + CRLF +
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)" +
        CRLF + " select '" + card + "'," + s.branchId + ",'" + s.branchNo + "'," + p + "," + p + ",'0'  " +
        CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+" + p +
        ",FVipAccNum=isnull(FVipAccNum,0)+" + p + CRLF + " where FCardId='" + card +
        "' and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate = "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +" + p + CRLF +
                                   " where FCardId='" + card + "'";
    return movement(s, card, "3", p, "积分奖励", "0") + CRLF + totals + CRLF + cardUpdate + CRLF;
}

std::string deductionGroup(const Session& s, int n, const std::string& card, const std::string& p,
                           const std::string& a, const std::string& dPlusP)
{
    const std::string N = std::to_string(n);
    const std::string totals =
        " declare @blnIsinset" + N + " int " + CRLF + " set @blnIsinset" + N + "=1 " + CRLF +
        " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='" + card +
        "' and FBranchID=" + s.branchId + ")" + CRLF + " begin " + CRLF +
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )" + CRLF +
        " select '" + card + "'," + s.branchId + ",'" + s.branchNo + "'," + p + ",'1' " + CRLF +
        " set @blnIsinset" + N + "=0 " + CRLF + " end " + CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + p + CRLF +
        " where FCardId='" + card + "' and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate = "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
                                   "lower(FKey)='g_branch_no')='" +
                                   s.branchNo + "' or @blnIsinset" + N + "=1" + CRLF +
                                   " update T_Pos_VipRecord set FDecNum=case when " + dPlusP + ">" + a +
                                   " then " + a + " else " + dPlusP + " end,FAccNum= " + a + CRLF +
                                   " where FCardId='" + card + "'";
    return movement(s, card, "1", p, "积分冲减", "1") + CRLF + totals + CRLF + cardUpdate + CRLF;
}

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
        auto r = t.rows(
            "select FBranchno, FVipCurAccNum, FVipAccNum, FVipMinusTotalNum, FComFlag from T_Pos_VipConsume "
            "where FCardId='" +
            card + "' and Fbranchid=2");
        return r.empty() ? "none" : r.front();
    }
    std::string card(const std::string& id)
    {
        return t.rows("select FAccNum, FDecNum from T_Pos_VipRecord where FCardId='" + id + "'").at(0);
    }

    ScopedClock clock{2026, 11, 23, 10, 30, 5};
    TestDatabase t;
    Session s;
};

} // namespace

TEST_F(PointsBatch, RewardCreatesThenRaisesTheBranchTotals)
{
    t.db().execute(rewardGroup(s, "C3", "50"));
    EXPECT_EQ(t.rows("select Fbranchid,FBranchno,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag from "
                     "T_Pos_VipGiftList"),
              std::vector<std::string>{"2|01|3|0|50|7|2026-11-23 10:30:05|积分奖励|0"});
    EXPECT_EQ(consume("C3"), "01|50|50|0|0");
    EXPECT_EQ(card("C3"), "100|0");

    t.exec("update T_Pos_VipConsume set FComFlag='1'");
    t.db().execute(rewardGroup(s, "C3", "12.5"));
    EXPECT_EQ(consume("C3"), "01|62.5|62.5|0|0");
    EXPECT_EQ(card("C3"), "112.5|0");
}

TEST_F(PointsBatch, DeductionOfTwoCardsNumbersItsVariables)
{
    // C1 has a totals row, C2 has none; this database's branch is the session's branch.
    t.exec("insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) values "
           "('C1',2,'01',5,'0')");
    t.db().execute(deductionGroup(s, 1, "C1", "30", "100", "90") +
                   deductionGroup(s, 2, "C2", "30", "100", "110"));
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
    t.db().execute(deductionGroup(s, 1, "C1", "30", "100", "90") +
                   deductionGroup(s, 2, "C2", "10", "100", "90"));
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
         {std::pair{"C1", "40"}, std::pair{"C2", "20"}, std::pair{"C3", "50"}}) {
        const std::string c = cardId, r = remaining;
        const std::string totals =
            " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='" + c +
            "' and FBranchID=" + s.branchId + ")" + CRLF +
            "  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )" +
            CRLF + "  select '" + c + "'," + s.branchId + ",'" + s.branchNo + "'," + r + ",'0' " + CRLF +
            " Else " + CRLF +
            " update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + r +
            CRLF + " where FCardId='" + c + "' and FBranchID=" + s.branchId + CRLF;
        const std::string cardUpdate =
            " update T_Pos_VipRecord set FDecNum=FAccNum" + CRLF + " where FCardId='" + c + "'";
        batch += CRLF +
                 "insert into "
                 "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,"
                 "FComFlag)" +
                 CRLF + "select " + s.branchId + ",'" + s.branchNo + "','" + c + "','5'" + ",0," + r + " ," +
                 s.userId + ",getdate(),'积分清零',1" + CRLF + totals + CRLF + cardUpdate + CRLF;
    }
    batch +=
        CRLF +
        "INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, FClearDesc,memo )" +
        CRLF + " select getdate(),'10.0.0.5','POS1',getdate(),'7','','积分清除操作'";
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
    const char* gifts[3][3] = {{"11", "1", "40"}, {"12", "2", "60"}, {"13", "1", "30"}};
    for (int i = 0; i < 3; ++i) {
        const std::string N = std::to_string(i + 1), item = gifts[i][0], num = gifts[i][1], pts = gifts[i][2];
        batch += CRLF +
                 "insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag, "
                 "Fitemid,FItemNum,FVipNum,fuserid,FOperDate,FAuxPropID,Memo,FComFlag)" +
                 CRLF + "select 3,'0101','C1','2'" + ",'" + item + "'," + num + "," + pts + " " + "," +
                 s.userId + ",getdate(),0,'礼品兑换',1";
        batch +=
            CRLF + " declare @blnIsinset" + N + " int " + CRLF + " set @blnIsinset" + N + "=1 " + CRLF +
            " If Not Exists(select 1 from T_Pos_VipConsume  where FCardId='C1' and FBranchID=" + s.branchId +
            ")" + CRLF + " begin " + CRLF +
            " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag)" + CRLF +
            "select 'C1'," + s.branchId + ",'" + s.branchNo + "'," + pts + ",'0' " + CRLF +
            " set @blnIsinset" + N + "=0 " + CRLF + " end " + CRLF + " Else " + CRLF +
            " update T_Pos_VipConsume set FComFlag='0',FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + pts +
            CRLF + " where FCardId='C1' and FBranchID=" + s.branchId + CRLF;
        batch += CRLF +
                 "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
                 "lower(FKey)='g_branch_no')='" +
                 s.branchNo + "' or @blnIsinset" + N + "=1" + CRLF +
                 "update T_Pos_VipRecord set FDecNum=FDecNum+" + pts + " " + " where FCardId='C1'" + CRLF;
    }
    t.db().execute(batch);
    EXPECT_EQ(t.rows("select Fbranchid,FBranchno,flag,Fitemid,FItemNum,FVipNum,memo from T_Pos_VipGiftList "
                     "order by FID"),
              (std::vector<std::string>{"3|0101|2|11|1|40|礼品兑换", "3|0101|2|12|2|60|礼品兑换",
                                        "3|0101|2|13|1|30|礼品兑换"}));
    EXPECT_EQ(consume("C1"), "01|0|0|130|0");
    EXPECT_EQ(card("C1"), "100|190");
}

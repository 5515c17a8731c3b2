#include "PointsStatements.h"

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

using platform::formatNumber;
using platform::quoted;
using platform::sqlNumber;

const std::string kMovementColumns =
    "insert into "
    "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag)";

std::string movement(const PointsSession& s, const std::string& card, PointsOperation kind,
                     const std::string& points, const std::string& memo, const std::string& comFlag)
{
    return std::string(CRLF) + kMovementColumns + CRLF + "select " + s.branchId + "," + quoted(s.branchNo) +
           "," + quoted(card) + ",'" + std::to_string(static_cast<int>(kind)) + "'" + ",0," + points + " ," +
           s.userId + ",getdate()," + quoted(memo) + "," + comFlag;
}

// The card is changed on this database when it is the session's branch or the card's totals row
// at this branch existed before the batch (@blnIsinset<n> = 1).
std::string ownCardTest(const PointsSession& s, const std::string& n)
{
    return "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
           "lower(FKey)='g_branch_no')=" +
           quoted(s.branchNo) + " or @blnIsinset" + n + "=1";
}

std::string consumeRowTest(const PointsSession& s, const std::string& card)
{
    return "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId=" + quoted(card) +
           " and FBranchID=" + s.branchId + ")";
}

} // namespace

std::string RewardGroup(const PointsSession& s, const std::string& card, double points)
{
    const std::string p = formatNumber(points);
    const std::string totals =
        consumeRowTest(s, card) + CRLF +
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,"
        "FComFlag)" +
        CRLF + " select " + quoted(card) + "," + s.branchId + "," + quoted(s.branchNo) + "," + p + "," + p +
        ",'0'  " + CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+" + p +
        ",FVipAccNum=isnull(FVipAccNum,0)+" + p + CRLF + " where FCardId=" + quoted(card) +
        " and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate = "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +" + p + CRLF +
                                   " where FCardId=" + quoted(card);
    return movement(s, card, PointsOperation::Reward, p, "积分奖励", "0") + CRLF + totals + CRLF +
           cardUpdate + CRLF;
}

std::string DeductionGroup(const PointsSession& s, int n, const std::string& card, double points,
                           double accumulated, double used)
{
    const std::string N = std::to_string(n);
    const std::string p = formatNumber(points);
    const std::string a = formatNumber(accumulated);
    const std::string dPlusP = formatNumber(used + points);
    const std::string totals =
        " declare @blnIsinset" + N + " int " + CRLF + " set @blnIsinset" + N + "=1 " + CRLF + " " +
        consumeRowTest(s, card) + CRLF + " begin " + CRLF +
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )" + CRLF +
        " select " + quoted(card) + "," + s.branchId + "," + quoted(s.branchNo) + "," + p + ",'1' " + CRLF +
        " set @blnIsinset" + N + "=0 " + CRLF + " end " + CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + p + CRLF +
        " where FCardId=" + quoted(card) + " and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate =
        ownCardTest(s, N) + CRLF + " update T_Pos_VipRecord set FDecNum=case when " + dPlusP + ">" + a +
        " then " + a + " else " + dPlusP + " end,FAccNum= " + a + CRLF + " where FCardId=" + quoted(card);
    return movement(s, card, PointsOperation::Deduction, p, "积分冲减", "1") + CRLF + totals + CRLF +
           cardUpdate + CRLF;
}

std::string ClearingGroup(const PointsSession& s, const std::string& card, double shown, double remaining)
{
    const std::string r = formatNumber(remaining);
    const std::string totals =
        " " + consumeRowTest(s, card) + CRLF +
        "  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,"
        "FComFlag )" +
        CRLF + "  select " + quoted(card) + "," + s.branchId + "," + quoted(s.branchNo) + "," +
        formatNumber(shown) + ",'0' " + CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + r + CRLF +
        " where FCardId=" + quoted(card) + " and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate =
        std::string(" update T_Pos_VipRecord set FDecNum=FAccNum") + CRLF + " where FCardId=" + quoted(card);
    return movement(s, card, PointsOperation::Clearing, r, "积分清零", "1") + CRLF + totals + CRLF +
           cardUpdate + CRLF;
}

std::string PointClearRecord(const std::string& address, const std::string& machine,
                             const std::string& userId)
{
    return std::string(CRLF) +
           "INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, FClearDesc,memo "
           ")" +
           CRLF + " select getdate()," + quoted(address) + "," + quoted(machine) + ",getdate()," +
           quoted(userId) + ",'','积分清除操作'";
}

std::string ExchangeGroup(const PointsSession& s, int n, const std::string& card, const ExchangedGift& gift,
                          double points)
{
    const std::string N = std::to_string(n);
    const std::string p = formatNumber(points);
    const std::string move = std::string(CRLF) +
                             "insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag, "
                             "Fitemid,FItemNum,FVipNum,fuserid,FOperDate,"
                             "FAuxPropID,Memo,FComFlag)" +
                             CRLF + "select " + sqlNumber(gift.branchId) + "," + quoted(gift.branchNo) + "," +
                             quoted(card) + ",'" + "2" + "'" + "," + quoted(gift.itemId) + "," +
                             sqlNumber(gift.quantity) + "," + sqlNumber(gift.points) + " " + "," + s.userId +
                             ",getdate()," + sqlNumber(gift.auxPropId) + ",'礼品兑换',1";
    const std::string totals =
        " declare @blnIsinset" + N + " int " + CRLF + " set @blnIsinset" + N + "=1 " + CRLF + " " +
        consumeRowTest(s, card) + CRLF + " begin " + CRLF +
        " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag)" + CRLF +
        "select " + quoted(card) + "," + s.branchId + "," + quoted(s.branchNo) + "," + p + ",'0' " + CRLF +
        " set @blnIsinset" + N + "=0 " + CRLF + " end " + CRLF + " Else " + CRLF +
        " update T_Pos_VipConsume set FComFlag='0',FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" + p +
        CRLF + " where FCardId=" + quoted(card) + " and FBranchID=" + s.branchId + CRLF;
    const std::string cardUpdate = ownCardTest(s, N) + CRLF + "update T_Pos_VipRecord set FDecNum=FDecNum+" +
                                   p + " " + " where FCardId=" + quoted(card);
    return move + CRLF + totals + CRLF + cardUpdate + CRLF;
}

} // namespace ormex::module::points

#include "PointsStatements.h"

#include <string_view>

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

// Appends the pieces of a statement to a batch in place: a batch over the whole member base is
// written once, not assembled from a copy of every piece.
class Batch
{
public:
    explicit Batch(std::string& out) : m_out(out) {}
    Batch& operator<<(std::string_view piece)
    {
        m_out.append(piece);
        return *this;
    }

private:
    std::string& m_out;
};

// The movement row; `card` is the card number already quoted.
void movement(Batch& b, const PointsSession& s, const std::string& card, PointsOperation kind,
              const std::string& points, std::string_view memo, std::string_view comFlag)
{
    const char flag[] = {static_cast<char>('0' + static_cast<int>(kind)), '\0'};
    b << CRLF << kMovementColumns << CRLF << "select " << s.branchId << "," << quoted(s.branchNo) << ","
      << card << ",'" << flag << "'"
      << ",0," << points << " ," << s.userId << ",getdate()," << quoted(memo) << "," << comFlag;
}

// The card is changed on this database when it is the session's branch or the card's totals row
// at this branch existed before the batch (@blnIsinset<n> = 1).
void ownCardTest(Batch& b, const PointsSession& s, const std::string& n)
{
    b << "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
         "lower(FKey)='g_branch_no')="
      << quoted(s.branchNo) << " or @blnIsinset" << n << "=1";
}

// `card` is the card number already quoted.
void consumeRowTest(Batch& b, const PointsSession& s, const std::string& card)
{
    b << "If Not Exists(select 1 from T_Pos_VipConsume  where FCardId=" << card
      << " and FBranchID=" << s.branchId << ")";
}

} // namespace

void AppendRewardGroup(std::string& batch, const PointsSession& s, const std::string& card, double points)
{
    const std::string p = formatNumber(points);
    const std::string c = quoted(card);
    Batch b(batch);
    movement(b, s, c, PointsOperation::Reward, p, "积分奖励", "0");
    b << CRLF;
    consumeRowTest(b, s, c);
    b << CRLF
      << " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,"
         "FComFlag)"
      << CRLF << " select " << c << "," << s.branchId << "," << quoted(s.branchNo) << "," << p << "," << p
      << ",'0'  " << CRLF << " Else " << CRLF
      << " update T_Pos_VipConsume set FComFlag=0,FVipCurAccNum=isnull(FVipCurAccNum,0)+" << p
      << ",FVipAccNum=isnull(FVipAccNum,0)+" << p << CRLF << " where FCardId=" << c
      << " and FBranchID=" << s.branchId << CRLF << CRLF
      << "update T_Pos_VipRecord set FAccNum =isnull(FAccNum,0) +" << p << CRLF << " where FCardId=" << c
      << CRLF;
}

std::string RewardGroup(const PointsSession& s, const std::string& card, double points)
{
    std::string group;
    AppendRewardGroup(group, s, card, points);
    return group;
}

void AppendDeductionGroup(std::string& batch, const PointsSession& s, int n, const std::string& card,
                          double points, double accumulated, double used)
{
    const std::string N = std::to_string(n);
    const std::string p = formatNumber(points);
    const std::string a = formatNumber(accumulated);
    const std::string dPlusP = formatNumber(used + points);
    const std::string c = quoted(card);
    Batch b(batch);
    movement(b, s, c, PointsOperation::Deduction, p, "积分冲减", "1");
    b << CRLF << " declare @blnIsinset" << N << " int " << CRLF << " set @blnIsinset" << N << "=1 " << CRLF
      << " ";
    consumeRowTest(b, s, c);
    b << CRLF << " begin " << CRLF
      << " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag )" << CRLF
      << " select " << c << "," << s.branchId << "," << quoted(s.branchNo) << "," << p << ",'1' " << CRLF
      << " set @blnIsinset" << N << "=0 " << CRLF << " end " << CRLF << " Else " << CRLF
      << " update T_Pos_VipConsume set FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" << p << CRLF
      << " where FCardId=" << c << " and FBranchID=" << s.branchId << CRLF << CRLF;
    ownCardTest(b, s, N);
    b << CRLF << " update T_Pos_VipRecord set FDecNum=case when " << dPlusP << ">" << a << " then " << a
      << " else " << dPlusP << " end,FAccNum= " << a << CRLF << " where FCardId=" << c << CRLF;
}

std::string DeductionGroup(const PointsSession& s, int n, const std::string& card, double points,
                           double accumulated, double used)
{
    std::string group;
    AppendDeductionGroup(group, s, n, card, points, accumulated, used);
    return group;
}

void AppendClearingGroup(std::string& batch, const PointsSession& s, const std::string& card, double shown,
                         double remaining)
{
    const std::string r = formatNumber(remaining);
    const std::string c = quoted(card);
    Batch b(batch);
    movement(b, s, c, PointsOperation::Clearing, r, "积分清零", "1");
    b << CRLF << " ";
    consumeRowTest(b, s, c);
    b << CRLF
      << "  insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,"
         "FComFlag )"
      << CRLF << "  select " << c << "," << s.branchId << "," << quoted(s.branchNo) << ","
      << formatNumber(shown) << ",'0' " << CRLF << " Else " << CRLF
      << " update T_Pos_VipConsume set FComFlag=0,FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" << r << CRLF
      << " where FCardId=" << c << " and FBranchID=" << s.branchId << CRLF << CRLF
      << " update T_Pos_VipRecord set FDecNum=FAccNum" << CRLF << " where FCardId=" << c << CRLF;
}

std::string ClearingGroup(const PointsSession& s, const std::string& card, double shown, double remaining)
{
    std::string group;
    AppendClearingGroup(group, s, card, shown, remaining);
    return group;
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
    const std::string c = quoted(card);
    std::string group;
    Batch b(group);
    b << CRLF
      << "insert into T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag, "
         "Fitemid,FItemNum,FVipNum,fuserid,FOperDate,"
         "FAuxPropID,Memo,FComFlag)"
      << CRLF << "select " << sqlNumber(gift.branchId) << "," << quoted(gift.branchNo) << "," << c << ",'2',"
      << quoted(gift.itemId) << "," << sqlNumber(gift.quantity) << "," << sqlNumber(gift.points) << " ,"
      << s.userId << ",getdate()," << sqlNumber(gift.auxPropId) << ",'礼品兑换',1" << CRLF
      << " declare @blnIsinset" << N << " int " << CRLF << " set @blnIsinset" << N << "=1 " << CRLF << " ";
    consumeRowTest(b, s, c);
    b << CRLF << " begin " << CRLF
      << " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag)" << CRLF
      << "select " << c << "," << s.branchId << "," << quoted(s.branchNo) << "," << p << ",'0' " << CRLF
      << " set @blnIsinset" << N << "=0 " << CRLF << " end " << CRLF << " Else " << CRLF
      << " update T_Pos_VipConsume set FComFlag='0',FVipMinusTotalNum=isnull(FVipMinusTotalNum,0)+" << p
      << CRLF << " where FCardId=" << c << " and FBranchID=" << s.branchId << CRLF << CRLF;
    ownCardTest(b, s, N);
    b << CRLF << "update T_Pos_VipRecord set FDecNum=FDecNum+" << p << "  where FCardId=" << c << CRLF;
    return group;
}

} // namespace ormex::module::points

#include "StoredValueStatements.h"

#include <cmath>

#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::storedvalue {

namespace {

using platform::formatNumber;
using platform::quoteDoubled;

constexpr const char* CRLF = "\r\n";

std::string encoded(platform::Money balance)
{
    return quoteDoubled(platform::encodeBalance(balance));
}

std::string amount(platform::Money value)
{
    return value.toString();
}

} // namespace

std::string BalanceStatement(const std::string& card, const std::string& encodedBalance)
{
    const std::string update = " update T_Pos_VipRecord set FResidualAmt='" + encodedBalance + "'" +
                               " where FCardId='" + quoteDoubled(card) + "'";
    return std::string("If Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and "
                       "lower(FKey)='is_branch' and fvalue='0')") +
           CRLF + update + CRLF + " Else " + CRLF + update;
}

std::string RechargeStatements(const StoredValueSession& s, const Recharge& r)
{
    return std::string(CRLF) + BalanceStatement(r.card, encoded(r.newBalance)) + CRLF +
           "insert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt," +
           " Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)" + CRLF +
           "select '" + quoteDoubled(r.card) + "'," + amount(r.amount) + "," + s.userId + ",'" +
           quoteDoubled(r.operDate) + "'," + amount(r.oldBalance) + "," + s.branchId + ",'" +
           quoteDoubled(s.branchNo) + "','" + quoteDoubled(r.memo) + "'," + amount(r.paid) + ",'" +
           amount(r.listedBalance) + "'," +
           (r.paymentId.empty() ? std::string("0") : platform::sqlNumber(r.paymentId)) + ",'1'";
}

std::string ConversionStatements(const StoredValueSession& s, int n, const Conversion& c)
{
    const std::string j = std::to_string(n);
    const std::string card = quoteDoubled(c.card);
    const std::string branchNo = quoteDoubled(s.branchNo);
    const std::string points = formatNumber(c.points);
    const std::string thisBranch =
        " where FCardId='" + card + "' and FBranchID=" + s.branchId + " and FBranchNo='" + branchNo + "'";
    std::string batch;
    batch += std::string(CRLF) +
             "insert Into T_Pos_VipGiftList(Fbranchid,FBranchno, FCardId, flag, FVipPlusAmt, "
             "FVipNum,fuserid,FOperDate,"
             "FComFlag,memo)" +
             CRLF + "select " + s.branchId + ",'" + branchNo + "','" + card + "','" + "4" + "'" + "," +
             amount(c.amount) + "," + points + "," + s.userId + ",'" + quoteDoubled(c.operDate) +
             "','1','积分转储值'";
    batch += std::string(CRLF) + " declare @blnIsinset" + j + " int " + CRLF + " set @blnIsinset" + j +
             "=1 " + CRLF + "if not exists(select 1 from T_Pos_VipConsume " + thisBranch + ")" + CRLF +
             " begin " + CRLF +
             " insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) " +
             CRLF + CRLF + "select '" + card + "'," + s.branchId + ",'" + branchNo + "'," +
             formatNumber(std::llround(c.points)) + ",'1' " + CRLF + " set @blnIsinset" + j + "=0 " + CRLF +
             " end " + CRLF + "else" + CRLF +
             "Update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+" + points + thisBranch;
    batch += std::string(CRLF) +
             "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
             "lower(FKey)='g_branch_no')='" +
             branchNo + "' or @blnIsinset" + j + "=1" + CRLF + "update T_Pos_VipRecord set FDecNum=FDecNum+" +
             points + " where FCardId='" + card + "'" + CRLF +
             BalanceStatement(c.card, encoded(c.newBalance));
    batch += std::string(CRLF) +
             "insert T_Pos_AddMoneyList(FCardId, "
             "fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,FPlusAmt,FResidualAmt,"
             "other1,FComFlag)" +
             CRLF + "select '" + card + "'," + s.userId + ",'" + quoteDoubled(c.operDate) + "'," +
             amount(c.oldBalance) + "," + s.branchId + ",'" + branchNo + "'," + amount(c.amount) + ",'" +
             amount(c.gridBalance + c.amount) + "','积分转储值','1'";
    return batch;
}

} // namespace ormex::module::storedvalue

#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "AdminCommands.h"
#include "platform/BalanceCodec.h"
#include "platform/Text.h"

namespace ormex::test {

// What an ormex-db command printed and returned.
struct CommandResult
{
    int code;
    std::string out, err;
};

inline CommandResult runCommand(const std::vector<std::string>& args)
{
    std::ostringstream out, err;
    const int code = tools::runAdminCommand(args, out, err);
    return {code, out.str(), err.str()};
}

// T-SQL that opens a card as the card import does: the card, its opening balance and points as
// movements (an initial amount and a reward, already known to headquarters), and the card holding
// them, so that the card's movement ledger explains what it holds.
inline std::string openedCardSql(const std::string& card, const std::string& balance,
                                 const std::string& points, const std::string& name = "")
{
    const std::string encoded = platform::quoteDoubled(platform::encodeBalance(std::string_view(balance)));
    return "insert into T_Pos_VipRecord (FCardId,FVipName) values ('" + card + "','" + name + "')\r\n" +
           "insert into T_Pos_AddMoneyList (FCardId,FPlusAmt,other1,FOperDate) values ('" + card + "','" +
           encoded + "','初始金额',getdate())\r\n" +
           "insert into T_Pos_VipGiftList (FCardId,flag,FVipNum,FOperDate,FComFlag) values ('" + card +
           "','3'," + points + ",getdate(),1)\r\n" + "update T_Pos_VipRecord set FResidualAmt='" + encoded +
           "',FAccNum=" + points + " where FCardId='" + card + "'\r\n";
}

} // namespace ormex::test

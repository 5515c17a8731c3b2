#pragma once

#include <string>

#include "platform/Money.h"

// The statements of the stored-value screen, exactly as it joins them into its batch: the card's
// new balance (encoded), the money-list row of a recharge, and the points-to-value group. Text
// values between quotes have their quotes doubled; numbers are written with the system's number
// text.
namespace ormex::module::storedvalue {

// The session values the statements carry.
struct StoredValueSession
{
    std::string userId;
    std::string branchId;
    std::string branchNo;
};

// The new balance of a card, the same statement for a branch and for headquarters. `encoded` is
// the balance as EncodeBalance wrote it. Amounts are exact (Money): a balance is never the sum of
// two doubles.
std::string BalanceStatement(const std::string& card, const std::string& encoded);

// A recharge: CRLF, the balance statement, CRLF, the money-list row.
struct Recharge
{
    std::string card;
    platform::Money amount;        // FPlusAmt; negative takes from the balance
    platform::Money paid;          // FPlusRealAmt
    platform::Money oldBalance;    // FOldAmt
    platform::Money newBalance;    // the balance written on the card
    platform::Money listedBalance; // FResidualAmt of the money-list row (the same, but in a linked
                                   // branch where the card's balance was read at headquarters)
    std::string memo;              // other1
    std::string operDate;          // FOperDate as written: "yyyy-mm-dd h:m:s" or a date-time
    std::string paymentId;         // FBalanceStyle
};
std::string RechargeStatements(const StoredValueSession& s, const Recharge& r);

// Points converted into stored value, record `n` of the batch (its variable @blnIsinset<n>).
struct Conversion
{
    std::string card;
    double points = 0;           // FPoint, the points used
    platform::Money amount;      // FAmt, the value obtained
    platform::Money oldBalance;  // FOldAmt
    platform::Money gridBalance; // the balance the money-list row adds the amount to
    platform::Money newBalance;  // the balance written on the card
    std::string operDate;
};
std::string ConversionStatements(const StoredValueSession& s, int n, const Conversion& c);

} // namespace ormex::module::storedvalue

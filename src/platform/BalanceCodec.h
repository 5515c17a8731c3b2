#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Money.h"

// The encoding of a stored-value balance in T_Pos_VipRecord.FResidualAmt. It exists once: the
// screens use it, and the database function dbo.f_decrypt calls decodeBalance.
//
// Encoding: the value times 10000 written as text, reversed; with n the length of that text, the
// character at position i (1-based) is shifted up by 3 * (n - 4 + i) code points.
// 12.5 -> "125000" -> "000521" -> shifts 9, 12, 15, 18, 21, 24 -> "9<?GGI".
namespace ormex::platform {

// Empty or non-numeric text gives "0".
std::string encodeBalance(std::string_view value);
std::string encodeBalance(double value);
std::string encodeBalance(Money value);

// Empty text and "0" give "0"; text that does not decode to a number gives "0". The result is the
// balance written as its exact amount (Money), without binary noise.
std::string decodeBalance(std::string_view stored);
double decodeBalanceValue(std::string_view stored);
// The balance, or nothing when the text is not an encoded number (it would read as 0 above).
// Empty text and "0" are a balance of 0.
std::optional<double> tryDecodeBalance(std::string_view stored);
// The balance as an exact amount; a balance stored with binary noise by an older system
// (0.499999999999989) reads as the amount it stood for (0.5). Nothing when the text is not an
// encoded number or the amount is beyond what Money holds.
std::optional<Money> tryDecodeMoney(std::string_view stored);

} // namespace ormex::platform

#pragma once

#include <optional>
#include <string_view>

#include "Money.h"
#include "Value.h"

// The amount a money-list row (T_Pos_AddMoneyList) adds to a card's stored value: FPlusAmt, which
// the recharges write as a plain number and the card's initial amount ('初始金额' in other1)
// writes encoded, as the balance is kept.
namespace ormex::platform {

inline constexpr const char* kInitialAmountMemo = "初始金额";
// The two halves of a card change: the old card's balance leaves it, and reaches the new card.
inline constexpr const char* kCardChangeOutMemo = "换卡转出";
inline constexpr const char* kCardChangeInMemo = "换卡转入";

// Nothing when the amount cannot be read (an encoded amount that does not decode).
std::optional<Money> moneyListAmount(const Value& plusAmount, std::string_view memo);

} // namespace ormex::platform

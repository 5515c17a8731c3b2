#include "MoneyListAmount.h"

#include "BalanceCodec.h"
#include "Text.h"

namespace ormex::platform {

std::optional<Money> moneyListAmount(const Value& plusAmount, std::string_view memo)
{
    if (trim(memo) == kInitialAmountMemo) return tryDecodeMoney(trim(plusAmount.toString()));
    // Plain decimal text is read exactly, a number through its 15 digits.
    if (plusAmount.isText())
        if (const auto exact = Money::parse(plusAmount.toString())) return exact;
    return Money::ofDouble(plusAmount.toDouble());
}

} // namespace ormex::platform

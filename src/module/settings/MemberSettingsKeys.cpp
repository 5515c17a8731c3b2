#include "MemberSettingsKeys.h"

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::settings {

std::string buildSettingsSaveBatch(const platform::FieldMap& values)
{
    std::string batch;
    for (std::string_view key : kMemberSettingKeys) {
        std::string value = values.text(key);
        if (key == "CardNumProfix" || key == "CardNumSuffix") value = platform::quoteDoubled(value);
        batch += "UPDATE t_systemprofile SET FValue = '" + value +
                 "' WHERE (FCategory = 'VIP') AND (FKey = '" + std::string(key) + "')\r\n";
    }
    return batch;
}

std::string checkSpendingLimits(std::string_view dailyLimit, std::string_view monthlyLimit)
{
    if (platform::numberOr0(dailyLimit) > platform::numberOr0(monthlyLimit))
        return "储值卡每月消费限额需大于每日消费限额！";
    return {};
}

} // namespace ormex::module::settings

#include "MemberSettingsKeys.h"

#include <stdexcept>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::settings {

std::string buildSettingsSaveBatch(const platform::FieldMap& values)
{
    std::string batch;
    for (const MemberSetting& setting : kMemberSettings) {
        if (!values.contains(setting.key))
            throw std::invalid_argument("会员设置缺少【" + std::string(setting.key) + "】的值，设置未保存！");
        // Every value has its quotes doubled, not only the texts: an amount field keeps what was
        // typed until it is checked, and nothing typed may change the statement.
        batch += "UPDATE t_systemprofile SET FValue = " + platform::quoted(values.text(setting.key)) +
                 " WHERE (FCategory = 'VIP') AND (FKey = " + platform::quoted(setting.key) + ")\r\n";
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

#include <gtest/gtest.h>

#include "module/settings/MemberSettingsKeys.h"

using namespace ormex::module::settings;
using ormex::platform::FieldMap;

TEST(MemberSettingsBatch, UpdatesEveryKeyInOrderWithReaderQuotesDoubled)
{
    FieldMap values;
    for (const auto& setting : kMemberSettings)
        values.set(setting.key, std::string(setting.key) + "'v");
    values.set("CardNumProfix", "A'B");
    const std::string batch = buildSettingsSaveBatch(values);

    EXPECT_EQ(batch.substr(0, batch.find("\r\n") + 2), "UPDATE t_systemprofile SET FValue = 'MCType''v' "
                                                       "WHERE (FCategory = 'VIP') AND (FKey = 'MCType')\r\n");
    EXPECT_NE(batch.find("SET FValue = 'A''B' WHERE (FCategory = 'VIP') AND (FKey = 'CardNumProfix')\r\n"),
              std::string::npos);
    EXPECT_NE(batch.find("SET FValue = 'CardNumSuffix''v' WHERE"), std::string::npos);
    // Every value, also an amount field's, cannot end its quotes.
    EXPECT_NE(
        batch.find("SET FValue = 'LimitAmount''v' WHERE (FCategory = 'VIP') AND (FKey = 'LimitAmount')\r\n"),
        std::string::npos);

    std::size_t lines = 0, last = 0;
    for (const auto& setting : kMemberSettings) {
        const std::string key(setting.key);
        const std::size_t at = batch.find("(FKey = '" + std::string(key) + "')");
        ASSERT_NE(at, std::string::npos) << key;
        EXPECT_GT(at + 1, last) << key << " out of order";
        last = at;
        ++lines;
    }
    EXPECT_EQ(lines, 21u);
    EXPECT_EQ(batch.size() - batch.rfind("\r\n"), 2u);
}

TEST(MemberSettingsBatch, DailyLimitMayNotExceedMonthlyLimit)
{
    EXPECT_EQ(checkSpendingLimits("500", "300"), "储值卡每月消费限额需大于每日消费限额！");
    EXPECT_EQ(checkSpendingLimits("300", "300"), "");
    EXPECT_EQ(checkSpendingLimits("300.00", "1000.00"), "");
    EXPECT_EQ(checkSpendingLimits("", ""), "");
}

#include <gtest/gtest.h>

#include "module/cards/CardSearchRules.h"
#include "module/cards/CardStatusRules.h"
#include "platform/BalanceCodec.h"

using namespace ormex::module::cards;
using ormex::platform::Date;

TEST(CardStatusRules, ButtonsFollowTheStatus)
{
    using B = std::array<bool, 7>;
    EXPECT_EQ(statusButtons(0, true), (B{true, false, true, true, false, true, true}));
    EXPECT_EQ(statusButtons(0, false), (B{true, false, true, true, false, true, false}));
    EXPECT_EQ(statusButtons(1, true), (B{false, true, true, false, false, false, false}));
    EXPECT_EQ(statusButtons(2, true), (B{false, true, false, true, false, false, false}));
    EXPECT_EQ(statusButtons(3, true), (B{false, true, false, false, false, false, false}));
    EXPECT_EQ(statusButtons(4, true), B{});
    EXPECT_EQ(statusButtons(9, true), B{});
}

TEST(CardStatusRules, ExtendDays)
{
    const char* rangeText = "延期天数必须是大于0的整数,且小于36500天 ";
    const char* digitText = "延期天数必须是大于0的整数,且小于36500天！ ";
    struct Case
    {
        const char* answer;
        std::optional<long> days;
        const char* message;
    };
    const Case cases[] = {
        {"0", {}, rangeText},      {"36500", {}, rangeText}, {"-5", {}, digitText}, {"12a", {}, digitText},
        {"123456", {}, rangeText}, {"36499", 36499, ""},     {"007", 7, ""},        {" 30 ", 30, ""},
    };
    for (const auto& c : cases) {
        const auto answer = checkExtendDays(c.answer);
        EXPECT_FALSE(answer.cancelled) << c.answer;
        EXPECT_EQ(answer.days, c.days) << c.answer;
        EXPECT_EQ(answer.message, c.message) << c.answer;
    }
    EXPECT_TRUE(checkExtendDays("  ").cancelled);
    EXPECT_TRUE(checkExtendDays("0").messageFromService);
    EXPECT_FALSE(checkExtendDays("12a").messageFromService);
}

TEST(CardStatusRules, ExtendCountsFromTheEndDateOrToday)
{
    const Date today{2026, 11, 23};
    EXPECT_EQ(extendedEndDate("2026-12-01", 30, today).toString(), "2026-12-31");
    EXPECT_EQ(extendedEndDate("", 7, today).toString(), "2026-11-30");
    EXPECT_EQ(extendedEndDate("not a date", 1, today).toString(), "2026-11-24");
}

TEST(CardSearchRules, ConditionsAndInformation)
{
    EXPECT_EQ(cardSearchCondition("13800001111"),
              " (FCardId='13800001111' or mobile='13800001111') and FDeleted=0 ");
    EXPECT_EQ(faceNumberSearchCondition("F01"), " FCardFlowno='F01' or mobile='F01'");

    ormex::platform::FieldMap card{{"FCardId", "8001"},
                                   {"FCardFlowno", "F8001"},
                                   {"FVipName", "张伟"},
                                   {"FCardStatus", "2"},
                                   {"FVipEndDate", "2027-01-05 00:00:00"},
                                   {"FAccNum", 120.5},
                                   {"FDecNum", 20},
                                   {"FResidualAmt", ormex::platform::encodeBalance("88.8")},
                                   {"FCardTypeName", "金卡"}};
    const auto texts = cardInformationTexts(card);
    EXPECT_EQ(texts[0], "8001");
    EXPECT_EQ(texts[1], "");
    EXPECT_EQ(texts[3], "");
    EXPECT_EQ(texts[4], "100.5");
    EXPECT_EQ(texts[6], "挂失");
    EXPECT_EQ(texts[7], "2027-01-05");
    EXPECT_EQ(texts[9], "88.8元");
    EXPECT_EQ(texts[10], "金卡");
    EXPECT_EQ(cardSheetRow({{"卡面编号", "F8001"}, {"姓    名", "张伟"}}), "卡面编号|F8001|姓    名|张伟|");
    EXPECT_EQ(cardSheetRow({{" 剩余积分 ", "100.5"}}), "剩余积分|100.5|");
}

#include <gtest/gtest.h>

#include "platform/BalanceCodec.h"

using namespace ormex::platform;

TEST(BalanceCodec, EncodesTheWorkedExample)
{
    // 12.5 -> 125000 -> reversed 000521 -> shifted by 9,12,15,18,21,24.
    const std::string expected{char('0' + 9),  char('0' + 12), char('0' + 15),
                               char('5' + 18), char('2' + 21), char('1' + 24)};
    EXPECT_EQ(encodeBalance("12.5"), expected);
    EXPECT_EQ(encodeBalance(12.5), expected);
    EXPECT_EQ(decodeBalance(expected), "12.5");
}

TEST(BalanceCodec, RoundTripsAmounts)
{
    for (const char* amount :
         {"0.01", "1", "15", "100", "150", "99999.99", "123456.78", "-10", "-0.5", "0.3"})
        EXPECT_EQ(decodeBalance(encodeBalance(amount)), amount) << amount;
}

TEST(BalanceCodec, EncodesWithoutBinaryNoise)
{
    EXPECT_EQ(decodeBalance(encodeBalance(0.1 + 0.2)), "0.3");
    EXPECT_EQ(encodeBalance(1.005), encodeBalance("1.005"));
    EXPECT_EQ(encodeBalance(Money::parse("1996.52").value()), encodeBalance("1996.52"));
    // A balance that an older build stored with its noise reads as the amount it stood for.
    const std::string noisy = encodeBalance("0.499999999999989");
    EXPECT_EQ(decodeBalance(noisy), "0.5");
    EXPECT_EQ(tryDecodeMoney(noisy), Money::parse("0.5"));
    EXPECT_FALSE(tryDecodeMoney("abc").has_value());
}

TEST(BalanceCodec, DegenerateInputsGiveZero)
{
    EXPECT_EQ(encodeBalance(""), "0");
    EXPECT_EQ(encodeBalance("12a"), "0");
    EXPECT_EQ(decodeBalance(""), "0");
    EXPECT_EQ(decodeBalance("0"), "0");
    EXPECT_EQ(decodeBalance("abc"), "0");
    EXPECT_DOUBLE_EQ(decodeBalanceValue("not a balance"), 0.0);
}

#include <gtest/gtest.h>

#include <random>

#include "platform/Money.h"

using ormex::platform::Money;

namespace {

Money yuan(const char* text)
{
    return Money::parse(text).value();
}

} // namespace

TEST(Money, ReadsOnlyPlainDecimalsOfAtMostFourPlaces)
{
    const std::pair<const char*, std::int64_t> good[] = {
        {"0", 0},
        {"12.5", 125000},
        {" -5.79 ", -57900},
        {"+3", 30000},
        {"0.0001", 1},
        {".5", 5000},
        {"5.", 50000},
        {"007.10", 71000},
        {"-0", 0},
        {"99999999999.9999", Money::kMaxUnits},
    };
    for (const auto& [text, units] : good) {
        const auto money = Money::parse(text);
        ASSERT_TRUE(money.has_value()) << text;
        EXPECT_EQ(money->units(), units) << text;
    }
    // What an operator could mistype, or what cannot be held exactly, is refused, never changed.
    for (const char* bad : {"", "-", ".", "1e20", "1e2", "12a", "1.2.3", "1,000", "0.00001", "--5",
                            "100000000000", "5 5", "¥5", "NaN", "inf"})
        EXPECT_FALSE(Money::parse(bad).has_value()) << bad;
}

TEST(Money, WritesTheShortestTextAndFixedDecimals)
{
    EXPECT_EQ(yuan("100.00").toString(), "100");
    EXPECT_EQ(yuan("12.50").toString(), "12.5");
    EXPECT_EQ(yuan("-0.3").toString(), "-0.3");
    EXPECT_EQ(yuan("0.0001").toString(), "0.0001");
    EXPECT_EQ(yuan("2.675").toFixed(2), "2.68");
    EXPECT_EQ(yuan("-2.675").toFixed(2), "-2.68");
    EXPECT_EQ(yuan("-0.004").toFixed(2), "0.00");
    EXPECT_EQ(yuan("1996.52").toFixed(0), "1997");
    EXPECT_EQ(yuan("7").toFixed(2), "7.00");
}

TEST(Money, DoublesLoseTheirBinaryNoise)
{
    EXPECT_EQ(Money::ofDouble(131.78 - 131.58).toString(), "0.2");
    EXPECT_EQ(Money::ofDouble(0.1 + 0.2).toString(), "0.3");
    EXPECT_EQ(Money::ofDouble(0.499999999999989).toString(), "0.5");
    EXPECT_EQ(Money::ofDouble(-2.675).toString(), "-2.675");
    EXPECT_EQ(Money::ofDouble(0.00005).toString(), "0.0001");
    EXPECT_EQ(Money::ofDouble(1e-9).toString(), "0");
    EXPECT_FALSE(Money::fromDouble(1e20).has_value());
    EXPECT_FALSE(Money::fromDouble(std::numeric_limits<double>::infinity()).has_value());
}

TEST(Money, AnySequenceOfCentsAddsUpExactly)
{
    // Recharges and deductions in cents, as a till makes them: the balance is the exact sum,
    // where the same steps in doubles drift.
    std::mt19937 random(20261125);
    std::uniform_int_distribution<int> cents(-99999, 99999);
    Money balance;
    long long expected = 0;
    for (int i = 0; i < 100000; ++i) {
        const int step = cents(random);
        expected += step;
        const std::string text = (step < 0 ? "-" : "") + std::to_string(std::abs(step) / 100) + "." +
                                 (std::abs(step) % 100 < 10 ? "0" : "") +
                                 std::to_string(std::abs(step) % 100);
        balance += yuan(text.c_str());
    }
    EXPECT_EQ(balance.units(), expected * 100);
    EXPECT_EQ(Money::parse(balance.toString())->units(), balance.units());
}

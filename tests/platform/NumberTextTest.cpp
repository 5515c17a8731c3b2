#include <cstdio>
#include <gtest/gtest.h>

#include "platform/NumberText.h"
#include "support/DecimalCommaLocale.h"

using namespace ormex::platform;

TEST(NumberText, FormatsLikeThePlatform)
{
    const std::pair<double, const char*> cases[] = {
        {100.0, "100"},    {12.5, "12.5"},       {0.1 + 0.2, "0.3"},
        {-0.0, "0"},       {0.00001, "0.00001"}, {1234567.891, "1234567.891"},
        {-42.10, "-42.1"}, {1e20, "1e+20"},      {10049.999999999998, "10050"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(formatNumber(value), text) << text;
}

TEST(NumberText, FixedDecimalsRoundHalfAwayFromZero)
{
    EXPECT_EQ(formatFixed(10, 2), "10.00");
    EXPECT_EQ(formatFixed(2.675, 2), "2.68");
    EXPECT_EQ(formatFixed(-2.675, 2), "-2.68");
    EXPECT_EQ(formatFixed(-0.001, 2), "0.00");
    EXPECT_DOUBLE_EQ(roundTo(16.005, 2), 16.01);
}

TEST(NumberText, ParsesWholeNumbersOnly)
{
    EXPECT_EQ(parseNumber(" 12.5 "), 12.5);
    EXPECT_EQ(parseNumber("-5"), -5.0);
    EXPECT_EQ(parseNumber("007"), 7.0);
    EXPECT_EQ(parseNumber("1e3"), 1000.0);
    for (const char* bad : {"", " ", "12a", "1.2.3", "-", ".", "e5", "1e"})
        EXPECT_FALSE(parseNumber(bad).has_value()) << bad;
}

TEST(NumberText, DecimalPlacesOfTheWrittenValue)
{
    EXPECT_EQ(decimalPlaces(100), 0);
    EXPECT_EQ(decimalPlaces(12.50), 1);
    EXPECT_EQ(decimalPlaces(-0.05), 2);
    EXPECT_EQ(decimalPlaces(0.1 + 0.2), 1);
    EXPECT_EQ(decimalPlaces(1.005), 3);
    EXPECT_EQ(decimalPlaces(1e-12), 12);
    EXPECT_EQ(decimalPlaces(1e20), 0);
}

TEST(NumberText, AllDigits)
{
    EXPECT_TRUE(isAllDigits("007"));
    EXPECT_FALSE(isAllDigits(""));
    EXPECT_FALSE(isAllDigits("-5"));
    EXPECT_FALSE(isAllDigits("12a"));
    EXPECT_FALSE(isAllDigits("1 2"));
}

TEST(NumberText, TypedNumbersAreReadAsTheyStandOrRefused)
{
    const std::pair<const char*, double> good[] = {
        {"-5.79", -5.79}, {" 12.5 ", 12.5}, {"+3", 3}, {"0.10", 0.1},
        {"5.", 5},        {".5", 0.5},      {"-0", 0}, {"999999999999999", 999999999999999.0},
        {"0.00", 0}};
    for (const auto& [text, value] : good)
        EXPECT_EQ(parseTypedNumber(text, 2), value) << text;
    for (const char* bad : {"", " ", "1e20", "1E2", "12a", "1,000", "--5", "1.2.3", ".", "-", "5.791",
                            "1 000", "0x10", "inf", "nan", "1234567890123456", "¥5"})
        EXPECT_FALSE(parseTypedNumber(bad, 2).has_value()) << bad;
    EXPECT_FALSE(parseTypedNumber("7.5", 0).has_value()) << "a whole number was asked for";
}

// A till whose locale writes decimals with a comma: every text that reaches a statement, a seal or
// the queue for headquarters still carries a decimal point, and reads back.
TEST(NumberText, NoConversionFollowsADecimalCommaLocale)
{
    ORMEX_WITH_DECIMAL_COMMA(comma);
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 12.5);
    ASSERT_STREQ(probe, "12,5") << "the locale was not taken";

    EXPECT_EQ(formatNumber(12.5), "12.5");
    EXPECT_EQ(formatNumber(0.00001), "0.00001");
    EXPECT_EQ(formatNumber(1e20), "1e+20");
    EXPECT_EQ(formatFixed(1234.565, 2), "1234.57");
    EXPECT_DOUBLE_EQ(roundTo(2.675, 2), 2.68);
    EXPECT_EQ(decimalPlaces(0.125), 3);
    EXPECT_EQ(parseNumber("12.5"), 12.5);
    EXPECT_EQ(parseNumber("1.5e3"), 1500.0);
    EXPECT_FALSE(parseNumber("12,5").has_value());
    EXPECT_EQ(parseTypedNumber("99.99", 2), 99.99);
    EXPECT_EQ(sqlNumber("-5.25"), "-5.25");
}

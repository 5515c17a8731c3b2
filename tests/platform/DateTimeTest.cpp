#include <gtest/gtest.h>

#include "platform/DateTime.h"

using namespace ormex::platform;

TEST(DateTime, ParsesTheFormsTheDatabaseHolds)
{
    EXPECT_EQ(parseDate("2026-11-23")->toString(), "2026-11-23");
    EXPECT_EQ(parseDate("2026/1/5 9:05:07")->toString(), "2026-01-05");
    EXPECT_EQ(parseDateTime("2026-11-23 08:09:10")->toString(), "2026-11-23 08:09:10");
    for (const char* bad : {"", "2026-02-30", "23/11/2026", "2026-11-23x", "2026-11-23 25:00"})
        EXPECT_FALSE(parseDate(bad).has_value()) << bad;
}

TEST(DateTime, IsoDatesOnlyInTheSystemsOwnForm)
{
    EXPECT_EQ(parseIsoDate("2028-02-29")->toString(), "2028-02-29");
    for (const char* bad :
         {"2026-02-29", "2026/11/23", "2026-1-5", "2026-11-23 10:00", " 2026-11-23", "2026-11-2x"})
        EXPECT_FALSE(parseIsoDate(bad).has_value()) << bad;
}

TEST(DateTime, Arithmetic)
{
    const Date d{2026, 1, 31};
    EXPECT_EQ(d.addMonths(1).toString(), "2026-02-28");
    EXPECT_EQ(d.addDays(36499).toString(), "2126-01-06");
    EXPECT_EQ(daysBetween(Date{2026, 11, 23}, (Date{2026, 11, 22})), -1L);
    EXPECT_EQ((Date{2024, 12, 31}.addDays(1).toString()), "2025-01-01");
}

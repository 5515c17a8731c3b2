#pragma once

#include <optional>
#include <string>
#include <string_view>

// Calendar dates and times as the system writes them: dates "yyyy-mm-dd", date-times
// "yyyy-mm-dd hh:mm:ss". All arithmetic is on the proleptic Gregorian calendar.
namespace ormex::platform {

struct Date
{
    int year = 0;
    int month = 0;
    int day = 0;

    std::string toString() const; // "yyyy-mm-dd"
    long daysSinceEpoch() const;
    static Date fromDaysSinceEpoch(long days);
    Date addDays(long days) const;
    // Same day of the next month(s), clamped to the month's last day (Jan 31 + 1 month = Feb 28/29).
    Date addMonths(int months) const;
    friend auto operator<=>(const Date&, const Date&) = default;
};

struct DateTime
{
    Date date;
    int hour = 0;
    int minute = 0;
    int second = 0;

    std::string toString() const; // "yyyy-mm-dd hh:mm:ss"
    friend auto operator<=>(const DateTime&, const DateTime&) = default;
};

bool isValidDate(int year, int month, int day);

// Accepts "yyyy-mm-dd", "yyyy/m/d", either followed by a time "h:m[:s]"; the date part is
// returned. Anything else gives nothing.
std::optional<Date> parseDate(std::string_view text);
std::optional<DateTime> parseDateTime(std::string_view text);
// Exactly "yyyy-mm-dd" naming a real day, as the system writes a date; another separator, a
// time, blanks or a day that does not exist give nothing.
std::optional<Date> parseIsoDate(std::string_view text);

// Whole days from `from` to `to` (negative when `to` is earlier).
long daysBetween(const Date& from, const Date& to);

} // namespace ormex::platform

#include "DateTime.h"

#include <chrono>
#include <cstdio>

#include "Text.h"

namespace ormex::platform {

namespace chr = std::chrono;

std::string Date::toString() const
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", year, month, day);
    return buf;
}

long Date::daysSinceEpoch() const
{
    const chr::year_month_day ymd{chr::year{year}, chr::month{static_cast<unsigned>(month)},
                                  chr::day{static_cast<unsigned>(day)}};
    return static_cast<long>(chr::sys_days{ymd}.time_since_epoch().count());
}

Date Date::fromDaysSinceEpoch(long days)
{
    const chr::year_month_day ymd{chr::sys_days{chr::days{days}}};
    return Date{static_cast<int>(ymd.year()), static_cast<int>(static_cast<unsigned>(ymd.month())),
                static_cast<int>(static_cast<unsigned>(ymd.day()))};
}

Date Date::addDays(long days) const
{
    return fromDaysSinceEpoch(daysSinceEpoch() + days);
}

Date Date::addMonths(int months) const
{
    int total = year * 12 + (month - 1) + months;
    Date d{total / 12, total % 12 + 1, day};
    while (!isValidDate(d.year, d.month, d.day))
        --d.day;
    return d;
}

std::string DateTime::toString() const
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%s %02d:%02d:%02d", date.toString().c_str(), hour, minute, second);
    return buf;
}

bool isValidDate(int year, int month, int day)
{
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1) return false;
    const chr::year_month_day ymd{chr::year{year}, chr::month{static_cast<unsigned>(month)},
                                  chr::day{static_cast<unsigned>(day)}};
    return ymd.ok();
}

namespace {

bool readInt(std::string_view s, std::size_t& i, int maxDigits, int& out)
{
    std::size_t start = i;
    out = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9' && static_cast<int>(i - start) < maxDigits) {
        out = out * 10 + (s[i] - '0');
        ++i;
    }
    return i > start;
}

} // namespace

std::optional<DateTime> parseDateTime(std::string_view text)
{
    const std::string s = trim(text);
    std::size_t i = 0;
    DateTime dt;
    if (!readInt(s, i, 4, dt.date.year) || i >= s.size() || (s[i] != '-' && s[i] != '/')) return std::nullopt;
    const char sep = s[i++];
    if (!readInt(s, i, 2, dt.date.month) || i >= s.size() || s[i] != sep) return std::nullopt;
    ++i;
    if (!readInt(s, i, 2, dt.date.day)) return std::nullopt;
    if (!isValidDate(dt.date.year, dt.date.month, dt.date.day)) return std::nullopt;
    if (i == s.size()) return dt;
    if (s[i] != ' ' && s[i] != 'T') return std::nullopt;
    while (i < s.size() && (s[i] == ' ' || s[i] == 'T'))
        ++i;
    if (!readInt(s, i, 2, dt.hour) || i >= s.size() || s[i] != ':') return std::nullopt;
    ++i;
    if (!readInt(s, i, 2, dt.minute)) return std::nullopt;
    if (i < s.size() && s[i] == ':') {
        ++i;
        if (!readInt(s, i, 2, dt.second)) return std::nullopt;
        if (i < s.size() && s[i] == '.') { // fractions of a second are dropped
            ++i;
            while (i < s.size() && s[i] >= '0' && s[i] <= '9')
                ++i;
        }
    }
    if (i != s.size() || dt.hour > 23 || dt.minute > 59 || dt.second > 59) return std::nullopt;
    return dt;
}

std::optional<Date> parseDate(std::string_view text)
{
    if (auto dt = parseDateTime(text)) return dt->date;
    return std::nullopt;
}

std::optional<Date> parseIsoDate(std::string_view text)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    for (std::size_t i : {0, 1, 2, 3, 5, 6, 8, 9})
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    return parseDate(text);
}

long daysBetween(const Date& from, const Date& to)
{
    return to.daysSinceEpoch() - from.daysSinceEpoch();
}

} // namespace ormex::platform

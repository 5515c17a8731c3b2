#include "Clock.h"

#include <ctime>

namespace ormex::platform {

DateTime SystemClock::now() const
{
    std::time_t t = std::time(nullptr);
    std::tm local{};
    localtime_r(&t, &local);
    return DateTime{Date{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday}, local.tm_hour, local.tm_min,
                    local.tm_sec};
}

namespace {
std::shared_ptr<Clock>& installed()
{
    static std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    return clock;
}
} // namespace

const Clock& clock()
{
    return *installed();
}

void setClock(std::shared_ptr<Clock> clock)
{
    installed() = clock ? std::move(clock) : std::make_shared<SystemClock>();
}

} // namespace ormex::platform

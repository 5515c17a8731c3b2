#pragma once

#include <memory>

#include "platform/Clock.h"

namespace ormex::test {

// Fixes "now" for the lifetime of the object and restores the system clock afterwards.
class ScopedClock
{
public:
    explicit ScopedClock(platform::DateTime at);
    ScopedClock(int year, int month, int day, int hour = 10, int minute = 30, int second = 0);
    ~ScopedClock();
    ScopedClock(const ScopedClock&) = delete;
    ScopedClock& operator=(const ScopedClock&) = delete;

    void set(platform::DateTime at) { m_clock->set(at); }

private:
    std::shared_ptr<platform::FixedClock> m_clock;
};

} // namespace ormex::test

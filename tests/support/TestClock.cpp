#include "TestClock.h"

namespace ormex::test {

ScopedClock::ScopedClock(platform::DateTime at) : m_clock(std::make_shared<platform::FixedClock>(at))
{
    platform::setClock(m_clock);
}

ScopedClock::ScopedClock(int year, int month, int day, int hour, int minute, int second)
    : ScopedClock(platform::DateTime{platform::Date{year, month, day}, hour, minute, second})
{
}

ScopedClock::~ScopedClock()
{
    platform::setClock(nullptr);
}

} // namespace ormex::test

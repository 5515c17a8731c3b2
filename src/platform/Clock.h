#pragma once

#include <memory>

#include "DateTime.h"

// The one source of "now" for the module, the host and the database's getdate(). Tests install a
// fixed clock so that "today" is known.
namespace ormex::platform {

class Clock
{
public:
    virtual ~Clock() = default;
    // Local wall-clock time.
    virtual DateTime now() const = 0;
};

class SystemClock : public Clock
{
public:
    DateTime now() const override;
};

class FixedClock : public Clock
{
public:
    explicit FixedClock(DateTime at) : m_at(at) {}
    DateTime now() const override { return m_at; }
    void set(DateTime at) { m_at = at; }

private:
    DateTime m_at;
};

// The installed clock (the system clock until another is installed).
const Clock& clock();
// Installs a clock; nullptr restores the system clock.
void setClock(std::shared_ptr<Clock> clock);

inline Date today()
{
    return clock().now().date;
}
inline DateTime now()
{
    return clock().now();
}

} // namespace ormex::platform

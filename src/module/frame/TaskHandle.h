#pragma once

#include <string>

#include "platform/Value.h"

// A task held with the network task lock. A screen keeps one: each commit renews it (the task
// held before is released, then the new one registered) and it is released whenever the screen
// goes away, however it goes away: closed, Esc, unloaded with the component.
namespace ormex::module::frame {

class TaskHandle
{
public:
    TaskHandle() = default;
    ~TaskHandle() { release(); }
    TaskHandle(const TaskHandle&) = delete;
    TaskHandle& operator=(const TaskHandle&) = delete;

    // Releases the task held, then registers the new one through ExecFunc. Returns the handle
    // ExecFunc gave: 0 when another session holds a conflicting task or anything failed,
    // kRightRefused when the user lacks the right (the operator has been told), -1 for a task
    // number below 1.
    long renew(long taskNo, const platform::Value& item, const std::string& code);
    long renew(long taskNo, const std::string& code);
    // Releases the task when one is held; nothing otherwise. Never throws; a task the host could
    // not release stays held.
    void release();

    long value() const { return m_handle; }
    bool held() const { return m_handle > 0; }

private:
    long m_handle = 0;
};

} // namespace ormex::module::frame

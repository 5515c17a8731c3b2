#include "TaskHandle.h"

#include "Gateway.h"

namespace ormex::module::frame {

long TaskHandle::renew(long taskNo, const platform::Value& item, const std::string& code)
{
    release();
    m_handle = ExecFunc(taskNo, item, code);
    return m_handle;
}

long TaskHandle::renew(long taskNo, const std::string& code)
{
    release();
    m_handle = ExecFunc(taskNo, code);
    return m_handle;
}

void TaskHandle::release()
{
    // CommitTask clears the handle once the host has released the task; a handle it could not
    // release stays, so the next renewal or the screen's close tries again.
    if (m_handle > 0) CommitTask(m_handle);
}

} // namespace ormex::module::frame

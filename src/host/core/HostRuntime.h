#pragma once

#include <string>

#include "HostConfig.h"

// A running host session: checks that its database can be opened, installs the environment,
// publishes the shared properties of this process and registers every business object in the
// object factory. The destructor withdraws all of it.
namespace ormex::host {

class HostRuntime
{
public:
    // Throws db::OpenError when the session database cannot be opened, db::SchemaVersionError when
    // it is newer than the build (an older one is upgraded).
    explicit HostRuntime(HostConfig config);
    ~HostRuntime();
    HostRuntime(const HostRuntime&) = delete;
    HostRuntime& operator=(const HostRuntime&) = delete;

    const HostConfig& config() const { return m_config; }

    // True when the session's user holds the rights code; otherwise the refusal, naming the
    // function, is logged and shown through the message service.
    bool allows(const std::string& code) const;
    // True when the session's user holds the rights code; nothing logged or shown (for enabling
    // a command, which allows() then checks when it is given).
    bool holds(const std::string& code) const;
    // The right a function of the component needs before it opens (2 会员设置 hy0009, 3 会员档案审核
    // hy0010); "" when the function checks its own rights.
    static std::string functionRight(int function);
    const std::string& session() const { return m_session; }

private:
    HostConfig m_config;
    std::string m_session;
    long m_processId;
};

} // namespace ormex::host

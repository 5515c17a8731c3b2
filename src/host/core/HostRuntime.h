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
    // Throws db::OpenError when the session database cannot be opened.
    explicit HostRuntime(HostConfig config);
    ~HostRuntime();
    HostRuntime(const HostRuntime&) = delete;
    HostRuntime& operator=(const HostRuntime&) = delete;

    const HostConfig& config() const { return m_config; }
    const std::string& session() const { return m_session; }

private:
    HostConfig m_config;
    std::string m_session;
    long m_processId;
};

} // namespace ormex::host

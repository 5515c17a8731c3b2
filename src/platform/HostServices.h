#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "BusinessObjects.h"
#include "MessageService.h"
#include "Value.h"

// The process-wide services a host publishes and the module reads: the object factory, the
// message service, the host environment (current user), the operating-system identity of the
// machine, and the shared property table published per host process. Nothing here caches a
// value on the module's behalf: every read asks the host again.
namespace ormex::platform {

class ObjectCreationError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Creates business objects by programmatic identifier ("OrmexMCardManage.MCMaintain").
class ObjectFactory
{
public:
    using Creator = std::function<std::shared_ptr<BusinessObject>()>;

    void registerClass(const std::string& progId, Creator creator);
    void unregisterAll();
    // Throws ObjectCreationError when no class of that name is registered.
    std::shared_ptr<BusinessObject> create(const std::string& progId) const;

    // Creates and casts; throws ObjectCreationError when the object lacks the interface.
    template <class T> std::shared_ptr<T> createAs(const std::string& progId) const
    {
        auto object = std::dynamic_pointer_cast<T>(create(progId));
        if (!object) throw ObjectCreationError("object " + progId + " does not offer the expected interface");
        return object;
    }

private:
    std::vector<std::pair<std::string, Creator>> m_classes;
};

// The host's session: who is logged on.
class HostEnvironment
{
public:
    virtual ~HostEnvironment() = default;
    virtual std::string currentUserName() const = 0;
    virtual int currentUserId() const = 0;
};

// What the operating system and the application-server client library tell about this machine.
class SystemInfo
{
public:
    virtual ~SystemInfo() = default;
    // The computer name; nothing when it cannot be read.
    virtual std::optional<std::string> computerName() const = 0;
    // The machine's primary IPv4 address; 1 on success with the address in `out`.
    virtual int readTcp(std::string& out) const = 0;
    virtual long processId() const = 0;
};

// The real machine: gethostname, the first non-loopback IPv4 address, getpid.
class OsSystemInfo : public SystemInfo
{
public:
    std::optional<std::string> computerName() const override;
    int readTcp(std::string& out) const override;
    long processId() const override;
};

// The shared property table a host publishes for its process (ISBranch, SVCardShareType,
// BranchNum, BranchID).
class SharedPropertyTable
{
public:
    virtual ~SharedPropertyTable() = default;
    virtual bool lookup(const std::string& key) const = 0;
    virtual Value item(const std::string& key) const = 0;
};

// The registry of the services above, one per process (the platform is a shared library, so the
// host and the module see the same registry).
class HostServices
{
public:
    static HostServices& instance();

    ObjectFactory& factory() { return m_factory; }

    void setMessageService(std::shared_ptr<MessageService> service) { m_messages = std::move(service); }
    // Throws std::logic_error when the host has not installed one.
    MessageService& messages() const;

    void setEnvironment(std::shared_ptr<HostEnvironment> environment)
    {
        m_environment = std::move(environment);
    }
    const HostEnvironment& environment() const;

    void setSystemInfo(std::shared_ptr<SystemInfo> info) { m_system = std::move(info); }
    const SystemInfo& systemInfo() const;

    // Publishes the property table of a process (the role of the desktop window property named
    // after the process id). nullptr withdraws it.
    void publishSharedProperties(long processId, std::shared_ptr<SharedPropertyTable> table);
    // Throws std::runtime_error when the process has not published one.
    std::shared_ptr<SharedPropertyTable> sharedProperties(long processId) const;

    // Drops everything (tests).
    void reset();

private:
    HostServices();
    ObjectFactory m_factory;
    std::shared_ptr<MessageService> m_messages;
    std::shared_ptr<HostEnvironment> m_environment;
    std::shared_ptr<SystemInfo> m_system;
    std::vector<std::pair<long, std::shared_ptr<SharedPropertyTable>>> m_tables;
};

} // namespace ormex::platform

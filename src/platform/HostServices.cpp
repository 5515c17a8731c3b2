#include "HostServices.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

#include "Text.h"

namespace ormex::platform {

void ObjectFactory::registerClass(const std::string& progId, Creator creator)
{
    for (auto& entry : m_classes) {
        if (iequals(entry.first, progId)) {
            entry.second = std::move(creator);
            return;
        }
    }
    m_classes.emplace_back(progId, std::move(creator));
}

void ObjectFactory::unregisterAll()
{
    m_classes.clear();
}

std::shared_ptr<BusinessObject> ObjectFactory::create(const std::string& progId) const
{
    for (const auto& entry : m_classes) {
        if (iequals(entry.first, progId)) {
            auto object = entry.second();
            if (!object) throw ObjectCreationError("cannot create object " + progId);
            return object;
        }
    }
    throw ObjectCreationError("cannot create object " + progId + ": no such class");
}

std::optional<std::string> OsSystemInfo::computerName() const
{
    char buf[256] = {};
    if (gethostname(buf, sizeof buf - 1) != 0) return std::nullopt;
    return std::string(buf);
}

int OsSystemInfo::readTcp(std::string& out) const
{
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return 0;
    int found = 0;
    for (ifaddrs* it = list; it; it = it->ifa_next) {
        if (!it->ifa_addr || it->ifa_addr->sa_family != AF_INET || (it->ifa_flags & IFF_LOOPBACK) ||
            !(it->ifa_flags & IFF_UP))
            continue;
        char text[INET_ADDRSTRLEN] = {};
        const auto* address = reinterpret_cast<const sockaddr_in*>(it->ifa_addr);
        if (inet_ntop(AF_INET, &address->sin_addr, text, sizeof text)) {
            out = text;
            found = 1;
            break;
        }
    }
    freeifaddrs(list);
    return found;
}

long OsSystemInfo::processId() const
{
    return static_cast<long>(getpid());
}

HostServices::HostServices() : m_system(std::make_shared<OsSystemInfo>()) {}

HostServices& HostServices::instance()
{
    static HostServices services;
    return services;
}

MessageService& HostServices::messages() const
{
    if (!m_messages) throw std::logic_error("the host has not installed a message service");
    return *m_messages;
}

const HostEnvironment& HostServices::environment() const
{
    if (!m_environment) throw std::logic_error("the host has not installed its environment");
    return *m_environment;
}

const SystemInfo& HostServices::systemInfo() const
{
    return *m_system;
}

void HostServices::publishSharedProperties(long processId, std::shared_ptr<SharedPropertyTable> table)
{
    for (auto it = m_tables.begin(); it != m_tables.end(); ++it) {
        if (it->first == processId) {
            if (table)
                it->second = std::move(table);
            else
                m_tables.erase(it);
            return;
        }
    }
    if (table) m_tables.emplace_back(processId, std::move(table));
}

std::shared_ptr<SharedPropertyTable> HostServices::sharedProperties(long processId) const
{
    for (const auto& entry : m_tables)
        if (entry.first == processId) return entry.second;
    throw std::runtime_error("the host has not published its shared properties for process " +
                             std::to_string(processId));
}

void HostServices::reset()
{
    m_factory.unregisterAll();
    m_messages.reset();
    m_environment.reset();
    m_system = std::make_shared<OsSystemInfo>();
    m_tables.clear();
}

} // namespace ormex::platform

#include "SessionProperties.h"

#include <stdexcept>

#include "platform/Text.h"

namespace ormex::host {

SessionPropertyTable::SessionPropertyTable(const HostConfig& config)
{
    if (config.isBranch) m_values.set("ISBranch", *config.isBranch);
    if (config.svCardShareType) m_values.set("SVCardShareType", *config.svCardShareType);
    if (config.branchNum) m_values.set("BranchNum", *config.branchNum);
    if (config.branchId) m_values.set("BranchID", *config.branchId);
}

bool SessionPropertyTable::lookup(const std::string& key) const
{
    return m_values.contains(key);
}

platform::Value SessionPropertyTable::item(const std::string& key) const
{
    return m_values.value(key);
}

platform::Value PropertyManager::getProperty(const std::string& name, long)
{
    if (platform::iequals(name, "PropsString")) return m_props;
    return {};
}

std::shared_ptr<platform::BusinessObject> PropertyManager::getObjectProperty(const std::string& name, long)
{
    if (platform::iequals(name, "OrmexLogin")) return m_login();
    throw std::runtime_error("no object property " + name);
}

} // namespace ormex::host

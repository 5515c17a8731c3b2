#include "Session.h"

#include <cmath>

#include "platform/HostServices.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {
platform::HostServices& host()
{
    return platform::HostServices::instance();
}
} // namespace

platform::Value GetSharedProp(const std::string& key, const platform::Value& defaultValue)
{
    auto table = host().sharedProperties(host().systemInfo().processId());
    if (table->lookup(key)) return table->item(key);
    return defaultValue;
}

bool IsBranch()
{
    return GetSharedProp("ISBranch", false).toBool();
}

bool IsStoredValueShared()
{
    return GetSharedProp("SVCardShareType", false).toBool();
}

bool IsHQLinkedBranch()
{
    return IsBranch() && IsStoredValueShared();
}

std::string GetBranchNum()
{
    return GetSharedProp("BranchNum", "").toString();
}

long GetBranchID()
{
    const auto number = platform::parseNumber(GetSharedProp("BranchID", "").toString());
    return number ? std::lround(*number) : 0;
}

std::string GetPropsString()
{
    auto props = host().factory().createAs<platform::ShareProps>("OrmexPropsMgr.ShareProps");
    return props->getProperty("PropsString", host().systemInfo().processId()).toString();
}

std::shared_ptr<platform::LoginObject> GetLoginObject()
{
    auto props = host().factory().createAs<platform::ShareProps>("OrmexPropsMgr.ShareProps");
    auto login = std::dynamic_pointer_cast<platform::LoginObject>(
        props->getObjectProperty("OrmexLogin", host().systemInfo().processId()));
    if (!login) throw std::runtime_error("the host offers no login object");
    return login;
}

std::string CurrentUserName()
{
    return host().environment().currentUserName();
}

int CurrentUserId()
{
    return host().environment().currentUserId();
}

std::string GetMachineName()
{
    const auto name = host().systemInfo().computerName();
    return name ? platform::toUpperAscii(name->substr(0, std::min<std::size_t>(name->find('\0'), 127)))
                : std::string();
}

std::string GetTaskMachineName()
{
    const auto name = host().systemInfo().computerName();
    if (!name) return "NoName";
    return platform::trim(name->substr(0, std::min<std::size_t>(name->find('\0'), 39)));
}

std::string GetTcpAddress()
{
    std::string address;
    if (host().systemInfo().readTcp(address) != 1) return {};
    return address.substr(0, address.find('\0'));
}

} // namespace ormex::module::frame

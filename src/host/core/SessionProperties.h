#pragma once

#include <memory>
#include <string>

#include "HostConfig.h"
#include "platform/BusinessObjects.h"
#include "platform/HostServices.h"

// What a host publishes about its session: the shared property table, the environment (the
// logged-on user) and the property manager with the session descriptor and the login object.
namespace ormex::host {

class SessionPropertyTable : public platform::SharedPropertyTable
{
public:
    explicit SessionPropertyTable(const HostConfig& config);
    bool lookup(const std::string& key) const override;
    platform::Value item(const std::string& key) const override;

private:
    platform::FieldMap m_values;
};

class SessionEnvironment : public platform::HostEnvironment
{
public:
    SessionEnvironment(std::string userName, int userId) : m_name(std::move(userName)), m_id(userId) {}
    std::string currentUserName() const override { return m_name; }
    int currentUserId() const override { return m_id; }

private:
    std::string m_name;
    int m_id;
};

// "OrmexPropsMgr.ShareProps"
class PropertyManager : public platform::ShareProps
{
public:
    PropertyManager(std::string propsString, std::function<std::shared_ptr<platform::BusinessObject>()> login)
        : m_props(std::move(propsString)), m_login(std::move(login))
    {
    }
    platform::Value getProperty(const std::string& name, long processId) override;
    std::shared_ptr<platform::BusinessObject> getObjectProperty(const std::string& name,
                                                                long processId) override;

private:
    std::string m_props;
    std::function<std::shared_ptr<platform::BusinessObject>()> m_login;
};

} // namespace ormex::host

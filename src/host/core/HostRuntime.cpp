#include "HostRuntime.h"

#include "ApprovalMaintain.h"
#include "CardMaintain.h"
#include "DatabaseConnection.h"
#include "LocalLogServer.h"
#include "MemberLists.h"
#include "SessionProperties.h"
#include "SettingsMaintain.h"
#include "TaskLock.h"
#include "platform/HostServices.h"
#include "sql/Database.h"
#include "sql/DbError.h"
#include "store/CardSeal.h"
#include "store/Operators.h"
#include "store/Schema.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

HostRuntime::HostRuntime(HostConfig config)
    : m_config(std::move(config)), m_session(TaskLock::currentSession()),
      m_processId(platform::HostServices::instance().systemInfo().processId())
{
    // Every connection of the session seals the cards it writes: the key comes first.
    const auto key = db::parseSealKey(m_config.sealKey);
    if (!key)
        throw db::OpenError((m_config.settingsFile.empty() ? std::string("no settings file was read: no")
                                                           : m_config.settingsFile + " holds no") +
                            " seal-key of 64 hexadecimal digits, the card seals cannot be kept");
    db::setSealKey(*key);
    // Opened as every object of the session opens it: an older file is upgraded, a newer one refused.
    if (!db::hasSchema(db::sharedDatabase(m_config.databasePath())))
        throw db::OpenError(m_config.databasePath() + " is not an OrmexCardManage database");
    auto& services = platform::HostServices::instance();
    services.setEnvironment(std::make_shared<SessionEnvironment>(m_config.userName, m_config.userId));
    services.publishSharedProperties(m_processId, std::make_shared<SessionPropertyTable>(m_config));

    const std::string path = m_config.databasePath();
    const std::string folder = m_config.dataFolder;
    const int user = m_config.userId;
    const std::string session = m_session;
    const long pid = m_processId;
    const std::string props = m_config.propsString();
    auto& factory = services.factory();
    const std::string branchNo = m_config.branchNum.value_or("");
    const CardOperationLogger logger{user, props, branchNo, m_config.branchId.value_or("")};
    factory.registerClass("OrmexMCardManage.MCMaintain",
                          [path, logger] { return std::make_shared<CardMaintain>(path, logger); });
    factory.registerClass("OrmexMCardManage.CheckMaintain",
                          [path] { return std::make_shared<ApprovalMaintain>(path); });
    factory.registerClass("OrmexMCardManage.ConfigMaintain",
                          [path] { return std::make_shared<SettingsMaintain>(path); });
    factory.registerClass("OrmexMMCBaseData.VIPMaintain",
                          [path] { return std::make_shared<MemberLists>(path); });
    factory.registerClass("OrmexEBSBase.LogServer", [path, user, branchNo] {
        return std::make_shared<LocalLogServer>(path, user, branchNo);
    });
    const auto deadline = m_config.hqDeadline;
    factory.registerClass("ADODB.Connection", [folder, deadline] {
        return std::make_shared<DatabaseConnection>(folder, deadline);
    });
    factory.registerClass("OrmexPropsMgr.ShareProps", [=] {
        return std::make_shared<PropertyManager>(
            props, [=] { return std::make_shared<TaskLock>(path, session, pid, user); });
    });
}

bool HostRuntime::allows(const std::string& code) const
{
    auto& database = db::sharedDatabase(m_config.databasePath());
    if (db::hasRight(database, m_config.userId, code)) return true;
    const auto& services = platform::HostServices::instance();
    db::logRefusedRight(database, m_config.userId, code, {},
                        services.systemInfo().computerName().value_or(""));
    services.messages().message(db::rightRefusal(code), "提示", platform::MessageIcon::Information);
    return false;
}

bool HostRuntime::holds(const std::string& code) const
{
    return db::hasRight(db::sharedDatabase(m_config.databasePath()), m_config.userId, code);
}

std::string HostRuntime::functionRight(int function)
{
    switch (function) {
    case 2:
        return "hy0009";
    case 3:
        return "hy0010";
    }
    return {};
}

HostRuntime::~HostRuntime()
{
    db::setSealKey(std::nullopt);
    auto& services = platform::HostServices::instance();
    services.publishSharedProperties(m_processId, nullptr);
    services.factory().unregisterAll();
    services.setEnvironment(nullptr);
}

} // namespace ormex::host

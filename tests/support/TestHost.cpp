#include "TestHost.h"

#include "host/core/SqlText.h"

namespace ormex::test {

TestHost::TestHost(TestHostOptions options)
    : m_system(std::make_shared<FakeSystemInfo>()), m_messages(std::make_shared<ScriptedMessageService>())
{
    auto& services = platform::HostServices::instance();
    services.reset();
    services.setSystemInfo(m_system);
    services.setMessageService(m_messages);
    m_branch = std::make_unique<TestDatabase>("branch.db");
    m_branch->exec("insert into t_SystemProfile values ('VIP','PosSavingServerDb','(local)/HQ/sa/pw'),"
                   " ('ic','g_branch_no','" +
                   options.branchNum + "'), ('ic','is_branch','1')");
    if (options.withHeadquarters) {
        m_hq = std::make_unique<TestDatabase>(m_branch->folder(), "HQ.db");
        m_hq->exec("insert into t_SystemProfile values ('ic','g_branch_no','00'), ('ic','is_branch','0')");
    }
    host::HostConfig config;
    config.dataFolder = m_branch->folder();
    config.databaseFile = "branch.db";
    config.userId = 7;
    config.userName = "测试员";
    config.branchId = options.branchId;
    config.branchNum = options.branchNum;
    config.isBranch = options.isBranch;
    config.svCardShareType = options.svCardShareType;
    m_runtime = std::make_unique<host::HostRuntime>(config);
}

TestHost::~TestHost()
{
    m_runtime.reset();
    platform::HostServices::instance().reset();
}

void TestHost::setHeadquartersSetting(const std::string& value)
{
    m_branch->exec("update t_SystemProfile set FValue=" + host::quoted(value) +
                   " where FKey='PosSavingServerDb'");
}

} // namespace ormex::test

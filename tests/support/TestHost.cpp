#include "TestHost.h"

#include "host/core/SqlText.h"
#include "store/Operators.h"

namespace ormex::test {

namespace {

void addBranchSettings(TestDatabase& db, const std::string& branchNum)
{
    db.exec("insert into t_SystemProfile values ('VIP','PosSavingServerDb','(local)/HQ/sa/pw'),"
            " ('ic','g_branch_no','" +
            branchNum + "'), ('ic','is_branch','1')");
}

} // namespace

TestHost::TestHost(TestHostOptions options)
    : m_system(std::make_shared<FakeSystemInfo>()), m_messages(std::make_shared<ScriptedMessageService>())
{
    auto& services = platform::HostServices::instance();
    services.reset();
    services.setSystemInfo(m_system);
    services.setMessageService(m_messages);
    m_branch = std::make_unique<TestDatabase>("branch.db");
    addBranchSettings(*m_branch, options.branchNum);
    // The session's user, who never logs in here: no password matches its hash.
    db::addStandardRoles(m_branch->db());
    m_branch->exec(
        "insert into t_User (FUserID, FLogin, FName, FPasswordHash, FRoleId) values (7, 'tester', '测试员', "
        "'-', " +
        host::quoted(options.role) + ")");
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
    config.sealKey = db::sealKeyText(testSealKey());
    config.hqDeadline = options.hqDeadline;
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

TestDatabase& TestHost::useBranch(const std::string& fileName, const std::string& branchNum)
{
    TestDatabase* db = fileName == "branch.db" ? m_branch.get() : nullptr;
    for (const auto& other : m_otherBranches)
        if (other->path() == m_branch->folder() + "/" + fileName) db = other.get();
    if (!db) {
        m_otherBranches.push_back(std::make_unique<TestDatabase>(m_branch->folder(), fileName));
        db = m_otherBranches.back().get();
        addBranchSettings(*db, branchNum);
    }
    host::HostConfig config = m_runtime->config();
    config.databaseFile = fileName;
    config.branchNum = branchNum;
    m_runtime.reset();
    m_runtime = std::make_unique<host::HostRuntime>(config);
    return *db;
}

} // namespace ormex::test

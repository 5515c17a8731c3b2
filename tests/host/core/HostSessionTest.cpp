// A host session as the component sees it: the factory, the shared properties, the login object.
#include <gtest/gtest.h>

#include <fstream>

#include "host/core/HostConfig.h"
#include "platform/BusinessObjects.h"
#include "support/TestHost.h"

using namespace ormex;

TEST(HostSession, PublishesPropertiesAndObjectsAndWithdrawsThem)
{
    long pid = 0;
    {
        test::TestHost host(
            {.isBranch = true, .svCardShareType = false, .branchId = "12", .branchNum = "03"});
        auto& services = platform::HostServices::instance();
        pid = services.systemInfo().processId();
        auto table = services.sharedProperties(pid);
        EXPECT_TRUE(table->item("ISBranch").toBool());
        EXPECT_FALSE(table->item("SVCardShareType").toBool());
        EXPECT_EQ(table->item("BranchID").toString(), "12");
        for (const char* id : {"OrmexMCardManage.MCMaintain", "OrmexMCardManage.CheckMaintain",
                               "OrmexMCardManage.ConfigMaintain", "OrmexMMCBaseData.VIPMaintain",
                               "OrmexEBSBase.LogServer", "ADODB.Connection", "OrmexPropsMgr.ShareProps"})
            EXPECT_NO_THROW(services.factory().create(id)) << id;
        auto props = services.factory().createAs<platform::ShareProps>("OrmexPropsMgr.ShareProps");
        EXPECT_NE(props->getProperty("PropsString", pid).toString().find("branch.db"), std::string::npos);
        EXPECT_TRUE(
            std::dynamic_pointer_cast<platform::LoginObject>(props->getObjectProperty("OrmexLogin", pid)));
        auto log = services.factory().createAs<platform::LogServer>("OrmexEBSBase.LogServer");
        log->writeLog("props", "MCM0001", 1, "积分管理---积分奖励", "POS-01", "10.0.0.8");
        EXPECT_EQ(host.branch().rows(
                      "select FUserID,FFunctionID,FType,FDescription,FMachineName,FIPAddress from t_OperLog"),
                  std::vector<std::string>{"7|MCM0001|1|积分管理---积分奖励|POS-01|10.0.0.8"});
    }
    EXPECT_ANY_THROW(platform::HostServices::instance().sharedProperties(pid));
    EXPECT_ANY_THROW(platform::HostServices::instance().factory().create("OrmexMCardManage.MCMaintain"));
}

TEST(HostConfig, FileThenCommandLineSettings)
{
    const std::string dir = test::makeTempFolder();
    std::ofstream(dir + "/host.conf") << "# demo branch\nuser = cashier\nbranch-num=05\nis-branch=0\n";
    host::HostConfig config;
    config.readFile(dir + "/host.conf");
    EXPECT_EQ(config.login, "cashier");
    EXPECT_EQ(config.userId, 0) << "who works is the login's to say";
    EXPECT_EQ(config.isBranch, false);
    std::ofstream(dir + "/bad.conf") << "user=cashier\nsv-share=maybe\n";
    try {
        config.readFile(dir + "/bad.conf");
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("bad.conf:2"), std::string::npos) << error.what();
    }
    EXPECT_THROW(config.set("colour", "red"), std::invalid_argument);
    EXPECT_THROW(config.set("user-id", "1"), std::invalid_argument) << "no session names its own user";
    test::removeFolder(dir);
}

#include <gtest/gtest.h>

#include "module/frame/Gateway.h"
#include "module/hq/HqLink.h"
#include "module/hq/OperationLog.h"
#include "module/hq/ReplayOutbox.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::hq;

namespace {
struct FreshText
{
    FreshText() { ResetHQConnectionText(); }
    ~FreshText() { ResetHQConnectionText(); }
};

// Queues statements for headquarters as an operation does with its local change, and sends them.
ReplayState replay(const std::string& statements, HQOperation operation)
{
    const std::string queued = QueueOnHQ(statements, operation);
    if (!queued.empty()) module::frame::ExecuteSQL(queued);
    return SendQueuedToHQ();
}
} // namespace

TEST(HqLink, ConnectionTextFromTheSetting)
{
    test::TestHost host;
    FreshText fresh;
    host.setHeadquartersSetting("srv/db/usr/pwd/extra");
    EXPECT_EQ(BuildHQConnectionText(),
              "Provider=SQLOLEDB.1;User ID=usr;Password=pwd;Data Source=srv;Initial Catalog=db");
    host.setHeadquartersSetting("srv/db/usr");
    EXPECT_EQ(BuildHQConnectionText(), "");
    EXPECT_FALSE(ConnHQ());
    host.setHeadquartersSetting("(local)/HQ/sa/pw");
    EXPECT_FALSE(HQConnectionText().empty()) << "an empty text is built again on the next use";
}

TEST(HqLink, OnlineCheckInAndOutsideALinkedBranch)
{
    {
        test::TestHost host({.isBranch = true, .svCardShareType = false});
        FreshText fresh;
        for (int code = 0; code <= 7; ++code)
            EXPECT_TRUE(CheckHQOnline(static_cast<HQOperation>(code)));
        EXPECT_TRUE(HQHasRowsIfLinked("select 1"));
    }
    {
        test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
        FreshText fresh;
        EXPECT_TRUE(CheckHQOnline(HQOperation::CardStatus));
        EXPECT_TRUE(host.messages().shown().empty());
    }
    {
        test::TestHost host({.isBranch = true, .svCardShareType = true}); // no HQ.db
        FreshText fresh;
        EXPECT_FALSE(CheckHQOnline(HQOperation::CardStatus));
        EXPECT_FALSE(CheckHQOnline(static_cast<HQOperation>(7)));
        EXPECT_FALSE(CheckHQOnline(HQOperation::Recharge));
        EXPECT_EQ(host.messages().texts(), (std::vector<std::string>{"卡状态操作要求与总部联网，请先联网！",
                                                                     "充值需与总部联网，请联网后再充值！"}));
        EXPECT_EQ(host.messages().shown()[0].icon, platform::MessageIcon::Information);
        EXPECT_FALSE(HQHasRowsIfLinked("select 1"));
        EXPECT_EQ(HQGetFieldValue("select 1 as a", "a").toString(), "");
    }
}

TEST(HqLink, DirectOperationsOnHeadquarters)
{
    test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    FreshText fresh;
    host.hq().exec(
        "insert into T_Pos_VipRecord (FCardId,FVipName,FAccNum,FDecNum) values ('C1',' 张伟 ',100,20)");
    EXPECT_EQ(HQGetFieldValue("select FAccNum from T_Pos_VipRecord where FCardId='C1'", "FAccNum").toString(),
              "100");
    EXPECT_TRUE(HQHasRows("select FCardId from T_Pos_VipRecord where FCardId='C1' And FAccNum-FDecNum>=80"));
    EXPECT_FALSE(
        HQHasRowsIfLinked("select FCardId from T_Pos_VipRecord where FCardId='C1' And FAccNum-FDecNum>=81"));
    EXPECT_EQ(HQQueryToList("select FVipName from T_Pos_VipRecord").at(0).text("FVipName"), "张伟");
    std::shared_ptr<platform::Connection> connection;
    EXPECT_EQ(HQOpenRecordset("select * from T_Pos_VipRecord", connection).recordCount(), 1u);
    EXPECT_TRUE(connection && connection->isOpen());
}

TEST(OperationLog, LinkedBranchReplaysTheStatementsWithALogRow)
{
    test::TestHost host(
        {.isBranch = true, .svCardShareType = true, .branchNum = "01", .withHeadquarters = true});
    FreshText fresh;
    host.clock().set({{2026, 11, 23}, 14, 7, 59});
    host.hq().exec("insert into T_Pos_VipRecord (FCardId,FCardStatus) values ('C1','2')");
    EXPECT_EQ(replay("UPDATE T_Pos_VipRecord SET FCardStatus='0' WHERE FCardId='C1'", HQOperation::CardStatus)
                  .waiting,
              0);
    EXPECT_EQ(host.hq().scalar("select FCardStatus from T_Pos_VipRecord").toString(), "0");
    EXPECT_EQ(
        host.hq().rows(
            "select FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress from t_Log"),
        std::vector<std::string>{
            "2026-11-23 14:07:00|7|MCM0001|5|分店[01]进行卡状态管理---修改密码|POS-01|10.0.0.8"});

    // Any other code sends the statements alone.
    EXPECT_EQ(LogRowStatement(static_cast<HQOperation>(7)), "");
    replay("UPDATE T_Pos_VipRecord SET FCardStatus='3' WHERE FCardId='C1'", static_cast<HQOperation>(7));
    EXPECT_EQ(host.hq().scalar("select FCardStatus from T_Pos_VipRecord").toString(), "3");
    EXPECT_EQ(host.hq().scalar("select count(*) from t_Log").toInt(), 1);

    host.system().name.reset();
    EXPECT_NE(LogRowStatement(HQOperation::CardChange).find("]换卡','','10.0.0.8')"), std::string::npos)
        << LogRowStatement(HQOperation::CardChange);
    EXPECT_TRUE(host.branch().rows("select * from t_Log").empty()) << "nothing is written locally";
}

TEST(OperationLog, NothingReachesHeadquartersOutsideALinkedBranch)
{
    test::TestHost host({.isBranch = false, .svCardShareType = true, .withHeadquarters = true});
    FreshText fresh;
    EXPECT_EQ(QueueOnHQ("insert into t_Log (FUserID) values (1)", HQOperation::CardStatus), "");
    EXPECT_EQ(SendQueuedToHQ().waiting, 0);
    EXPECT_EQ(host.hq().scalar("select count(*) from t_Log").toInt(), 0);
    WriteLocalLog("储值管理---", "会员卡充值");
    EXPECT_EQ(
        host.branch().rows("select FFunctionID,FType,FDescription,FMachineName,FIPAddress from t_OperLog"),
        std::vector<std::string>{"MCM0001|1|储值管理---会员卡充值|POS-01|10.0.0.8"});
}

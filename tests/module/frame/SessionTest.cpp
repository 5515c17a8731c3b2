#include <gtest/gtest.h>

#include "module/frame/Gateway.h"
#include "module/frame/Session.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::frame;

TEST(Session, LinkedBranchNeedsBothFlags)
{
    struct Case
    {
        std::optional<bool> branch, shared;
        bool linked;
    };
    for (const Case& c : {Case{true, true, true}, Case{true, false, false}, Case{false, true, false},
                          Case{std::nullopt, true, false}, Case{true, std::nullopt, false}}) {
        test::TestHost host({.isBranch = c.branch, .svCardShareType = c.shared});
        EXPECT_EQ(IsHQLinkedBranch(), c.linked);
    }
}

TEST(Session, BranchIdIsANumberOrZero)
{
    const std::pair<std::optional<std::string>, long> cases[] = {
        {"12", 12}, {"", 0}, {"x", 0}, {std::nullopt, 0}, {"2.6", 3}};
    for (const auto& [text, id] : cases) {
        test::TestHost host({.branchId = text});
        EXPECT_EQ(GetBranchID(), id) << text.value_or("(absent)");
    }
}

TEST(Session, MachineIdentity)
{
    test::TestHost host;
    EXPECT_EQ(GetMachineName(), "POS-01");
    EXPECT_EQ(GetTaskMachineName(), "pos-01");
    EXPECT_EQ(GetTcpAddress(), "10.0.0.8");
    host.system().name.reset();
    host.system().address.reset();
    EXPECT_EQ(GetMachineName(), "");
    EXPECT_EQ(GetTaskMachineName(), "NoName");
    EXPECT_EQ(GetTcpAddress(), "");
    EXPECT_EQ(CurrentUserId(), 7);
    EXPECT_EQ(CurrentUserName(), "测试员");
}

TEST(TaskLockCalls, RegistrationAndConflict)
{
    test::TestHost host;
    EXPECT_EQ(ExecFunc(0, platform::Value("C1"), "hy0001"), -1);
    EXPECT_EQ(host.branch().scalar("select count(*) from t_NetTask").toInt(), 0);

    long handle = ExecFunc(2002, platform::Value("C1"), "hy0001");
    ASSERT_GT(handle, 0);
    EXPECT_EQ(host.branch().rows("select FTaskNo,FCode,FItem,FMachine from t_NetTask"),
              std::vector<std::string>{"2002|hy0001|C1|pos-01"});
    // Another operator, elsewhere, works on C2.
    host.branch().exec(
        "insert into t_NetTask (FTaskNo,FCode,FItem,FMachine,FSession,FProcessId,FStartTime,FHeartbeat)"
        " values (2002,'hy0005','C2','POS-02','pos-02/1/1',1,'2026-11-23 10:00:00','2026-11-23 10:29:00')");
    EXPECT_EQ(ExecFunc(2002, platform::Value("C2"), "hy0001"), 0);
    EXPECT_EQ(host.messages().last(),
              std::string(kTaskConflictMessage) + "\n该功能正在机器【POS-02】上使用。")
        << "a session whose user is unknown is named by its machine";
    EXPECT_EQ(host.messages().shown().back().kind, test::ScriptedMessageService::Kind::Error);
    EXPECT_TRUE(CommitTask(handle));
    EXPECT_EQ(handle, 0);
    EXPECT_EQ(host.branch().scalar("select count(*) from t_NetTask").toInt(), 1);
}

TEST(Gateway, ReadersAndPasswordCheck)
{
    test::TestHost host;
    host.branch().exec("insert into T_Pos_VipRecord (FCardId, password) values ('C1','ab''c12')");
    EXPECT_EQ(GetFieldValue("select FCardId from T_Pos_VipRecord where FCardId='none'", "FCardId").toString(),
              "");
    EXPECT_TRUE(CheckPassword(platform::Value("C1"), "ab'c12")) << "the quote reaches the host doubled";
    EXPECT_FALSE(CheckPassword(platform::Value("C1"), "abc12"));
    EXPECT_FALSE(CheckPassword(platform::Value(0), ""));
    EXPECT_FALSE(GetVipRecordList(50, "no such column = 1").has_value());
    EXPECT_EQ(GetVipRecordList(50, "FCardId='C1'")->size(), 1u);
    EXPECT_TRUE(host.messages().shown().empty());
}

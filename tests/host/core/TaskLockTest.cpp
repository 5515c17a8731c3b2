#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include "host/core/TaskLock.h"
#include "platform/Clock.h"
#include "store/Operators.h"
#include "support/TestDatabase.h"

using ormex::host::TaskLock;
using ormex::platform::Value;

namespace {

long take(TaskLock& lock, long task, const std::string& code, const std::string& item)
{
    int a = 0, b = 0;
    return lock.taskexec(task, code, "POS", 3, a, b, Value(item));
}

std::string thisHost()
{
    const std::string session = TaskLock::currentSession();
    return session.substr(0, session.find('/'));
}

std::string sessionOf(long pid)
{
    return thisHost() + "/" + std::to_string(pid) + "/";
}

// Operators 1 and 2, who hold every right.
void addOperators(ormex::test::TestDatabase& t)
{
    ormex::db::addStandardRoles(t.db());
    t.exec("insert into t_User (FUserID, FLogin, FName, FPasswordHash, FRoleId) values"
           " (1, 'one', '一', '-', 'admin'), (2, 'two', '二', '-', 'admin')");
}

} // namespace

TEST(TaskLock, ASecondSessionIsRefusedTheSameCardUntilReleased)
{
    ormex::test::TestDatabase t;
    addOperators(t);
    // Two live sessions of this machine (this process stands in for both).
    TaskLock first(t.path(), TaskLock::currentSession(), getpid(), 1);
    TaskLock second(t.path(), "elsewhere/" + std::to_string(getppid()) + "/other", getppid(), 2);

    const long held = take(first, 2002, "hy0001", "88000001");
    ASSERT_GT(held, 0);
    EXPECT_EQ(take(second, 2002, "hy0005", "88000001"), 0) << "another operator works on this card";
    EXPECT_GT(take(second, 2002, "hy0005", "88000002"), 0) << "other cards are free";
    const long again = take(first, 2002, "hy0003", "88000001");
    EXPECT_GT(again, 0) << "a session may register again what it holds";
    EXPECT_GT(take(second, 2003, "hy0008", "88000001"), 0) << "another task number does not conflict";

    first.commitTask(held);
    EXPECT_EQ(take(second, 2002, "hy0005", "88000001"), 0) << "the card is still held";
    first.commitTask(again);
    EXPECT_GT(take(second, 2002, "hy0005", "88000001"), 0);
}

TEST(TaskLock, TasksOfDeadOrSilentSessionsAreReclaimed)
{
    ormex::test::TestDatabase t;
    addOperators(t);
    // A process that ended without releasing its task.
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    t.exec("insert into t_NetTask (FTaskNo,FCode,FItem,FMachine,FSession,FProcessId,FStartTime,FHeartbeat) "
           "values "
           "(2002,'hy0001','C1','POS','" +
           sessionOf(child) + "1'," + std::to_string(child) +
           ",'2000-01-01 00:00:00','2099-01-01 00:00:00')");
    // A session of another machine not heard of for a day.
    t.exec("insert into t_NetTask (FTaskNo,FCode,FItem,FMachine,FSession,FProcessId,FStartTime,FHeartbeat) "
           "values "
           "(2002,'hy0001','C2','POS2','elsewhere/1/1',1,'2000-01-01 00:00:00','2000-01-01 00:00:00')");
    TaskLock lock(t.path(), TaskLock::currentSession(), getpid(), 1);
    EXPECT_GT(take(lock, 2002, "hy0002", "C1"), 0);
    EXPECT_GT(take(lock, 2002, "hy0002", "C2"), 0);
    EXPECT_EQ(t.scalar("select count(*) from t_NetTask where FSession<>'" + TaskLock::currentSession() + "'")
                  .toInt(),
              0);
}

TEST(TaskLock, TwoProcessesSeeEachOthersTasks)
{
    ormex::test::TestDatabase t;
    addOperators(t);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {
        // The other operator's process takes the card and holds it until told to stop.
        TaskLock lock(t.path(), TaskLock::currentSession(), getpid(), 2);
        const char ok = take(lock, 2002, "hy0001", "C9") > 0 ? 'y' : 'n';
        (void)!write(ready[1], &ok, 1);
        char stop;
        (void)!read(done[0], &stop, 1);
        _exit(0);
    }
    char ok = 0;
    ASSERT_EQ(read(ready[0], &ok, 1), 1);
    EXPECT_EQ(ok, 'y');
    TaskLock mine(t.path(), TaskLock::currentSession(), getpid(), 1);
    EXPECT_EQ(take(mine, 2002, "hy0002", "C9"), 0) << "the live process holds the card";
    (void)!write(done[1], "x", 1);
    waitpid(child, nullptr, 0);
    EXPECT_GT(take(mine, 2002, "hy0002", "C9"), 0) << "its task is reclaimed once it has ended";
}

TEST(TaskLock, TheHolderOfAConflictingTaskIsNamed)
{
    ormex::test::TestDatabase t;
    addOperators(t);
    TaskLock first(t.path(), TaskLock::currentSession(), getpid(), 1);
    TaskLock second(t.path(), "elsewhere/" + std::to_string(getppid()) + "/other", getppid(), 2);
    ASSERT_GT(take(first, 2002, "hy0001", "C1"), 0);
    ASSERT_GT(take(first, 2002, "hy0008", ""), 0);
    t.exec("insert into t_NetTask (FTaskNo,FCode,FItem,FMachine,FUserID,FSession,FProcessId,FStartTime,"
           "FHeartbeat) values (2002,'hy0001','C3','POS-09',99,'elsewhere/9/9',9,'2026-11-23 10:00:00','" +
           ormex::platform::now().toString() + "')");

    struct Case
    {
        long task;
        const char* code;
        const char* item;
        const char* holder; // "name@machine", "" when nobody else holds it
    };
    for (const Case& c : {Case{2002, "hy0005", "C1", "一@POS"}, Case{2002, "hy0008", "", "一@POS"},
                          Case{2002, "hy0001", "C2", ""}, Case{2003, "hy0001", "C1", ""},
                          Case{2002, "hy0007", "", ""}, Case{2002, "hy0005", "C3", "99@POS-09"}}) {
        const auto holder = second.taskHolder(c.task, c.code, Value(std::string(c.item)));
        EXPECT_EQ(holder ? holder->operatorName + "@" + holder->machine : "", c.holder)
            << c.task << " " << c.code << " " << c.item;
    }
    EXPECT_FALSE(first.taskHolder(2002, "hy0005", Value(std::string("C1"))))
        << "a session does not hold a task against itself";
}

TEST(TaskLock, ARightIsCheckedWithoutRegisteringATask)
{
    ormex::test::TestDatabase t;
    addOperators(t);
    t.exec("insert into t_User (FUserID, FLogin, FName, FPasswordHash, FRoleId) values (3, 'till', '三', '-',"
           " 'cashier')");
    TaskLock lock(t.path(), TaskLock::currentSession(), getpid(), 3);
    EXPECT_NO_THROW(lock.checkRight("hy0014", "POS", Value(std::string("S1"))));
    try {
        lock.checkRight("hy0015", "POS", Value(std::string("S1")));
        ADD_FAILURE() << "a cashier may not take money off a card";
    } catch (const ormex::platform::RightRefusedError& refusal) {
        EXPECT_STREQ(refusal.what(), ormex::db::rightRefusal("hy0015").c_str());
    }
    EXPECT_EQ(
        t.rows("select FUserID, FFunctionID, FDescription, FMachineName from t_OperLog"),
        std::vector<std::string>{"3|RIGHT|权限不足，拒绝【会员卡负数充值（扣减余额）】（hy0015）：S1|POS"});
    EXPECT_EQ(t.scalar("select count(*) from t_NetTask").toInt(), 0);
}

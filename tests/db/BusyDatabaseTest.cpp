// Another connection keeps the database locked for longer than this one waits: the batch gives
// up with the operator's text, writes nothing, and the connection works again as soon as the
// lock is gone. (Queries meet no writer's lock: in WAL mode readers never wait for writers.)
#include <gtest/gtest.h>

#include <chrono>

#include "sql/DbError.h"
#include "support/TestDatabase.h"

using namespace std::chrono_literals;
using ormex::db::BusyError;
using ormex::db::Database;
using ormex::test::TestDatabase;

namespace {

const char* const kBusyText = "数据库正忙，请稍后再试！";
const char* const kBatch = "update T_Pos_VipRecord set FAccNum=FAccNum+5 where FCardId='A1'\r\n"
                           "insert into T_Pos_VipGiftList (FCardId, flag, FVipNum) values ('A1', '1', 5)";

// What the batch changes: the card's points and its movements.
std::string pointsAndMovements(TestDatabase& t)
{
    return t.scalar("select FAccNum from T_Pos_VipRecord where FCardId='A1'").toString() + "|" +
           t.scalar("select count(*) from T_Pos_VipGiftList").toString();
}

template <typename Work> void expectBusy(Work&& work, const char* what)
{
    try {
        work();
        ADD_FAILURE() << what << " ran under another connection's lock";
    } catch (const BusyError& error) {
        EXPECT_STREQ(error.what(), kBusyText) << what;
        EXPECT_NE(error.reason().find("locked"), std::string::npos) << what << ": " << error.reason();
    }
}

} // namespace

TEST(BusyDatabase, WritesMeetingAHeldWriteLockWriteNothingAndRunOnceItIsFree)
{
    TestDatabase t;
    t.exec("insert into T_Pos_VipRecord (FCardId, FAccNum) values ('A1', 10)");
    t.db().setBusyTimeout(200ms);
    auto other = Database::open(t.path());
    other->executeNative("BEGIN IMMEDIATE");
    other->executeNative("update T_Pos_VipRecord set FVipName='张三' where FCardId='A1'");

    expectBusy([&] { t.db().execute(kBatch); }, "a batch (at BEGIN IMMEDIATE)");
    expectBusy([&] { Database::Transaction checked(t.db()); }, "a checked batch's transaction");
    // Inside the caller's read transaction the batch is a savepoint: its first write waits.
    t.db().executeNative("BEGIN");
    t.db().query("select count(*) as n from T_Pos_VipRecord");
    expectBusy([&] { t.db().execute(kBatch); }, "a batch's statement");
    t.db().executeNative("ROLLBACK");
    EXPECT_EQ(pointsAndMovements(t), "10|0");

    other->executeNative("COMMIT");
    t.db().execute(kBatch);
    EXPECT_EQ(pointsAndMovements(t), "15|1");
    EXPECT_EQ(t.scalar("select FVipName from T_Pos_VipRecord where FCardId='A1'").toString(), "张三")
        << "the other operator's change stands";
}

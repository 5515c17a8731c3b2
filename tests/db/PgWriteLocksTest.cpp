// Branches writing one PostgreSQL headquarters at once: a write waits only for writes of the same
// card, and the server's deadlocks are resolved inside the system.
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "sql/PgDatabase.h"
#include "store/CardWriteLocks.h"
#include "store/PgSchema.h"
#include "support/PgTestDatabase.h"
#include "support/TestDatabase.h"

using ormex::db::PgDatabase;
using Rows = std::vector<std::string>;

namespace {

class PgWriteLocks : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (ormex::test::pgClusterUrl().empty())
            GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
        pg = std::make_unique<ormex::test::PgTestDatabase>();
        ormex::db::applySchema(pg->db());
        pg->db().execute("insert into T_Pos_VipRecord (FCardId, FCardStatus, FAccNum, FDecNum) values "
                         "('A', '0', 100, 0), ('B', '0', 100, 0);"
                         "insert into T_Pos_VipGift (FItemId, FBranchID, FVipNum) values (101, 2, 300)");
    }
    // A connection of a branch, locking as headquarters' connections do.
    std::unique_ptr<PgDatabase> branch()
    {
        auto db = PgDatabase::open(pg->url());
        db->setWriteLockPlanner(ormex::db::cardWriteLocks);
        return db;
    }
    // Waits until the connection's statement waits for a lock another transaction holds.
    void untilWaiting(PgDatabase& waiter)
    {
        const std::string sql =
            "select count(*) from pg_stat_activity where pid=" + std::to_string(waiter.backendPid()) +
            " and wait_event_type='Lock'";
        for (int i = 0; i < 2000 && pg->db().queryNative(sql).field(std::size_t{0}).toInt() == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_EQ(pg->db().queryNative(sql).field(std::size_t{0}).toInt(), 1) << "not waiting for a lock";
    }
    static std::string reward(const char* card)
    {
        return std::string("insert into T_Pos_VipGiftList (FCardId, flag, FVipNum) select '") + card +
               "', '3', 10\r\nupdate T_Pos_VipRecord set FAccNum=FAccNum+10 where FCardId='" + card + "'";
    }
    Rows rows(const std::string& sql) { return ormex::test::rowsOf(pg->db(), sql); }
    std::unique_ptr<ormex::test::PgTestDatabase> pg;
};

} // namespace

TEST_F(PgWriteLocks, AWriteWaitsOnlyForWritesOfItsOwnCard)
{
    // Something outside the system holds card A's row, so the first write of A stays open after
    // taking its locks.
    auto holder = PgDatabase::open(pg->url());
    holder->queryNative("BEGIN");
    holder->queryNative("select 1 from T_Pos_VipRecord where FCardId='A' for update");
    auto first = branch();
    auto firstOfA = std::async(std::launch::async, [&] { first->execute(reward("A")); });
    untilWaiting(*first);

    // Card B goes on meanwhile; a second write of A waits for the first.
    branch()->execute(reward("B"));
    EXPECT_EQ(rows("select FAccNum from T_Pos_VipRecord where FCardId='B'"), Rows{"110"});
    auto second = branch();
    auto secondOfA = std::async(std::launch::async, [&] { second->execute(reward("A")); });
    untilWaiting(*second);

    holder->queryNative("COMMIT");
    firstOfA.get();
    secondOfA.get();
    EXPECT_EQ(rows("select FCardId, FAccNum from T_Pos_VipRecord order by FCardId"), (Rows{"A|120", "B|110"}))
        << "both changes of A stand";
    EXPECT_EQ(rows("select FCardId, count(*) from T_Pos_VipGiftList group by FCardId order by FCardId"),
              (Rows{"A|2", "B|1"}));
}

TEST_F(PgWriteLocks, ADeadlockTheServerReportsIsRunAgain)
{
    // Another program holds the gift and then wants card A, which the write holds and which it
    // wants the gift after: the server ends one of them, and the system's write runs again.
    auto other = PgDatabase::open(pg->url());
    other->queryNative("BEGIN");
    other->queryNative("update T_Pos_VipGift set FVipNum=FVipNum+1 where FItemId=101");
    auto db = branch();
    auto write = std::async(std::launch::async, [&] {
        db->execute("update T_Pos_VipRecord set FAccNum=FAccNum+10 where FCardId='A'\r\n"
                    "update T_Pos_VipGift set FVipNum=FVipNum+10 where FItemId=101");
    });
    untilWaiting(*db);
    const auto deadlocks = [&] {
        return pg->db()
            .queryNative("select deadlocks from pg_stat_database where datname='" + pg->name() + "'")
            .field(std::size_t{0})
            .toInt();
    };
    const auto before = deadlocks();
    other->queryNative("update T_Pos_VipRecord set FDecNum=FDecNum+1 where FCardId='A'");
    other->queryNative("COMMIT");
    EXPECT_NO_THROW(write.get()) << "the operator never sees the deadlock";
    EXPECT_EQ(rows("select FAccNum, FDecNum from T_Pos_VipRecord where FCardId='A'"), Rows{"110|1"});
    EXPECT_EQ(rows("select FVipNum from T_Pos_VipGift"), Rows{"311"});
    EXPECT_GT(deadlocks(), before) << "there was one";
}

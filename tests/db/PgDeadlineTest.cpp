// A PostgreSQL server whose server process stops for real (SIGSTOP, how a hung server or a dead
// link looks to a client): every kind of call ends at the deadline with the unreachable answer, the
// connection is not used again as if it were sound, and nothing a batch wrote stands; while a
// server that keeps answering is never cut off, however long the whole exchange takes.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

#include "sql/DbError.h"
#include "sql/PgDatabase.h"
#include "support/FrozenBackends.h"
#include "support/PgTestDatabase.h"

using namespace std::chrono_literals;
using ormex::db::PgDatabase;
using ormex::db::UnreachableError;
using ormex::test::FrozenBackends;

namespace {

class PgDeadline : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (ormex::test::pgClusterUrl().empty())
            GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
        pg = std::make_unique<ormex::test::PgTestDatabase>();
        pg->db().executeNative("CREATE TABLE t_probe (FId integer)");
        ormex::db::setServerWaitHook([this] { ++waits; });
    }
    void TearDown() override { ormex::db::setServerWaitHook(nullptr); }
    long long probes() { return pg->db().queryNative("SELECT count(*) FROM t_probe").cell(0, 0).toInt(); }

    std::unique_ptr<ormex::test::PgTestDatabase> pg;
    int waits = 0;
};

} // namespace

TEST_F(PgDeadline, EveryCallToAStoppedServerEndsAtTheDeadlineAndItsConnectionIsNotReused)
{
    auto db = PgDatabase::open(pg->url(), 1s);
    const struct
    {
        const char* what;
        std::function<void(PgDatabase&)> call;
    } calls[] = {
        {"a query", [](PgDatabase& d) { d.query("select count(*) as n from t_probe"); }},
        {"a batch (pipelined, in a transaction of its own)",
         [](PgDatabase& d) {
             d.execute("insert into t_probe (FId) values (1)\r\ninsert into t_probe (FId) values (2)");
         }},
        {"a batch that runs while a value read still stands",
         [](PgDatabase& d) {
             d.executeChecked("insert into t_probe (FId) values (3)",
                              {{"select count(*) as n from t_probe", "n", ormex::platform::Value(0)}});
         }},
        {"a query of the server's own SQL", [](PgDatabase& d) { d.queryNative("SELECT 1"); }},
    };
    for (const auto& c : calls) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(db->alive()) << "connected again after the case before";
        const int pid = db->backendPid();
        waits = 0;
        {
            FrozenBackends frozen(pg->name());
            try {
                c.call(*db);
                ADD_FAILURE() << "a stopped server answered";
            } catch (const UnreachableError& error) {
                EXPECT_EQ(std::string(error.what()), "总部数据库无法连接：服务器1秒内没有应答");
            }
            EXPECT_GT(waits, 0) << "the thread's wait hook ran while it waited";
        }
        // The server answers again, but this connection's exchange was cut in the middle.
        EXPECT_THROW(db->query("select 1 as n"), UnreachableError) << "given up on until connected again";
        FrozenBackends::waitUntilGone(pid);
        EXPECT_EQ(probes(), 0) << "what the call sent was cancelled with its session";
    }

    ASSERT_TRUE(db->alive());
    const int pid = db->backendPid();
    {
        FrozenBackends frozen(pg->name());
        EXPECT_FALSE(db->alive()) << "the liveness check is bounded too";
    }
    FrozenBackends::waitUntilGone(pid);
    ASSERT_TRUE(db->alive());
    db->execute("insert into t_probe (FId) values (5)");
    EXPECT_EQ(probes(), 1);
}

TEST_F(PgDeadline, AnExchangeLongerThanTheDeadlineGoesOnWhileTheServerKeepsAnswering)
{
    // Each statement takes a twentieth of a second, 64 of them more than three seconds: the
    // deadline bounds the server's silence, not the call (a replay of 100,000 cards takes many
    // seconds), and the server is asked to send what it holds every few statements.
    pg->db().executeNative("CREATE VIEW v_slow AS SELECT 7 AS FId FROM pg_sleep(0.05)");
    auto db = PgDatabase::open(pg->url(), 2s);
    std::string batch;
    for (int i = 0; i < 64; ++i)
        batch += "insert into t_probe (FId) select FId from v_slow\r\n";
    EXPECT_NO_THROW(db->execute(batch));
    EXPECT_EQ(probes(), 64);
}

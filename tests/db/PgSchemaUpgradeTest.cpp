// Schema versions on PostgreSQL: a headquarters of the first version brought up through every step
// keeps its rows and ends as a new one is made; a failing step leaves the version before; the host
// refuses a headquarters that is not at its version and names the command that upgrades it.
#include <gtest/gtest.h>

#include <algorithm>

#include "sql/DbError.h"
#include "store/PgSchema.h"
#include "store/SchemaUpgrade.h"
#include "store/SharedDatabases.h"
#include "support/PgTestDatabase.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

class PgSchemaUpgrade : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (test::pgClusterUrl().empty()) GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
        test::useTestSealKey(); // the ledger's step starts the cards' chains in a session with the key
    }
};

int version(db::PgDatabase& db)
{
    return db::schemaVersion(db).value_or(-1);
}

bool hasTable(db::PgDatabase& db, const std::string& table)
{
    return db.queryNative("SELECT to_regclass('" + table + "') IS NOT NULL").field(0).toBool();
}

} // namespace

TEST_F(PgSchemaUpgrade, TheFirstVersionKeepsEveryRowAndEndsAsANewDatabase)
{
    test::PgTestDatabase old;
    test::makeFirstVersionDatabase(old.db());
    old.db().executeNative(test::oldQueuedChecksSql(true));
    ASSERT_EQ(version(old.db()), 0) << "made before versions were recorded";
    test::TableColumns columns = test::columnsOf(old.db());
    test::withoutMovedColumns(columns);
    const test::TableRows before = test::rowsOf(old.db(), columns);
    for (const auto& [table, rows] : before)
        EXPECT_FALSE(rows.empty()) << "the fixture has rows in every table: " << table;

    const db::SchemaUpgrade upgrade = db::upgradeSchema(old.db());
    EXPECT_EQ(upgrade.from, 0);
    EXPECT_EQ(upgrade.applied.size(), db::schemaSteps().size());
    EXPECT_EQ(version(old.db()), db::currentSchemaVersion());
    const test::TableRows after = test::rowsOf(old.db(), columns);
    for (const auto& [table, rows] : before) {
        ASSERT_TRUE(after.contains(table)) << table << " is gone";
        EXPECT_TRUE(std::includes(after.at(table).begin(), after.at(table).end(), rows.begin(), rows.end()))
            << "rows of " << table << " were lost or changed";
    }

    EXPECT_EQ(after.at("t_hqoutboxcheck"), test::movedQueuedChecks())
        << "the queued change keeps the values it was computed from";

    test::PgTestDatabase made;
    db::applySchema(made.db());
    EXPECT_EQ(version(made.db()), db::currentSchemaVersion());
    EXPECT_EQ(test::shapeOf(old.db()), test::shapeOf(made.db())) << "the steps and schema.sql disagree";
    EXPECT_TRUE(db::upgradeSchema(old.db()).applied.empty());
}

TEST_F(PgSchemaUpgrade, AFailingStepLeavesTheVersionBeforeAndTheHostRefusesOtherVersions)
{
    test::PgTestDatabase pg;
    db::applySchema(pg.db());
    const int current = db::currentSchemaVersion();
    std::vector<db::SchemaStep> steps = db::schemaSteps();
    steps.push_back(
        {current + 1, "adds a column", "ALTER TABLE t_HqOutbox ADD COLUMN FNote TEXT COLLATE NOCASE;\n"});
    steps.push_back({current + 2, "adds t_Half, then fails",
                     "CREATE TABLE t_Half (FId INTEGER);\nINSERT INTO t_Missing VALUES (1);\n"});
    EXPECT_THROW(db::upgradeSchema(pg.db(), steps), db::DbError);
    EXPECT_EQ(version(pg.db()), current + 1);
    EXPECT_EQ(pg.db()
                  .queryNative("SELECT udt_name FROM information_schema.columns WHERE table_name = "
                               "'t_hqoutbox' AND column_name = 'fnote'")
                  .field(0)
                  .toString(),
              "citext")
        << "the step's text was translated";
    EXPECT_FALSE(hasTable(pg.db(), "t_half")) << "nothing of the failed step stays";

    // A branch's host finds headquarters newer than itself.
    try {
        db::sharedPgDatabase(pg.url());
        ADD_FAILURE() << "a newer headquarters was opened";
    } catch (const db::SchemaVersionError& error) {
        EXPECT_EQ(error.version(), current + 1);
        EXPECT_EQ(error.buildVersion(), current);
    }

    // And a headquarters made before versions: refused with the command, which the host does not run.
    test::PgTestDatabase older;
    test::makeFirstVersionDatabase(older.db());
    older.db().executeNative("ALTER USER postgres PASSWORD 'secret'");
    std::string url = older.url();
    url.insert(url.find('@'), ":secret");
    try {
        db::sharedPgDatabase(url);
        ADD_FAILURE() << "an older headquarters was opened";
    } catch (const db::SchemaVersionError& error) {
        const std::string what = error.what();
        EXPECT_NE(what.find("结构版本为 0（建立时尚未记录版本），比本程序的结构版本 " +
                            std::to_string(current) + " 旧：请由管理员先运行 ormex-db upgrade " +
                            older.url() + " 升级数据库。"),
                  std::string::npos)
            << what;
        EXPECT_EQ(what.find("secret"), std::string::npos) << "the password is not shown";
    }
    EXPECT_EQ(version(older.db()), 0);
    db::upgradeSchema(older.db());
    EXPECT_NO_THROW(db::sharedPgDatabase(url)) << "reached once upgraded";
}

// Schema versions on SQLite: a database of the first version (made before versions were recorded)
// brought up through every step keeps its rows and ends as a new database is made; steps run in
// order, each all or nothing; a database newer than the build is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "sql/DbError.h"
#include "store/Operators.h"
#include "store/PgSchema.h"
#include "store/Schema.h"
#include "store/SchemaUpgrade.h"
#include "store/SharedDatabases.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

// Every row `before` held is still there (the upgraded tables may hold more).
void expectRowsKept(const test::TableRows& before, const test::TableRows& after)
{
    for (const auto& [table, rows] : before) {
        const auto found = after.find(table);
        ASSERT_NE(found, after.end()) << table << " is gone";
        EXPECT_TRUE(std::includes(found->second.begin(), found->second.end(), rows.begin(), rows.end()))
            << "rows of " << table << " were lost or changed";
    }
}

int versionRows(test::TestDatabase& t)
{
    return static_cast<int>(t.scalar("select count(*) from t_SchemaVersion").toInt());
}

// The steps of the build and two more: one that adds a table, and one that adds another but fails
// halfway.
std::vector<db::SchemaStep> stepsWithFailingLast()
{
    std::vector<db::SchemaStep> steps = db::schemaSteps();
    const int next = db::currentSchemaVersion() + 1;
    steps.push_back({next, "adds t_Extra", "CREATE TABLE t_Extra (FId INTEGER);\n"});
    steps.push_back({next + 1, "adds t_Half, then fails",
                     "CREATE TABLE t_Half (FId INTEGER);\nINSERT INTO t_Missing VALUES (1);\n"});
    return steps;
}

} // namespace

TEST(SchemaUpgrade, TheFirstVersionKeepsEveryRowAndEndsAsANewDatabase)
{
    test::TestDatabase made; // a new database of this build, and a folder for the old one
    const std::string path = made.folder() + "/first.db";
    test::makeFirstVersionDatabase(path, test::oldQueuedChecksSql(false));
    auto old = db::Database::open(path);
    ASSERT_EQ(db::schemaVersion(*old), 0) << "made before versions were recorded";
    test::TableColumns columns = test::columnsOf(*old);
    test::withoutMovedColumns(columns);
    const test::TableRows before = test::rowsOf(*old, columns);
    for (const auto& [table, rows] : before)
        EXPECT_FALSE(rows.empty()) << "the fixture has rows in every table: " << table;

    const db::SchemaUpgrade upgrade = db::upgradeSchema(*old);
    EXPECT_EQ(upgrade.from, 0);
    EXPECT_EQ(upgrade.to, db::currentSchemaVersion());
    EXPECT_EQ(upgrade.applied.size(), db::schemaSteps().size());
    EXPECT_EQ(db::schemaVersion(*old), db::currentSchemaVersion());
    expectRowsKept(before, test::rowsOf(*old, columns));
    EXPECT_EQ(test::shapeOf(*old), test::shapeOf(made.db())) << "the steps and schema.sql disagree";
    EXPECT_EQ(test::rowsOf(*old, {}).at("t_HqOutboxCheck"), test::movedQueuedChecks())
        << "the queued change keeps the values it was computed from";

    // Every right of the catalogue reached the administrator: a right added without its step
    // would leave them locked out of its function.
    std::set<std::string> adminRights;
    const test::TableRows upgraded = test::rowsOf(*old, {});
    for (const std::string& code : upgraded.at("t_RoleRight"))
        if (code.starts_with("admin|")) adminRights.insert(code.substr(6));
    for (const db::RightInfo& right : db::rightsCatalogue())
        EXPECT_TRUE(adminRights.contains(right.code)) << right.code;

    const db::SchemaUpgrade again = db::upgradeSchema(*old);
    EXPECT_TRUE(again.applied.empty());
    EXPECT_EQ(again.from, db::currentSchemaVersion());
}

TEST(SchemaUpgrade, EachStepIsOneTransactionAndAFailureKeepsTheVersionBefore)
{
    test::TestDatabase t;
    const int current = db::currentSchemaVersion();
    EXPECT_EQ(db::schemaVersion(t.db()), current) << "a new database is at the build's version";
    EXPECT_EQ(versionRows(t), 1);

    try {
        db::upgradeSchema(t.db(), stepsWithFailingLast());
        ADD_FAILURE() << "the failing step went through";
    } catch (const db::DbError& error) {
        const std::string what = error.what();
        EXPECT_NE(what.find("step to version " + std::to_string(current + 2)), std::string::npos) << what;
        EXPECT_NE(what.find("stays at version " + std::to_string(current + 1)), std::string::npos) << what;
    }
    EXPECT_EQ(db::schemaVersion(t.db()), current + 1);
    EXPECT_EQ(t.scalar("select count(*) from sqlite_master where name='t_Extra'").toInt(), 1);
    EXPECT_EQ(t.scalar("select count(*) from sqlite_master where name='t_Half'").toInt(), 0)
        << "nothing of the failed step stays";
    EXPECT_EQ(t.rows("select FVersion, FDescription from t_SchemaVersion where FVersion > " +
                     std::to_string(current)),
              std::vector<std::string>{std::to_string(current + 1) + "|adds t_Extra"});

    // This build (the steps without the two) refuses the database now, as the host does.
    EXPECT_THROW(db::upgradeSchema(t.db()), db::SchemaVersionError);
    try {
        db::sharedDatabase(t.path());
        ADD_FAILURE() << "a newer database was opened";
    } catch (const db::SchemaVersionError& error) {
        EXPECT_EQ(error.version(), current + 1);
        EXPECT_EQ(std::string(error.what()), "数据库 " + t.path() + " 的结构版本为 " +
                                                 std::to_string(current + 1) + "，比本程序的结构版本 " +
                                                 std::to_string(current) +
                                                 " 新，本程序不能使用它：请安装新版本的程序。");
    }
}

TEST(SchemaUpgrade, AnOlderFileIsUpgradedWhenTheHostOpensIt)
{
    test::TestDatabase made;
    const std::string path = made.folder() + "/first.db";
    test::makeFirstVersionDatabase(path);
    auto& opened = db::sharedDatabase(path);
    EXPECT_EQ(db::schemaVersion(opened), db::currentSchemaVersion());
    EXPECT_EQ(opened.query("select count(*) as n from T_Pos_VipRecord").field("n").toInt(), 2);
}

TEST(SchemaUpgrade, TheStepsAreNumberedOneByOneAndPostgresCanTakeTheirText)
{
    // Two developers who both added "the next" step are caught here.
    const auto& steps = db::schemaSteps();
    for (std::size_t i = 0; i < steps.size(); ++i) {
        EXPECT_EQ(steps[i].version, static_cast<int>(i) + 1);
        EXPECT_FALSE(steps[i].description.empty()) << steps[i].version;
        EXPECT_TRUE(!steps[i].sql.empty() || steps[i].onSqlite || steps[i].onPostgres) << steps[i].version;
        EXPECT_NO_THROW(db::translateSchemaToPostgres(steps[i].sql)) << steps[i].version;
    }
}

#include <gtest/gtest.h>

#include <sstream>

#include "AdminCommands.h"
#include "db/PgSchema.h"
#include "support/PgTestDatabase.h"

using ormex::tools::runAdminCommand;

namespace {

struct Result
{
    int code;
    std::string out, err;
};

Result run(std::vector<std::string> args)
{
    std::ostringstream out, err;
    const int code = runAdminCommand(args, out, err);
    return {code, out.str(), err.str()};
}

} // namespace

TEST(PgAdminCommands, CreateOnceThenQuery)
{
    if (ormex::test::pgClusterUrl().empty())
        GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    ormex::test::PgTestDatabase pg;
    EXPECT_EQ(run({"query", pg.url(), "SELECT 1"}).code, 1) << "not a member-card database yet";
    const Result created = run({"create", pg.url()});
    ASSERT_EQ(created.code, 0) << created.err;
    EXPECT_TRUE(ormex::db::hasSchema(pg.db()));
    const Result again = run({"create", pg.url()});
    EXPECT_EQ(again.code, 1);
    EXPECT_NE(again.err.find("already"), std::string::npos) << again.err;

    pg.db().executeNative("INSERT INTO T_Pos_VipType (FTypeId, type_name) VALUES ('01', '金卡')");
    const Result query =
        run({"query", pg.url(), "SELECT FTypeId, type_name, FSavingFlag FROM T_Pos_VipType"});
    EXPECT_EQ(query.code, 0) << query.err;
    EXPECT_EQ(query.out, "ftypeid | type_name | fsavingflag\n"
                         "--------+-----------+------------\n"
                         "01      | 金卡      | 0          \n"
                         "(1 row)\n");
    EXPECT_EQ(run({"run", pg.url(), "batch.sql"}).code, 1) << "T-SQL batches do not run on PostgreSQL yet";
}

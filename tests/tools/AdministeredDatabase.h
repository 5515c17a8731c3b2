#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "RunAdminCommand.h"
#include "sql/Database.h"
#include "support/TestDatabase.h"

namespace ormex::test {

// Every row of a query on a database file, opened for it.
inline std::vector<std::string> rowsOfFile(const std::string& db, const std::string& sql)
{
    return rowsOf(*db::Database::open(db), sql);
}

// A database made by `ormex-db create` in a folder of its own, with an administrator (admin) and a
// cashier (till1), both of password pw-1, which the commands read from the environment; the
// folder goes with the test.
class AdministeredDatabase : public ::testing::Test
{
protected:
    std::string dir = makeTempFolder();
    std::string db = dir + "/branch.db";

    void SetUp() override
    {
        setenv("ORMEX_PASSWORD", "pw-1", 1);
        setenv("ORMEX_NEW_PASSWORD", "pw-1", 1);
        ASSERT_EQ(runCommand({"create", db}).code, 0);
        ASSERT_EQ(runCommand({"user", "add", db, "admin", "--role", "admin"}).code, 0);
        ASSERT_EQ(runCommand({"user", "add", db, "till1", "--role", "cashier", "--user", "admin"}).code, 0);
    }
    void TearDown() override
    {
        unsetenv("ORMEX_PASSWORD");
        unsetenv("ORMEX_NEW_PASSWORD");
        removeFolder(dir);
    }
};

} // namespace ormex::test

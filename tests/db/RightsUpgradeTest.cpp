// Rights added to the system after a database was made: opening the database gives them to its
// standard roles once, as a new database gives them, and never again.
#include <gtest/gtest.h>

#include "db/Operators.h"
#include "db/Schema.h"
#include "db/SharedDatabases.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

std::string rightsOf(test::TestDatabase& t, const std::string& role)
{
    std::string codes;
    for (const std::string& code :
         t.rows("select FRightCode from t_RoleRight where FRoleId='" + role + "' order by FRightCode"))
        codes += (codes.empty() ? "" : " ") + code;
    return codes;
}

} // namespace

TEST(RightsUpgrade, AnOlderDatabaseGivesItsStandardRolesTheNewRightsOnce)
{
    test::TestDatabase t;
    db::addStandardRoles(t.db());
    EXPECT_EQ(rightsOf(t, "cashier"), "hy0014");
    // As a database made before the stored-value rights holds its roles: no record of the rights
    // it knows, the administrator without the new rights, and what its administrator changed since
    // (the liability report taken from admin, a role of its own).
    t.exec("drop table t_KnownRight;"
           "delete from t_RoleRight where FRightCode in ('hy0014','hy0015','hy0016') or"
           " (FRoleId='admin' and FRightCode='hy0011');"
           "insert into t_RoleRight values ('manager','hy0008')");

    db::sharedDatabase(t.path()); // opened as the host opens it
    EXPECT_EQ(rightsOf(t, "admin"), "hy0001 hy0002 hy0003 hy0004 hy0005 hy0006 hy0007 hy0008 hy0009 hy0010 "
                                    "hy0012 hy0013 hy0014 hy0015 hy0016")
        << "the new rights, and the report stays taken";
    EXPECT_EQ(rightsOf(t, "cashier"), "hy0014");
    EXPECT_EQ(rightsOf(t, "manager"), "hy0008") << "other roles are granted by hand";

    // Taken after the upgrade, a new right stays taken.
    db::grantRights(t.db(), "admin", {"hy0015"}, true);
    db::upgradeSchema(t.db());
    EXPECT_EQ(rightsOf(t, "admin").find("hy0015"), std::string::npos);
}

// Rights added to the system after a database was made: its upgrade gives them to its standard
// roles once, as a new database gives them, and never again.
#include <gtest/gtest.h>

#include "store/Operators.h"
#include "store/SharedDatabases.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

std::string rightsOf(db::TsqlDatabase& db, const std::string& role)
{
    std::string codes;
    for (const std::string& code : test::rowsOf(db, "select FRightCode from t_RoleRight where FRoleId='" +
                                                        role + "' order by FRightCode"))
        codes += (codes.empty() ? "" : " ") + code;
    return codes;
}

} // namespace

TEST(RightsUpgrade, AnOlderDatabaseGivesItsStandardRolesTheNewRightsOnce)
{
    test::TestDatabase folder;
    const std::string path = folder.folder() + "/older.db";
    // As a database made before the stored-value rights holds its roles: no record of the rights
    // it knows, the administrator without the new rights, and what its administrator changed since
    // (the liability report taken from admin, a role of its own).
    test::makeFirstVersionDatabase(path,
                                   "drop table t_KnownRight;"
                                   "delete from t_RoleRight where FRightCode in ('hy0014','hy0015','hy0016')"
                                   " or (FRoleId='admin' and FRightCode='hy0011')");

    auto& db = db::sharedDatabase(path); // opened as the host opens it
    EXPECT_EQ(rightsOf(db, "admin"), "hy0001 hy0002 hy0003 hy0004 hy0005 hy0006 hy0007 hy0008 hy0009 hy0010 "
                                     "hy0012 hy0013 hy0014 hy0015 hy0016 hy0017 hy0018")
        << "the new rights, and the report stays taken";
    EXPECT_EQ(rightsOf(db, "cashier"), "hy0014");
    EXPECT_EQ(rightsOf(db, "manager"), "hy0008") << "other roles are granted by hand";

    // Taken after the upgrade, a new right stays taken when rights are upgraded again (the step of
    // a right added later).
    db::grantRights(db, "admin", {"hy0015"}, true);
    db::upgradeRights(db);
    EXPECT_EQ(rightsOf(db, "admin").find("hy0015"), std::string::npos);
}

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SchemaSteps.h"
#include "sql/Database.h"
#include "sql/DbError.h"
#include "sql/PgDatabase.h"

// The schema version of a database and its upgrade. Each database records the versions it reached
// in t_SchemaVersion (one row each, the highest the version it is at); one made before versions were
// recorded holds the member-card tables without that table, and is at version 0.
//
// When a database is opened (the host, ormex-db), one newer than the build is refused. An older
// SQLite file is upgraded there and then: it belongs to the branch whose hosts open it, and has no
// administrator standing by. An older PostgreSQL database is refused with the command that upgrades
// it: every branch of the chain shares it, and its upgrade is an administrator's deliberate act
// (`ormex-db upgrade <url>`), after which the branches' new builds can reach it.
namespace ormex::db {

// A database at another version than the build's. what() is the text the operator reads: both
// versions, and for an older database the command that upgrades it.
class SchemaVersionError : public OpenError
{
public:
    SchemaVersionError(const std::string& location, int version, int buildVersion);
    int version() const { return m_version; }
    int buildVersion() const { return m_buildVersion; }

private:
    int m_version;
    int m_buildVersion;
};

// The version a database is at: 0 when it holds the member-card tables but no version record,
// nothing when it holds no member-card tables. Throws DbError.
std::optional<int> schemaVersion(Database& db);
std::optional<int> schemaVersion(PgDatabase& db);

// The statement that records a version reached, in the text of both engines.
std::string schemaVersionRecord(int version, std::string_view description);

struct SchemaUpgrade
{
    int from = 0;                           // the version the database was at
    int to = 0;                             // the version it is at now
    std::vector<const SchemaStep*> applied; // the steps this call applied, in order
};

// Applies the steps above the database's version, in order, each in one transaction of its own
// that also records the version reached; nothing when the database is at the last step's version.
// Upgrades of one database take turns: a step that another connection applied meanwhile is not
// applied again. Throws SchemaVersionError when the database is newer than the last step, DbError
// when it holds no member-card tables or when a step fails, which leaves the database at the
// version of the last step that committed.
SchemaUpgrade upgradeSchema(Database& db, const std::vector<SchemaStep>& steps = schemaSteps());
SchemaUpgrade upgradeSchema(PgDatabase& db, const std::vector<SchemaStep>& steps = schemaSteps());

// A database just opened, at `location` as a message may name it. A database without the
// member-card tables is let through (the caller decides about it). Throws SchemaVersionError or
// what upgradeSchema throws.
// An SQLite file newer than the build is refused, an older one upgraded (the upgrade is returned).
SchemaUpgrade upgradeWhenOpened(Database& db);
// A PostgreSQL database is refused unless it is at the build's version.
void requireCurrentSchema(PgDatabase& db, const std::string& location);

} // namespace ormex::db

#pragma once

#include <chrono>
#include <string>

#include "sql/Database.h"
#include "sql/PgDatabase.h"

// The connection this process keeps open to each database file, so that the host's objects,
// which are created for every call, do not open the file (and compile their statements) again
// each time. A connection is never used across fork(): a child process opens its own. A file
// that was removed or replaced since is opened afresh.
namespace ormex::db {

// Throws OpenError as Database::open does (a missing file is never created). A file of an older
// schema version is upgraded when it is opened; one newer than the build is refused with
// SchemaVersionError (SchemaUpgrade.h).
Database& sharedDatabase(const std::string& path);

// The connection this process keeps to a PostgreSQL database, with the deadline of its calls,
// checked to answer before it is handed out (a broken one is opened again). Throws OpenError when
// the server refuses or cannot be found, UnreachableError when it does not answer in time,
// SchemaVersionError when the database is at another schema version than the build's. A
// server that let a call's deadline pass is not asked again until one more deadline has passed:
// UnreachableError at once meanwhile, so that an operation that asks headquarters many times waits
// for it once, not once per question.
PgDatabase& sharedPgDatabase(const std::string& url,
                             std::chrono::milliseconds deadline = PgDatabase::kDeadline);

} // namespace ormex::db

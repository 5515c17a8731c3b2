#pragma once

#include <string_view>

#include "sql/Database.h"

namespace ormex::db {

// The schema text compiled into the library from schema.sql: what a new database holds, at the
// version of the last schema step (SchemaSteps.h).
extern const std::string_view kSchemaSql;

// How the version record of a new database describes its one row.
inline constexpr std::string_view kCreatedVersion = "created with the schema of this version";

// Creates every table and index and records the build's schema version, in one transaction.
// Throws DbError (nothing created).
void applySchema(Database& db);

// True when the database holds the member-card tables.
bool hasSchema(Database& db);

} // namespace ormex::db

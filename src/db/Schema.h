#pragma once

#include <string_view>

#include "Database.h"

namespace ormex::db {

// The schema text compiled into the library from schema.sql.
extern const std::string_view kSchemaSql;

// Creates every table and index in one transaction. Throws DbError (nothing created).
void applySchema(Database& db);

// Adds the tables, columns and indexes made after the first databases to a database that holds
// the member-card tables but lacks some of them, then gives its standard roles the rights it has
// not known before (upgradeRights in Operators.h); nothing when it is up to date. Throws DbError
// (nothing added).
void upgradeSchema(Database& db);

// True when the database holds the member-card tables.
bool hasSchema(Database& db);

} // namespace ormex::db

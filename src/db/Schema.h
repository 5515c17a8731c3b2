#pragma once

#include <string_view>

#include "Database.h"

namespace ormex::db {

// The schema text compiled into the library from schema.sql.
extern const std::string_view kSchemaSql;

// Creates every table and index in one transaction. Throws DbError (nothing created).
void applySchema(Database& db);

// True when the database holds the member-card tables.
bool hasSchema(Database& db);

} // namespace ormex::db

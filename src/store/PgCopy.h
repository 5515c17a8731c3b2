#pragma once

#include "sql/Database.h"
#include "sql/PgDatabase.h"

// Copies the rows of every member-card table (not the version record) from an SQLite database
// into a PostgreSQL one that holds the schema: how a headquarters on PostgreSQL is seeded with the demo data,
// and how the same starting rows are put on both engines. Keys given by the database continue after the
// highest one copied.
namespace ormex::db {

// Appends the rows in one transaction of the PostgreSQL database: all of them or none, each as it
// stands (its seal and ledger link are the SQLite file's, not written anew). Throws DbError.
void copyRows(Database& from, PgDatabase& to);

} // namespace ormex::db

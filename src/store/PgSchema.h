#pragma once

#include <string>
#include <string_view>

#include "sql/PgDatabase.h"

// The member-card schema on a PostgreSQL server, translated from the SQLite schema text so that
// the two engines always hold the same tables, columns, defaults, keys and indexes.
namespace ormex::db {

// The schema text for PostgreSQL. Text that compares without regard to case (COLLATE NOCASE)
// becomes citext, which indexes still serve for equality; other text stays text (exact), INTEGER
// becomes bigint (SQLite's integers are 64-bit), REAL double precision, an AUTOINCREMENT key an
// identity column, and a column without a type text; the same for the column of a one-line
// ALTER TABLE … ADD COLUMN (a schema step). Throws DbError on a column definition it does not know
// how to translate, so that a new kind of column in schema.sql is noticed.
std::string translateSchemaToPostgres(std::string_view sqliteSchema);

// Creates the citext extension, every table and index, and the function f_decrypt (the stored-value
// balance decoded), and records the build's schema version, in one transaction. Throws DbError
// (nothing created).
void applySchema(PgDatabase& db);

// The functions and triggers that seal the cards and chain their movements (CardSeal.h,
// CardLedger.h), as a new database gets them; a schema step that changes them installs them anew.
std::string_view pgCardFunctions();

// True when the database holds the member-card tables.
bool hasSchema(PgDatabase& db);

} // namespace ormex::db

#pragma once

#include <map>
#include <string>
#include <vector>

#include "sql/Database.h"
#include "sql/PgDatabase.h"

// Databases of the first schema version, as the build that made them left them (the files of
// tests/db/fixtures, kept as they were made), with rows in every table; and what a test compares
// before and after an upgrade.
namespace ormex::test {

// The text of a file of tests/db/fixtures. Throws std::runtime_error when it cannot be read.
std::string fixtureText(const std::string& name);

// A new SQLite file at `path` with the first version's schema and rows, made without the system's
// connection (nothing of this build's touches it). `earlier` (native SQL) makes it a database of a
// build before the first version: the tables or columns that build did not have are taken away.
void makeFirstVersionDatabase(const std::string& path, const std::string& earlier = {});
// The first version's schema and rows in an empty PostgreSQL database.
void makeFirstVersionDatabase(db::PgDatabase& db);

// Every row of every table, each value as text and the fields joined by "|", the rows of a table
// sorted; only the columns `columnsOf` names for a table that it names (its columns at an earlier
// version), all columns for the others.
using TableColumns = std::map<std::string, std::vector<std::string>>;
using TableRows = std::map<std::string, std::vector<std::string>>;
TableColumns columnsOf(db::Database& db);
TableColumns columnsOf(db::PgDatabase& db);
TableRows rowsOf(db::Database& db, const TableColumns& columns);
TableRows rowsOf(db::PgDatabase& db, const TableColumns& columns);

// The queued change of the fixture given checks in the first version's encoding (a number, and a
// text with a quote), as a first-version branch queued them; and the rows of t_HqOutboxCheck they
// become.
std::string oldQueuedChecksSql(bool postgres);
std::vector<std::string> movedQueuedChecks();
// `columns` without the columns a later version moved to tables of their own or rewrote (the card
// seal, which covers the head of the card's ledger once its chain starts), so that the rows before
// and after an upgrade compare.
void withoutMovedColumns(TableColumns& columns);

// The shape of a database: per table its columns (name, type, not null, default, key) in order and
// its indexes (name, uniqueness, columns and collations); on PostgreSQL also the system's functions
// and triggers. Two databases with the same shape hold the same tables, columns and indexes.
std::vector<std::string> shapeOf(db::Database& db);
std::vector<std::string> shapeOf(db::PgDatabase& db);

} // namespace ormex::test

#pragma once

#include <string_view>
#include <vector>

#include "sql/Database.h"
#include "sql/PgDatabase.h"

// The versions of the member-card schema and the steps between them. A new database is made from
// schema.sql at the version of the last step; an older one is brought there by the steps above its
// version, in order, each in one transaction with the version record (SchemaUpgrade.h).
//
// Adding a step (a table, a column, an index, a right):
//   1. change schema.sql to what a new database holds (a new column goes at the end of its table,
//      where ALTER TABLE puts it in an older database);
//   2. append a step to the list in SchemaSteps.cpp with the next version number, a description
//      and the SQL that brings a database of the previous version there, in schema.sql's text (types
//      as schema.sql writes them, statements ended by ';'); PostgreSQL runs its translation;
//   3. run the tests: SchemaUpgradeTest and PgSchemaUpgradeTest bring a database of the first version
//      (tests/db/fixtures) up through every step, check that its rows are kept and that it ends
//      with the tables, columns and indexes of a new database.
// A step is never changed once a build with it has made databases; a correction is a new step.
namespace ormex::db {

struct SchemaStep
{
    int version = 0;              // the version a database is at after the step
    std::string_view description; // what the step changes, as ormex-db upgrade reports it
    // What the step runs on both engines: SQLite text as schema.sql writes it, translated for
    // PostgreSQL (translateSchemaToPostgres, which also takes ALTER TABLE … ADD COLUMN).
    std::string_view sql;
    // Where one text cannot serve both engines (a table rebuilt on SQLite, a function on PostgreSQL,
    // work that needs code): what runs instead of `sql` on that engine, inside the step's transaction.
    void (*onSqlite)(Database&) = nullptr;
    void (*onPostgres)(PgDatabase&) = nullptr;
    // A right added to rightsCatalogue() needs a step whose onSqlite calls upgradeRights (Operators.h),
    // so that the standard roles of an older database are given it once.
};

// Every step, in order of version; the first brings a database made before versions were recorded
// to version 1, the schema of the first databases that recorded one.
const std::vector<SchemaStep>& schemaSteps();

// The version of the databases this build makes and works on: the last step's.
int currentSchemaVersion();

} // namespace ormex::db

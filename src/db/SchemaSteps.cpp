#include "SchemaSteps.h"

#include <string>

#include "Operators.h"
#include "PgSchema.h"
#include "SqliteStatement.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// ---- Version 1: the databases made before versions were recorded ------------------------------
//
// Those databases hold the first tables of schema.sql and, depending on the build that made them,
// some of what came after: columns added to the first tables, and tables that every open added
// when they were missing. The step adds what is missing, gives the standard roles the rights the
// database has not known, and starts the version record. These texts are the schema of that time
// and stay as they are.

struct FirstColumn
{
    const char* table;
    const char* column;
    const char* definition;
};
constexpr FirstColumn kFirstColumns[] = {
    {"t_OperLog", "FCardId", "TEXT COLLATE NOCASE"},
    {"t_OperLog", "FBranchNo", "TEXT COLLATE NOCASE"},
    {"T_Pos_VipRecord", "FSeal", "TEXT COLLATE BINARY"},
};

constexpr std::string_view kFirstTables = R"SQL(
CREATE TABLE IF NOT EXISTS t_HqOutbox (
    FSeq        INTEGER PRIMARY KEY AUTOINCREMENT,
    FOrigin     TEXT COLLATE BINARY NOT NULL,
    FBranchNo   TEXT COLLATE NOCASE,
    FDate       TEXT,
    FOperation  INTEGER,
    FBatch      TEXT NOT NULL,
    FChecks     TEXT NOT NULL DEFAULT '',
    FAttempts   INTEGER NOT NULL DEFAULT 0,
    FLastError  TEXT NOT NULL DEFAULT ''
);
CREATE TABLE IF NOT EXISTS t_HqReplay (
    FOrigin    TEXT COLLATE BINARY NOT NULL,
    FSeq       INTEGER NOT NULL,
    FBranchNo  TEXT COLLATE NOCASE,
    FDigest    TEXT COLLATE BINARY,
    FDate      TEXT,
    PRIMARY KEY (FOrigin, FSeq)
);
CREATE INDEX IF NOT EXISTS IX_OperLog_Card ON t_OperLog (FCardId, FDate);
CREATE TABLE IF NOT EXISTS t_Role (
    FRoleId  TEXT COLLATE NOCASE PRIMARY KEY,
    FName    TEXT COLLATE NOCASE NOT NULL
);
CREATE TABLE IF NOT EXISTS t_RoleRight (
    FRoleId     TEXT COLLATE NOCASE NOT NULL,
    FRightCode  TEXT COLLATE NOCASE NOT NULL,
    PRIMARY KEY (FRoleId, FRightCode)
);
CREATE TABLE IF NOT EXISTS t_KnownRight (
    FRightCode  TEXT COLLATE NOCASE PRIMARY KEY
);
CREATE TABLE IF NOT EXISTS t_User (
    FUserID        INTEGER PRIMARY KEY AUTOINCREMENT,
    FLogin         TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FName          TEXT COLLATE NOCASE NOT NULL,
    FPasswordHash  TEXT COLLATE BINARY NOT NULL,
    FRoleId        TEXT COLLATE NOCASE NOT NULL,
    FFailedLogins  INTEGER NOT NULL DEFAULT 0,
    FLockedUntil   TEXT,
    FDisabled      INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE IF NOT EXISTS t_SchemaVersion (
    FVersion      INTEGER PRIMARY KEY,
    FDescription  TEXT COLLATE NOCASE,
    FDate         TEXT
);
)SQL";

bool hasColumn(Database& db, const FirstColumn& added)
{
    SqliteStatement stmt(db.handle(),
                         "SELECT count(*) FROM pragma_table_info(" + platform::quoted(added.table) +
                             ") WHERE name=" + platform::quoted(added.column) + " COLLATE NOCASE");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

bool hasColumn(PgDatabase& db, const FirstColumn& added)
{
    return db.queryNative("SELECT count(*) FROM information_schema.columns WHERE table_schema = "
                          "current_schema() AND table_name = lower(" +
                          platform::quoted(added.table) + ") AND column_name = lower(" +
                          platform::quoted(added.column) + ")")
               .field(0)
               .toInt() == 1;
}

// The columns a database lacks, as ALTER TABLE statements of schema.sql's text.
template <typename Db> std::string missingColumns(Db& db)
{
    std::string sql;
    for (const FirstColumn& added : kFirstColumns)
        if (!hasColumn(db, added))
            sql += std::string("ALTER TABLE ") + added.table + " ADD COLUMN " + added.column + " " +
                   added.definition + ";\n";
    return sql;
}

void toFirstVersionOnSqlite(Database& db)
{
    db.executeNative(missingColumns(db) + std::string(kFirstTables));
    upgradeRights(db);
}

// Operators log in to SQLite files only: a headquarters on PostgreSQL gets the tables, its roles
// and rights stay as they were copied there.
void toFirstVersionOnPostgres(PgDatabase& db)
{
    db.executeNative(translateSchemaToPostgres(missingColumns(db) + std::string(kFirstTables)));
}

} // namespace

const std::vector<SchemaStep>& schemaSteps()
{
    static const std::vector<SchemaStep> steps = {
        {1,
         "the schema of the first databases: the headquarters queue and replay record, the card "
         "seal, the card of an operation-log row, operators, roles and rights, the version record",
         {},
         &toFirstVersionOnSqlite,
         &toFirstVersionOnPostgres},
        // The next step goes here: {2, "what it changes", R"SQL(ALTER TABLE … ADD COLUMN …;)SQL"},
    };
    return steps;
}

int currentSchemaVersion()
{
    return schemaSteps().back().version;
}

} // namespace ormex::db

#include "SchemaSteps.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "CardLedger.h"
#include "CardSeal.h"
#include "Operators.h"
#include "PgSchema.h"
#include "platform/Text.h"
#include "sql/SqliteStatement.h"

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

// ---- Version 2: held changes of the headquarters queue -----------------------------------------
//
// A queued change gets a state ('waiting' or 'held', with the date it was held), and the values it
// was computed from and the cards it touches move from one encoded text column (FChecks) to rows of
// their own. The encoded text: checks apart by \x1e, within a check the query, the field and the
// value apart by \x1f; the value is N (null), B0/B1, I<integer>, D<real> or T<text>.

constexpr std::string_view kHeldTables = R"SQL(
ALTER TABLE t_HqOutbox ADD COLUMN FState TEXT COLLATE NOCASE NOT NULL DEFAULT 'waiting';
ALTER TABLE t_HqOutbox ADD COLUMN FHeldDate TEXT;
CREATE TABLE t_HqOutboxCheck (
    FSeq        INTEGER NOT NULL,
    FNo         INTEGER NOT NULL,
    FSql        TEXT NOT NULL,
    FField      TEXT NOT NULL,
    FValueType  TEXT NOT NULL,
    FValue      TEXT,
    PRIMARY KEY (FSeq, FNo)
);
CREATE TABLE t_HqOutboxCard (
    FSeq        INTEGER NOT NULL,
    FCardId     TEXT COLLATE NOCASE NOT NULL,
    PRIMARY KEY (FSeq, FCardId)
);
)SQL";

// One encoded value as the (FValueType, FValue) of a check row, FValue already between quotes or
// NULL.
std::pair<std::string, std::string> checkValueRow(const std::string& encoded)
{
    const std::string rest = encoded.empty() ? std::string() : encoded.substr(1);
    switch (encoded.empty() ? 'N' : encoded[0]) {
    case 'B':
        return {"bool", platform::quoted(rest == "1" ? "1" : "0")};
    case 'I':
        return {"int", platform::quoted(rest)};
    case 'D':
        return {"real", platform::quoted(rest)};
    case 'T':
        return {"text", platform::quoted(rest)};
    default:
        return {"null", "NULL"};
    }
}

// The check rows of one queued change, from its encoded text.
std::string checkRows(const std::string& seq, const std::string& encoded)
{
    std::string sql;
    int no = 0;
    for (const std::string& check : platform::split(encoded, '\x1e')) {
        const auto parts = platform::split(check, '\x1f');
        if (parts.size() != 3)
            throw std::runtime_error("t_HqOutbox row " + seq + ": its recorded checks are damaged");
        const auto [type, value] = checkValueRow(parts[2]);
        sql += "INSERT INTO t_HqOutboxCheck (FSeq, FNo, FSql, FField, FValueType, FValue) VALUES (" + seq +
               ", " + std::to_string(++no) + ", " + platform::quoted(parts[0]) + ", " +
               platform::quoted(parts[1]) + ", '" + type + "', " + value + ");\n";
    }
    return sql;
}

void toHeldChangesOnSqlite(Database& db)
{
    std::string sql(kHeldTables);
    {
        SqliteStatement queued(db.handle(), "SELECT FSeq, FChecks FROM t_HqOutbox WHERE FChecks <> ''");
        while (queued.step())
            sql += checkRows(queued.column(0).toString(), queued.column(1).toString());
    }
    db.executeNative(sql + "ALTER TABLE t_HqOutbox DROP COLUMN FChecks;");
    upgradeRights(db); // 处理总部拒收的变更 for the standard roles that hold every right
}

// Headquarters queues nothing of its own, but its copy of the table is brought to the same shape;
// a queued row there is moved the same way.
void toHeldChangesOnPostgres(PgDatabase& db)
{
    std::string sql = translateSchemaToPostgres(std::string(kHeldTables));
    const platform::Recordset queued =
        db.queryNative("SELECT FSeq, FChecks FROM t_HqOutbox WHERE FChecks <> ''");
    for (auto rs = queued; !rs.atEnd(); rs.moveNext())
        sql +=
            translateSchemaToPostgres(checkRows(rs.field("fseq").toString(), rs.field("fchecks").toString()));
    db.executeNative(sql + "ALTER TABLE t_HqOutbox DROP COLUMN FChecks;");
}

// ---- Version 3: the movement ledger of each card -------------------------------------------------

constexpr std::string_view kLedger = R"SQL(
ALTER TABLE T_Pos_VipRecord ADD COLUMN FLedgerSeq INTEGER NOT NULL DEFAULT 0;
ALTER TABLE T_Pos_VipRecord ADD COLUMN FLedgerHash TEXT COLLATE BINARY NOT NULL DEFAULT '';
ALTER TABLE T_Pos_VipGiftList ADD COLUMN FSeq INTEGER;
ALTER TABLE T_Pos_VipGiftList ADD COLUMN FChain TEXT COLLATE BINARY;
ALTER TABLE T_Pos_AddMoneyList ADD COLUMN FSeq INTEGER;
ALTER TABLE T_Pos_AddMoneyList ADD COLUMN FChain TEXT COLLATE BINARY;
CREATE TABLE t_CardLedgerStart (
    FCardId       TEXT COLLATE NOCASE PRIMARY KEY,
    FSeq          INTEGER NOT NULL,
    FResidualAmt  TEXT COLLATE BINARY,
    FAccNum       REAL NOT NULL DEFAULT 0,
    FDecNum       REAL NOT NULL DEFAULT 0,
    FDate         TEXT,
    FReason       TEXT COLLATE NOCASE,
    FHash         TEXT COLLATE BINARY NOT NULL
);
CREATE TABLE t_BranchLedgerHead (
    FBranchNo  TEXT COLLATE NOCASE NOT NULL,
    FCardId    TEXT COLLATE NOCASE NOT NULL,
    FSeq       INTEGER NOT NULL,
    FHash      TEXT COLLATE BINARY NOT NULL,
    FDate      TEXT,
    PRIMARY KEY (FBranchNo, FCardId)
);
)SQL";

// The chains of the cards start from the cards as they stand, their movements linked in the order
// they were written; a card that does not match its seal is started when an administrator accepts
// it. Starting needs the seal key: without it the step fails and the database stays as it was.
void toLedgerOnSqlite(Database& db)
{
    if (!sealsCards(db))
        throw std::runtime_error(
            "the movement ledger is started with the seal key: give the settings that hold it");
    db.executeNative(kLedger);
    renewSealing(db);
    startLedgers(db, {}, "建立账本时的余额和积分");
}

// Headquarters on PostgreSQL seals with the ledger's head and chains its movements as the branches
// do; its chains start the same way, in the session that was given the key.
constexpr std::string_view kStartLedgersOnPostgres = R"SQL(
DO $$
DECLARE
    c record;
    m record;
    previous text;
    seq bigint;
    started text;
BEGIN
    IF coalesce(current_setting('ormex.seal_key', true), '') = '' THEN
        RAISE EXCEPTION 'the movement ledger is started with the seal key: give the settings that hold it';
    END IF;
    FOR c IN SELECT fcardid, fresidualamt, faccnum, fdecnum FROM t_pos_viprecord
              WHERE fseal = ormex_seal(fcardid, fresidualamt, faccnum, fdecnum, fledgerseq, fledgerhash) LOOP
        previous := '';
        seq := 0;
        FOR m IN SELECT * FROM (
                     SELECT 'P' AS tag, g.fid, g.fseq, g.foperdate, ormex_movement_body(g) AS body
                       FROM t_pos_vipgiftlist g WHERE g.fcardid = c.fcardid
                     UNION ALL
                     SELECT 'M', a.fid, a.fseq, a.foperdate, ormex_movement_body(a)
                       FROM t_pos_addmoneylist a WHERE a.fcardid = c.fcardid) x
                  ORDER BY x.fseq IS NULL, x.fseq, x.foperdate COLLATE "C", x.tag, x.fid LOOP
            seq := seq + 1;
            previous := ormex_chain(previous, seq, m.tag, m.body);
            IF m.tag = 'P' THEN
                UPDATE t_pos_vipgiftlist SET fseq = seq, fchain = previous WHERE fid = m.fid;
            ELSE
                UPDATE t_pos_addmoneylist SET fseq = seq, fchain = previous WHERE fid = m.fid;
            END IF;
        END LOOP;
        started := ormex_keyed_hash('start' || chr(31) || c.fcardid::text || chr(31) || seq::text || chr(31) ||
                                    coalesce(c.fresidualamt, '') || chr(31) || ormex_number_text(c.faccnum) ||
                                    chr(31) || ormex_number_text(c.fdecnum) || chr(31) || previous);
        INSERT INTO t_cardledgerstart (fcardid, fseq, fresidualamt, faccnum, fdecnum, fdate, freason, fhash)
        VALUES (c.fcardid, seq, c.fresidualamt, c.faccnum, c.fdecnum, ormex_getdate(), '建立账本时的余额和积分',
                started);
        UPDATE t_pos_viprecord SET fledgerseq = seq, fledgerhash = started WHERE fcardid = c.fcardid;
    END LOOP;
END
$$;
)SQL";

void toLedgerOnPostgres(PgDatabase& db)
{
    db.executeNative(translateSchemaToPostgres(kLedger) +
                     "DROP TRIGGER ormex_seal ON t_pos_viprecord;\n"
                     "DROP FUNCTION ormex_seal_row();\n"
                     "DROP FUNCTION ormex_seal(text, text, double precision, double precision);\n"
                     "DROP FUNCTION ormex_number_text(double precision);\n" +
                     std::string(pgCardFunctions()) + std::string(kStartLedgersOnPostgres));
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
        {2,
         "held changes of the headquarters queue: the state of a queued change and when it was "
         "held, its checks and cards in tables of their own; the right to handle held changes",
         {},
         &toHeldChangesOnSqlite,
         &toHeldChangesOnPostgres},
        {3,
         "the movement ledger of each card: the sequence number and link of every points movement and "
         "money-list row, the head of each card's chain under its seal, where each chain started, and "
         "at headquarters the head of each branch's cards",
         kLedger, &toLedgerOnSqlite, &toLedgerOnPostgres},
        // Headquarters on PostgreSQL had no operators before this step (its roles come with ormex-db
        // create since): nothing to change there.
        {4,
         "the right to write a database with the administration command ormex-db (hy0018), for the "
         "standard administrator role",
         {},
         [](Database& db) { upgradeRights(db); },
         nullptr},
        // The next step goes here: {5, "what it changes", R"SQL(ALTER TABLE … ADD COLUMN …;)SQL"},
    };
    return steps;
}

int currentSchemaVersion()
{
    return schemaSteps().back().version;
}

} // namespace ormex::db

#include "Schema.h"

#include <sqlite3.h>

#include <vector>

#include "CardSeal.h"
#include "SqliteStatement.h"

namespace ormex::db {

void applySchema(Database& db)
{
    Database::Transaction transaction(db);
    db.executeNative(kSchemaSql);
    transaction.commit();
    installSealing(db);
}

namespace {

// The comment that opens the tables added after the first databases were made (written so that
// they can be created again), and the last of those tables.
constexpr std::string_view kUpgradeMarker = "-- Added after the first databases were made.";
constexpr const char* kLastAddedTable = "t_HqReplay";

// Columns added to tables of the first databases, as their CREATE TABLE now declares them.
struct AddedColumn
{
    const char* table;
    const char* column;
    const char* definition;
};
constexpr AddedColumn kAddedColumns[] = {
    {"t_OperLog", "FCardId", "TEXT COLLATE NOCASE"},
    {"t_OperLog", "FBranchNo", "TEXT COLLATE NOCASE"},
    {"T_Pos_VipRecord", "FSeal", "TEXT COLLATE BINARY"},
};

bool hasTable(Database& db, const char* name)
{
    SqliteStatement stmt(db.handle(), std::string("SELECT count(*) FROM sqlite_master WHERE type='table' AND "
                                                  "name='") +
                                          name + "'");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

bool hasColumn(Database& db, const AddedColumn& added)
{
    SqliteStatement stmt(db.handle(), std::string("SELECT count(*) FROM pragma_table_info('") + added.table +
                                          "') WHERE name='" + added.column + "' COLLATE NOCASE");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

} // namespace

void upgradeSchema(Database& db)
{
    if (!hasSchema(db)) return;
    std::vector<const AddedColumn*> missing;
    for (const AddedColumn& added : kAddedColumns)
        if (!hasColumn(db, added)) missing.push_back(&added);
    if (missing.empty() && hasTable(db, kLastAddedTable)) return;
    const std::size_t from = kSchemaSql.find(kUpgradeMarker);
    if (from == std::string_view::npos) return;
    Database::Transaction transaction(db);
    for (const AddedColumn* added : missing)
        db.executeNative(std::string("ALTER TABLE ") + added->table + " ADD COLUMN " + added->column + " " +
                         added->definition);
    db.executeNative(kSchemaSql.substr(from));
    transaction.commit();
}

bool hasSchema(Database& db)
{
    return hasTable(db, "T_Pos_VipRecord");
}

} // namespace ormex::db

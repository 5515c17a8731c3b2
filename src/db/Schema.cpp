#include "Schema.h"

#include <sqlite3.h>

#include <algorithm>
#include <string>
#include <vector>

#include "CardSeal.h"
#include "Operators.h"
#include "SqliteStatement.h"

namespace ormex::db {

void applySchema(Database& db)
{
    Database::Transaction transaction(db);
    db.executeNative(kSchemaSql);
    transaction.commit();
    upgradeRights(db); // a new database knows every right; it has no role yet to give one to
    installSealing(db);
}

namespace {

// The comment that opens the tables added after the first databases were made, written so that
// they can be created again.
constexpr std::string_view kUpgradeMarker = "-- Added after the first databases were made.";

// The tables that text creates.
std::vector<std::string> addedTables(std::string_view section)
{
    constexpr std::string_view kCreate = "CREATE TABLE IF NOT EXISTS ";
    std::vector<std::string> tables;
    for (std::size_t at = section.find(kCreate); at != std::string_view::npos;
         at = section.find(kCreate, at + 1)) {
        const std::size_t from = at + kCreate.size();
        tables.emplace_back(section.substr(from, section.find_first_of(" (\n", from) - from));
    }
    return tables;
}

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

bool hasTable(Database& db, const std::string& name)
{
    SqliteStatement stmt(db.handle(),
                         "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='" + name + "'");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

bool hasColumn(Database& db, const AddedColumn& added)
{
    SqliteStatement stmt(db.handle(), std::string("SELECT count(*) FROM pragma_table_info('") + added.table +
                                          "') WHERE name='" + added.column + "' COLLATE NOCASE");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

void addMissingTablesAndColumns(Database& db)
{
    std::vector<const AddedColumn*> missing;
    for (const AddedColumn& added : kAddedColumns)
        if (!hasColumn(db, added)) missing.push_back(&added);
    const std::size_t from = kSchemaSql.find(kUpgradeMarker);
    if (from == std::string_view::npos) return;
    const auto tables = addedTables(kSchemaSql.substr(from));
    if (missing.empty() && std::all_of(tables.begin(), tables.end(),
                                       [&db](const std::string& table) { return hasTable(db, table); }))
        return;
    Database::Transaction transaction(db);
    for (const AddedColumn* added : missing)
        db.executeNative(std::string("ALTER TABLE ") + added->table + " ADD COLUMN " + added->column + " " +
                         added->definition);
    db.executeNative(kSchemaSql.substr(from));
    transaction.commit();
}

} // namespace

void upgradeSchema(Database& db)
{
    if (!hasSchema(db)) return;
    addMissingTablesAndColumns(db);
    upgradeRights(db);
}

bool hasSchema(Database& db)
{
    return hasTable(db, "T_Pos_VipRecord");
}

} // namespace ormex::db

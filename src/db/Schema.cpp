#include "Schema.h"

#include <sqlite3.h>

#include "SqliteStatement.h"

namespace ormex::db {

void applySchema(Database& db)
{
    Database::Transaction transaction(db);
    db.executeNative(kSchemaSql);
    transaction.commit();
}

namespace {

// The comment that opens the tables added after the first databases were made (written so that
// they can be created again), and the last of those tables.
constexpr std::string_view kUpgradeMarker = "-- Added after the first databases were made.";
constexpr const char* kLastAddedTable = "t_HqReplay";

bool hasTable(Database& db, const char* name)
{
    SqliteStatement stmt(db.handle(), std::string("SELECT count(*) FROM sqlite_master WHERE type='table' AND "
                                                  "name='") +
                                          name + "'");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

} // namespace

void upgradeSchema(Database& db)
{
    if (!hasSchema(db) || hasTable(db, kLastAddedTable)) return;
    const std::size_t from = kSchemaSql.find(kUpgradeMarker);
    if (from == std::string_view::npos) return;
    Database::Transaction transaction(db);
    db.executeNative(kSchemaSql.substr(from));
    transaction.commit();
}

bool hasSchema(Database& db)
{
    return hasTable(db, "T_Pos_VipRecord");
}

} // namespace ormex::db

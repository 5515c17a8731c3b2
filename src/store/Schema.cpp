#include "Schema.h"

#include <string>

#include "CardSeal.h"
#include "Operators.h"
#include "SchemaUpgrade.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

void applySchema(Database& db)
{
    Database::Transaction transaction(db);
    db.executeNative(kSchemaSql);
    db.executeNative(schemaVersionRecord(currentSchemaVersion(), kCreatedVersion));
    transaction.commit();
    upgradeRights(db); // a new database knows every right; it has no role yet to give one to
    installSealing(db);
}

bool hasSchema(Database& db)
{
    SqliteStatement stmt(db.handle(),
                         "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='T_Pos_VipRecord'");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

} // namespace ormex::db

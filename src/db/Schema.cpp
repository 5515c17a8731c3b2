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

bool hasSchema(Database& db)
{
    SqliteStatement stmt(db.handle(),
                         "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='T_Pos_VipRecord'");
    return stmt.step() && stmt.column(0).toInt() == 1;
}

} // namespace ormex::db

#include "CheckedBatch.h"

namespace ormex::host {

void executeChecked(db::Database& db, const std::string& batch,
                    const std::vector<platform::ReadCheck>& checks)
{
    db::Database::Transaction transaction(db); // BEGIN IMMEDIATE: the write lock is ours from here
    for (const platform::ReadCheck& check : checks) {
        const platform::Recordset now = db.query(check.sql);
        const platform::Value current = now.atEnd() ? platform::Value("") : now.field(check.field);
        if (!platform::sameReadValue(current, check.expected))
            throw platform::ChangedSinceReadError("changed since read: " + check.sql + " gave '" +
                                                  check.expected.toString() + "', now '" +
                                                  current.toString() + "'");
    }
    db.execute(batch);
    transaction.commit();
}

} // namespace ormex::host

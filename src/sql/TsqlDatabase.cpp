#include "TsqlDatabase.h"

#include <string>

namespace ormex::db {

void TsqlDatabase::executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks)
{
    const auto write = beginWrite();
    checkReads(checks);
    execute(batch);
    write->commit();
}

void TsqlDatabase::checkReads(const std::vector<platform::ReadCheck>& checks)
{
    for (const platform::ReadCheck& check : checks) {
        const platform::Recordset now = query(check.sql);
        const platform::Value current = now.atEnd() ? platform::Value("") : now.field(check.field);
        if (!platform::sameReadValue(current, check.expected))
            throw platform::ChangedSinceReadError("changed since read: " + check.sql + " gave '" +
                                                  check.expected.toString() + "', now '" +
                                                  current.toString() + "'");
    }
}

} // namespace ormex::db

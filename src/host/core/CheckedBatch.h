#pragma once

#include <string>
#include <vector>

#include "db/Database.h"
#include "platform/BusinessObjects.h"

// A batch computed from values read earlier runs only while those values still stand: in one
// transaction that first takes the write lock, every check's query must still give its value,
// then the batch runs. No other writer can come between the checks and the batch.
namespace ormex::host {

// Throws platform::ChangedSinceReadError (nothing written) when a check reads another value.
void executeChecked(db::Database& db, const std::string& batch,
                    const std::vector<platform::ReadCheck>& checks);

} // namespace ormex::host

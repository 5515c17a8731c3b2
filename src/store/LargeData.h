#pragma once

#include <cstddef>
#include <functional>

#include "sql/Database.h"

// Bulk generation of member cards for sizing and benchmarks: card numbers 9000000000 upwards,
// every status, balances encoded as the screens expect. One transaction for the whole run.
namespace ormex::db {

using GenerateProgress = std::function<void(std::size_t done, std::size_t total)>;

// Adds `count` cards after the ones already generated. Throws DbError (nothing added).
void generateCards(Database& db, std::size_t count, const GenerateProgress& progress = {});

} // namespace ormex::db

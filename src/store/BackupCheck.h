#pragma once

#include <string>
#include <vector>

#include "CardSeal.h"

// Whether a copy of a database (a backup) may take the place of a database of the system.
namespace ormex::db {

// What stands against the copy at `copy` taking a database's place, one finding each: it does not
// open as a database, it is damaged, it holds no member-card tables or a schema newer than this
// build's, a card's balance or points do not match the card's seal under `key`, a break in a card's
// movement ledger. Empty when nothing
// does. A copy of an older schema version is brought to this build's first, as the first opening
// of it would do: `copy` is the file about to take the database's place, never the backup itself.
// A copy that cannot be read is a finding, not an exception.
std::vector<std::string> checkBackup(const std::string& copy, const SealKey& key);

} // namespace ormex::db

#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

#include "store/CardSeal.h"

// The commands of ormex-db that copy a database: a backup taken while the tills work, and the
// restore of one in the database's place. Each returns the process exit code.
namespace ormex::tools {

// backup <db> <file>: never overwrites a file.
int backupCommand(const std::vector<std::string>& a, std::ostream& out, std::ostream& notes);

struct RestoreOptions
{
    std::string user;         // the operator, who needs hy0018
    db::SealKey key;          // the key the database's cards are sealed with
    std::string headquarters; // a file or URL to compare a restored branch with; "" not to compare
    std::chrono::milliseconds deadline{0}; // of the calls to a headquarters server
};
// restore <file> <db>: 3 when the restored database differs from headquarters where nothing
// explains it, or could not be compared with it.
int restoreCommand(const std::vector<std::string>& a, const RestoreOptions& options, std::ostream& out,
                   std::ostream& notes);

} // namespace ormex::tools

#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

// The operators of a database: ormex-db user add|passwd|grant|list. Returns the process exit code.
namespace ormex::tools {

// add, passwd and grant act for `user`, who needs hy0018 once an active operator holds it; each is
// logged with the operator in its own transaction.
// <db> is an SQLite file or a PostgreSQL server's database (reached within `deadline`).
int userCommand(const std::vector<std::string>& a, const std::string& user, std::ostream& out,
                std::ostream& notes, std::chrono::milliseconds deadline);

} // namespace ormex::tools

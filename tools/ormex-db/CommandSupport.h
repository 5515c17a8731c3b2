#pragma once

#include <chrono>
#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>

#include "db/Database.h"
#include "db/Operators.h"
#include "db/PgDatabase.h"
#include "db/SchemaUpgrade.h"

// What the commands of ormex-db share: opening the databases they work on, naming them in output,
// and acting for an operator who logs in with a password.
namespace ormex::tools {

// Arguments the command does not take: the caller prints the usage.
struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// An SQLite file of the system; one of an older schema version is upgraded, as the host does when
// it opens it, and what was done goes to `notes`, apart from the command's own output.
std::unique_ptr<db::Database> openExisting(const std::string& path, std::ostream& notes);
// A PostgreSQL database of the system at this build's schema version, with the deadline of its calls.
std::unique_ptr<db::PgDatabase> openExistingPg(const std::string& url, std::chrono::milliseconds deadline);

// A database as the output names it: a URL without its password.
std::string shown(const std::string& location);
// What an upgrade did: the steps applied, or that there was nothing to do.
void reportUpgrade(std::ostream& out, const std::string& location, const db::SchemaUpgrade& upgrade);

// A password from ORMEX_PASSWORD, or typed at the terminal without being shown.
std::string askPassword(const std::string& prompt);
// Logs the operator named by --user in and checks their right: the login on success; throws
// UsageError when no operator is named, DbError with the reason when refused (a refused right is
// logged).
db::LoginOutcome actAs(db::Database& database, const std::string& login, const std::string& right);

} // namespace ormex::tools

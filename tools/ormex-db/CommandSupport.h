#pragma once

#include <chrono>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "sql/Database.h"
#include "sql/PgDatabase.h"
#include "store/Operators.h"
#include "store/SchemaUpgrade.h"

// What the commands of ormex-db share: opening the databases they work on, naming them in output,
// and acting for an operator who logs in with a password.
namespace ormex::tools {

// Arguments the command does not take: the caller prints the usage.
struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// Takes "<name> <value>" out of the arguments after the command word; "" when it is not there.
std::string takeOption(std::vector<std::string>& a, const std::string& name);

// An SQLite file of the system; one of an older schema version is upgraded, as the host does when
// it opens it, and what was done goes to `notes`, apart from the command's own output.
std::unique_ptr<db::Database> openExisting(const std::string& path, std::ostream& notes);
// A PostgreSQL database of the system at this build's schema version, with the deadline of its calls.
std::unique_ptr<db::PgDatabase> openExistingPg(const std::string& url, std::chrono::milliseconds deadline);

// A database as the output names it: a URL without its password.
std::string shown(const std::string& location);
// What an upgrade did: the steps applied, or that there was nothing to do.
void reportUpgrade(std::ostream& out, const std::string& location, const db::SchemaUpgrade& upgrade);

// The right to write a database with the administration command: run a batch, restore a backup,
// manage the operators, generate cards.
inline constexpr const char* kAdminWrites = "hy0018";

// A password from ORMEX_PASSWORD, or typed at the terminal without being shown.
std::string askPassword(const std::string& prompt);
// The new password of an operator: from ORMEX_NEW_PASSWORD, or typed. ORMEX_PASSWORD serves only
// when nobody logged in for the command (the first administrator): once an operator did, it is
// theirs, and must not become another operator's password by accident.
std::string askNewPassword(const std::string& prompt, bool someoneLoggedIn);
// Logs the operator named by --user in and checks their right: the login on success; throws
// UsageError when no operator is named, DbError with the reason when refused (a refused right is
// logged).
db::LoginOutcome actAs(db::TsqlDatabase& database, const std::string& login, const std::string& right);
// Throws actAs's UsageError when no operator is named.
void requireOperator(const std::string& login, const std::string& right);
// The operator named by --user, for administering the operators: as actAs with kAdminWrites, or
// nobody when --user is not given and no active operator holds kAdminWrites yet (a database that
// has no administrator: its first one is being made).
std::optional<db::LoginOutcome> actAsAdministrator(db::TsqlDatabase& database, const std::string& login);

} // namespace ormex::tools

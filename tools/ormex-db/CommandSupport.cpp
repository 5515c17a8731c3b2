#include "CommandSupport.h"

#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "sql/DbError.h"
#include "store/CardWriteLocks.h"
#include "store/PgSchema.h"
#include "store/Schema.h"

namespace ormex::tools {

using db::Database;

std::string takeOption(std::vector<std::string>& a, const std::string& name)
{
    for (std::size_t i = 1; i + 1 < a.size(); ++i)
        if (a[i] == name) {
            std::string value = a[i + 1];
            a.erase(a.begin() + static_cast<std::ptrdiff_t>(i),
                    a.begin() + static_cast<std::ptrdiff_t>(i) + 2);
            return value;
        }
    return {};
}

std::unique_ptr<db::PgDatabase> openExistingPg(const std::string& url, std::chrono::milliseconds deadline)
{
    auto database = db::PgDatabase::open(url, deadline);
    if (!db::hasSchema(*database))
        throw db::DbError("not an OrmexCardManage database (run 'ormex-db create' first)");
    db::requireCurrentSchema(*database, url);
    database->setWriteLockPlanner(db::cardWriteLocks);
    return database;
}

std::string shown(const std::string& location)
{
    return db::withoutPassword(location);
}

void reportUpgrade(std::ostream& out, const std::string& location, const db::SchemaUpgrade& upgrade)
{
    if (upgrade.applied.empty()) {
        out << shown(location) << " is at schema version " << upgrade.to << ", this build's: nothing to do\n";
        return;
    }
    out << "upgraded " << shown(location) << " from schema version " << upgrade.from << " to " << upgrade.to
        << ":\n";
    for (const db::SchemaStep* step : upgrade.applied)
        out << "  " << step->version << "  " << step->description << '\n';
}

std::unique_ptr<Database> openExisting(const std::string& path, std::ostream& notes)
{
    auto database = Database::open(path, Database::OpenMode::MustExist);
    if (!db::hasSchema(*database))
        throw db::DbError(path + " is not an OrmexCardManage database (run 'ormex-db create' first)");
    const db::SchemaUpgrade upgrade = db::upgradeWhenOpened(*database);
    if (!upgrade.applied.empty()) reportUpgrade(notes, path, upgrade);
    return database;
}

namespace {

// A password from the environment variable `variable` when it is set, or typed at the terminal
// without being shown.
std::string passwordFrom(const char* variable, const std::string& prompt)
{
    if (const char* given = variable ? std::getenv(variable) : nullptr) return given;
    const bool terminal = isatty(STDIN_FILENO);
    termios saved{};
    if (terminal) {
        std::cerr << prompt << std::flush;
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string password;
    std::getline(std::cin, password);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::cerr << '\n';
    }
    return password;
}

} // namespace

std::string askPassword(const std::string& prompt)
{
    return passwordFrom("ORMEX_PASSWORD", prompt);
}

std::string askNewPassword(const std::string& prompt, bool someoneLoggedIn)
{
    if (const char* given = std::getenv("ORMEX_NEW_PASSWORD")) return given;
    return passwordFrom(someoneLoggedIn ? nullptr : "ORMEX_PASSWORD", prompt);
}

void requireOperator(const std::string& login, const std::string& right)
{
    if (login.empty())
        throw UsageError("name the operator with --user <login> (the right " + right + " " +
                         db::rightName(right) + " is needed)");
}

db::LoginOutcome actAs(db::TsqlDatabase& database, const std::string& login, const std::string& right)
{
    requireOperator(login, right);
    const db::LoginOutcome outcome =
        db::login(database, login, askPassword("password of " + login + ": "), "ormex-db");
    if (outcome.result != db::LoginOutcome::Result::Ok) throw db::DbError(outcome.message());
    if (!db::hasRight(database, outcome.userId, right)) {
        db::logRefusedRight(database, outcome.userId, right, "ormex-db", "ormex-db");
        throw db::DbError(db::rightRefusal(right));
    }
    return outcome;
}

std::optional<db::LoginOutcome> actAsAdministrator(db::TsqlDatabase& database, const std::string& login)
{
    if (login.empty() && !db::someoneHolds(database, kAdminWrites)) return std::nullopt;
    return actAs(database, login, kAdminWrites);
}

} // namespace ormex::tools

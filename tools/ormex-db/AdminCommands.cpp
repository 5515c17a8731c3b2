#include "AdminCommands.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>

#include "BackupCommands.h"
#include "CommandLine.h"
#include "CommandSupport.h"
#include "OutboxCommands.h"
#include "TablePrinter.h"
#include "UserCommands.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/NumberText.h"
#include "platform/SettingsFile.h"
#include "sql/Database.h"
#include "sql/DbError.h"
#include "sql/PgDatabase.h"
#include "store/AdminBatch.h"
#include "store/CardImport.h"
#include "store/CardLedger.h"
#include "store/CardSeal.h"
#include "store/CardWriteLocks.h"
#include "store/DemoData.h"
#include "store/LargeData.h"
#include "store/LiabilityReport.h"
#include "store/Operators.h"
#include "store/PgCopy.h"
#include "store/PgSchema.h"
#include "store/Schema.h"
#include "store/SchemaUpgrade.h"

namespace ormex::tools {

namespace {

namespace fs = std::filesystem;
using db::Database;

// Builds a database in a temporary file beside the target and renames it into place, so that a
// failure never leaves a half-made database behind.
void createDatabase(const std::string& path, const std::function<void(Database&)>& fill)
{
    if (fs::exists(path)) throw db::DbError("database " + path + " already exists");
    const fs::path target(path);
    if (!target.parent_path().empty() && !fs::exists(target.parent_path()))
        throw db::DbError("folder " + target.parent_path().string() + " does not exist");
    const std::string temp = path + ".partial";
    fs::remove(temp);
    try {
        {
            auto database = Database::open(temp, Database::OpenMode::Create);
            db::applySchema(*database);
            if (fill) fill(*database);
            database->executeNative("PRAGMA wal_checkpoint(TRUNCATE)");
        }
        fs::remove(temp + "-wal");
        fs::remove(temp + "-shm");
        fs::rename(temp, path);
    } catch (...) {
        fs::remove(temp);
        fs::remove(temp + "-wal");
        fs::remove(temp + "-shm");
        throw;
    }
}

// Creates the schema in an existing PostgreSQL database that does not hold it yet.
void createPgDatabase(const std::string& url, std::chrono::milliseconds deadline)
{
    auto database = db::PgDatabase::open(url, deadline);
    if (db::hasSchema(*database)) throw db::DbError("the database already holds the member-card tables");
    db::applySchema(*database);
    // Headquarters' own operators (the liability report, its administrators) hold the same roles.
    db::addStandardRoles(*database);
}

// Demo rows go into a new database only: they hold cards with value and operators with a known
// password.
void requireNew(db::TsqlDatabase& database, const std::string& location)
{
    const auto held =
        database.query("select (select count(*) from T_Pos_VipRecord) as cards, (select count(*) "
                       "from t_User) as users");
    const long long cards = held.cell(0, 0).toInt(), users = held.cell(0, 1).toInt();
    if (cards > 0 || users > 0)
        throw db::DbError("seed adds the demo data to a new database; " + shown(location) + " holds " +
                          std::to_string(cards) + " card(s) and " + std::to_string(users) + " operator(s)");
}

db::DemoRole parseRole(const std::string& role)
{
    if (role == "branch") return db::DemoRole::Branch;
    if (role == "hq") return db::DemoRole::Headquarters;
    throw UsageError("--role must be branch or hq, not '" + role + "'");
}

// The settings file that holds the seal key of a database.
std::string settingsFor(const std::string& location, const std::string& config)
{
    if (!config.empty()) return config;
    if (db::isPostgresUrl(location)) return "host.conf";
    const fs::path folder = fs::path(location).parent_path();
    return ((folder.empty() ? fs::path(".") : folder) / "host.conf").string();
}

std::optional<db::SealKey> sealKeyIn(const std::string& settings)
{
    const std::string text = platform::settingOf(settings, "seal-key");
    if (text.empty()) return std::nullopt;
    const auto key = db::parseSealKey(text);
    if (!key) throw db::DbError(settings + ": seal-key must be 64 hexadecimal digits");
    return key;
}

// The key the cards of the database are sealed with; a new one written to the settings when they
// have none.
db::SealKey makeSealKey(const std::string& settings, std::ostream& out)
{
    if (const auto key = sealKeyIn(settings)) return *key;
    const db::SealKey key = db::newSealKey();
    platform::addSetting(settings, "seal-key", db::sealKeyText(key));
    out << "wrote a new seal key to " << settings
        << " (keep a copy of it apart from the database's backups: they are checked with it)\n";
    return key;
}

// How long a call waits for a server that sends nothing: the settings' hq-deadline-seconds, or the
// connection's default.
std::chrono::milliseconds deadlineIn(const std::string& settings)
{
    const std::string text = platform::settingOf(settings, "hq-deadline-seconds");
    if (text.empty()) return db::PgDatabase::kDeadline;
    const auto deadline = db::parseDeadlineSeconds(text);
    if (!deadline) throw db::DbError(settings + ": hq-deadline-seconds must be whole seconds from 1 to 600");
    return *deadline;
}

db::SealKey needSealKey(const std::string& settings)
{
    if (const auto key = sealKeyIn(settings)) return *key;
    throw db::DbError("no seal-key in " + settings +
                      ": cards written without it could not be told from cards changed outside the system"
                      " (name the host's settings with --config)");
}

// The process seals with a key while a command runs, and as before afterwards.
class SealingWith
{
public:
    explicit SealingWith(std::optional<db::SealKey> key) : m_before(db::sealKey()) { db::setSealKey(key); }
    ~SealingWith() { db::setSealKey(m_before); }
    SealingWith(const SealingWith&) = delete;
    SealingWith& operator=(const SealingWith&) = delete;

private:
    std::optional<db::SealKey> m_before;
};

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw db::DbError("cannot read " + path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

int run(const CommandLine& line, std::ostream& out, std::ostream& notes)
{
    std::vector<std::string> a = line.args;
    const std::string& config = line.config;
    const std::string& user = line.user;
    const std::string& command = a[0];
    // Headquarters to compare a restored branch with (a file or a URL); demo's --hq is its own.
    const std::string headquarters = command == "restore" ? takeOption(a, "--hq") : "";
    auto need = [&](std::size_t n) {
        if (a.size() != n) throw UsageError("wrong arguments for '" + command + "'");
    };
    for (std::size_t i = 1; i < a.size(); ++i)
        if (db::isPostgresUrl(a[i]) && command != "create" && command != "query" && command != "seed" &&
            command != "run" && command != "report" && command != "verify" && command != "upgrade" &&
            command != "reconcile" && command != "user")
            throw db::DbError("'" + command + "' does not work on a PostgreSQL database");
    // The database the command works on, and the key its cards are sealed with.
    const std::string location = command == "report" || command == "user" || command == "outbox" ||
                                         command == "reconcile" || command == "restore"
                                     ? (a.size() > 2 ? a[2] : "")
                                     : (a.size() > 1 ? a[1] : "");
    std::optional<db::SealKey> key;
    if (command == "create" && !db::isPostgresUrl(location) && a.size() == 2)
        key = makeSealKey(settingsFor(location, config), out);
    else if (command == "seed" || command == "generate" || command == "run" || command == "import-cards" ||
             command == "verify" || command == "restore")
        key = needSealKey(settingsFor(location, config));
    else if (command != "demo")
        key = sealKeyIn(settingsFor(location, config));
    SealingWith sealing(key);
    const std::chrono::milliseconds deadline =
        db::isPostgresUrl(location) ? deadlineIn(settingsFor(location, config)) : db::PgDatabase::kDeadline;

    if (command == "create") {
        need(2);
        if (db::isPostgresUrl(a[1]))
            createPgDatabase(a[1], deadline);
        else
            createDatabase(a[1], [](Database& database) { db::addStandardRoles(database); });
        out << "created " << shown(a[1]) << '\n';
    } else if (command == "seed") {
        need(4);
        if (a[2] != "--role") throw UsageError("seed needs --role branch|hq");
        const db::DemoRole role = parseRole(a[3]);
        if (db::isPostgresUrl(a[1])) {
            auto server = openExistingPg(a[1], deadline);
            requireNew(*server, a[1]);
            // The demo rows are made by the same code as for a file, in memory, then copied.
            auto scratch = Database::open(":memory:", Database::OpenMode::Create);
            db::applySchema(*scratch);
            db::seedDemo(*scratch, role);
            db::addDemoOperators(*scratch);
            // A server made by create holds the standard roles and the rights it knows already.
            if (server->query("select count(*) as n from t_KnownRight").field("n").toInt() > 0)
                scratch->executeNative(
                    "DELETE FROM t_KnownRight; DELETE FROM t_RoleRight; DELETE FROM t_Role");
            db::copyRows(*scratch, *server);
        } else {
            auto database = openExisting(a[1], notes);
            requireNew(*database, a[1]);
            db::seedDemo(*database, role);
            db::addDemoOperators(*database);
        }
        out << "seeded " << shown(a[1]) << '\n';
    } else if (command == "demo") {
        need(5);
        std::string branch, hq;
        for (std::size_t i = 1; i + 1 < a.size(); i += 2) {
            if (a[i] == "--branch")
                branch = a[i + 1];
            else if (a[i] == "--hq")
                hq = a[i + 1];
            else
                throw UsageError("unknown option '" + a[i] + "'");
        }
        if (branch.empty() || hq.empty()) throw UsageError("demo needs --branch and --hq");
        // One key for both: the host that opens the branch opens its headquarters too.
        db::setSealKey(makeSealKey(settingsFor(branch, config), out));
        for (const auto& [path, role] :
             {std::pair{hq, db::DemoRole::Headquarters}, std::pair{branch, db::DemoRole::Branch}}) {
            if (fs::exists(path)) {
                out << "kept " << path << '\n';
                continue;
            }
            createDatabase(path, [role = role](Database& database) {
                db::seedDemo(database, role);
                db::addDemoOperators(database);
            });
            out << "created " << path << '\n';
        }
    } else if (command == "upgrade") {
        need(2);
        if (db::isPostgresUrl(a[1])) {
            // A step may rewrite a whole table without a word from the server: the longest wait
            // the settings allow, not the one for a till's call.
            const auto patient = std::chrono::milliseconds(std::chrono::minutes(10));
            reportUpgrade(out, a[1], db::upgradeSchema(*db::PgDatabase::open(a[1], patient)));
        } else {
            auto database = Database::open(a[1], Database::OpenMode::MustExist);
            reportUpgrade(out, a[1], db::upgradeSchema(*database));
        }
    } else if (command == "generate") {
        need(3);
        const auto count = platform::parseNumber(a[2]);
        if (!count || *count < 1 || *count != static_cast<double>(static_cast<long long>(*count)))
            throw UsageError("the count must be a whole number above 0, not '" + a[2] + "'");
        auto database = openExisting(a[1], notes);
        actAs(*database, user, kAdminWrites);
        const auto started = std::chrono::steady_clock::now();
        db::generateCards(*database, static_cast<std::size_t>(*count),
                          [&out](std::size_t done, std::size_t total) {
                              out << "\r" << done << " / " << total << std::flush;
                          });
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        out << "\ngenerated " << static_cast<long long>(*count) << " cards in "
            << platform::formatFixed(seconds, 1) << " s\n";
    } else if (command == "run") {
        need(3);
        const std::string batch = readFile(a[2]);
        std::string digest, by;
        if (db::isPostgresUrl(a[1])) {
            // Nobody logs in to headquarters' server as an operator of the system: whoever holds the
            // URL's password is its administrator, and could run anything with psql as well. The
            // log names the server's account.
            auto server = openExistingPg(a[1], deadline);
            const std::string account = server->queryNative("SELECT current_user").field(0).toString();
            by = "the server's user " + account;
            digest = db::runLoggedBatch(*server, batch, a[2], {0, "服务器用户" + account, "ormex-db"});
        } else {
            auto database = openExisting(a[1], notes);
            const db::LoginOutcome who = actAs(*database, user, kAdminWrites);
            by = user;
            digest = db::runLoggedBatch(*database, batch, a[2],
                                        {who.userId, user + "（" + who.name + "）", "ormex-db"});
        }
        out << "ran " << a[2] << " for " << by << ", logged with its SHA-256 " << digest << '\n';
    } else if (command == "query") {
        need(3);
        // The dialect takes one SELECT here, and the connection is made read-only as well, so that
        // nothing the SELECT calls can write either.
        try {
            if (db::isPostgresUrl(a[1])) {
                auto server = openExistingPg(a[1], deadline);
                server->executeNative("SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY");
                printTable(out, server->query(a[2]));
            } else {
                auto database = openExisting(a[1], notes);
                database->executeNative("PRAGMA query_only=ON");
                printTable(out, database->query(a[2]));
            }
        } catch (const db::ParseError& error) {
            throw db::DbError(std::string(error.what()) +
                              " (query only reads; a batch that writes runs with 'ormex-db run <db> "
                              "<file> --user <login>')");
        }
    } else if (command == "report") {
        if (a.size() < 3 || a[1] != "liability") throw UsageError("report needs: liability <db>");
        const platform::Date today = platform::today();
        std::string from = platform::Date{today.year, today.month, 1}.toString();
        std::string to = today.toString();
        bool csv = false;
        for (std::size_t i = 3; i < a.size(); ++i) {
            if (a[i] == "--csv") {
                csv = true;
            } else if ((a[i] == "--from" || a[i] == "--to") && i + 1 < a.size()) {
                const auto date = platform::parseDate(a[i + 1]);
                if (!date) throw UsageError("not a date (yyyy-mm-dd): '" + a[i + 1] + "'");
                (a[i] == "--from" ? from : to) = date->toString();
                ++i;
            } else {
                throw UsageError("unknown option '" + a[i] + "'");
            }
        }
        std::unique_ptr<db::TsqlDatabase> database;
        if (db::isPostgresUrl(a[2]))
            database = openExistingPg(a[2], deadline);
        else
            database = openExisting(a[2], notes);
        actAs(*database, user, "hy0011");
        const auto tables = db::liabilityTables(db::liabilityReport(*database, from, to));
        for (const auto& [title, rows] : tables) {
            if (csv) {
                printCsv(out, title, rows);
            } else {
                out << title << '\n';
                printTable(out, rows);
                out << "\n\n";
            }
        }
    } else if (command == "import-cards") {
        const bool dryRun = a.size() == 4 && a[3] == "--dry-run";
        if (a.size() != 3 && !dryRun) throw UsageError("import-cards takes <db> <file.csv> [--dry-run]");
        const std::string csv = readFile(a[2]);
        auto database = openExisting(a[1], notes);
        if (!dryRun) actAs(*database, user, "hy0012");
        const db::CardImportPlan plan = db::importCards(*database, csv, dryRun);
        if (!plan.ok()) {
            std::string list =
                std::to_string(plan.problems.size()) + " bad line(s) in " + a[2] + ", nothing imported:";
            for (const db::CardImportProblem& problem : plan.problems)
                list += "\n" + problem.text();
            throw db::DbError(list);
        }
        out << (dryRun ? "would import " : "imported ") << plan.summary() << " from " << a[2]
            << (dryRun ? " (dry run: nothing written)\n" : "\n");
    } else if (command == "user") {
        return userCommand(a, user, out, notes, deadline);
    } else if (command == "backup") {
        return backupCommand(a, out, notes);
    } else if (command == "restore") {
        if (a.size() < 3) throw UsageError("restore takes <file> <db> --user <login> [--hq <headquarters>]");
        const std::chrono::milliseconds hqDeadline = db::isPostgresUrl(headquarters)
                                                         ? deadlineIn(settingsFor(headquarters, config))
                                                         : db::PgDatabase::kDeadline;
        return restoreCommand(a, {user, *key, headquarters, hqDeadline}, out, notes);
    } else if (command == "outbox") {
        return outboxCommand(a, user, out, notes);
    } else if (command == "reconcile") {
        return reconcileCommand(a, deadline, out, notes);
    } else if (command == "verify") {
        if (a.size() < 2) throw UsageError("verify needs <db>");
        std::vector<std::string> accepted;
        bool acceptAll = false;
        for (std::size_t i = 2; i < a.size(); ++i) {
            if (a[i] == "--accept-all")
                acceptAll = true;
            else if (a[i] == "--accept" && i + 1 < a.size())
                accepted.push_back(a[++i]);
            else
                throw UsageError("unknown option '" + a[i] + "'");
        }
        const bool accepting = acceptAll || !accepted.empty();
        std::unique_ptr<db::TsqlDatabase> database;
        if (db::isPostgresUrl(a[1])) {
            if (accepting)
                throw db::DbError(
                    "cards are accepted on a database whose operators log in here: an SQLite file");
            database = openExistingPg(a[1], deadline);
        } else {
            auto file = openExisting(a[1], notes);
            if (accepting) {
                actAs(*file, user, "hy0013");
                out << "accepted " << db::acceptCards(*file, *key, accepted, user)
                    << " card(s) as they stand: sealed, their movement ledgers started again\n";
            }
            database = std::move(file);
        }
        const auto broken = db::sealMismatches(*database, *key);
        const auto chains = db::ledgerFindings(*database);
        if (broken.empty() && chains.empty()) {
            out << "every card matches its seal and its movement ledger\n";
            return 0;
        }
        if (!broken.empty()) {
            std::vector<std::vector<platform::Value>> rows;
            for (const db::SealMismatch& card : broken) {
                const auto balance = platform::tryDecodeBalance(card.storedBalance);
                rows.push_back({card.card, card.name,
                                balance ? platform::formatFixed(*balance, 2) : "无法解码",
                                platform::formatNumber(card.accumulated), platform::formatNumber(card.used)});
            }
            printTable(
                out, platform::Recordset({"卡号", "姓名", "余额", "累计积分", "已用积分"}, std::move(rows)));
            out << broken.size() << " card(s) no longer match their seal: changed outside the system\n";
        }
        if (!chains.empty()) {
            std::vector<std::vector<platform::Value>> rows;
            for (const db::LedgerFinding& finding : chains)
                rows.push_back({finding.card, finding.text});
            printTable(out, platform::Recordset({"卡号", "账本核查"}, std::move(rows)));
            out << chains.size()
                << " finding(s) in the cards' movement ledgers: history deleted, altered, added or rolled "
                   "back\n";
        }
        return 1;
    }
    return 0;
}

} // namespace

int runAdminCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err)
{
    std::string command; // known once the command word is read, to name its usage
    try {
        const CommandLine line = parseCommandLine(args, command);
        switch (line.action) {
        case CommandLine::Action::Help:
            out << (line.command.empty() ? overviewHelp() : commandHelp(line.command));
            return 0;
        case CommandLine::Action::Version:
            out << versionText();
            return 0;
        case CommandLine::Action::Run:
            break;
        }
        return run(line, out, err);
    } catch (const UsageError& error) {
        if (command.empty()) {
            err << "ormex-db: " << error.what() << " (see ormex-db --help)\n";
        } else {
            err << "ormex-db " << command << ": " << error.what() << '\n';
            std::string usage = commandUsage(command);
            for (std::size_t at = usage.find('\n'); at != std::string::npos; at = usage.find('\n', at + 1))
                usage.insert(at + 1, "       ");
            err << "Usage: " << usage << "\n(see ormex-db help " << command << ")\n";
        }
        return 2;
    } catch (const std::exception& error) {
        err << "ormex-db: " << error.what() << '\n';
        return 1;
    }
}

} // namespace ormex::tools

#include "PgDatabase.h"

#include <libpq-fe.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>

#include "DbError.h"
#include "PgBatchRunner.h"
#include "PgDialect.h"
#include "PgParameters.h"
#include "PgResult.h"
#include "TsqlParser.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

static_assert(sizeof(Oid) == sizeof(unsigned));

// Statements kept prepared per connection. Texts past it (long literal lists, which differ every
// time) are sent unprepared instead of filling the server's memory.
constexpr std::size_t kMaxPrepared = 2048;

// The advisory lock of the whole database: every write of the system holds it shared for its
// transaction, and a write that cannot name what it changes holds it alone.
constexpr const char* kDatabaseLock = "7972846731";

// The number a key is locked by: FNV-1a, the same in every process of every machine.
long long lockNumber(const std::string& key)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (const unsigned char c : key) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    return static_cast<long long>(hash);
}

// A text array literal of the server's, between quotes: each element between double quotes with
// its backslashes and double quotes escaped, the whole with its single quotes doubled.
std::string textArray(const std::vector<std::string>& values)
{
    std::string array = "{";
    for (std::size_t i = 0; i < values.size(); ++i) {
        array += i ? ",\"" : "\"";
        for (const char c : values[i]) {
            if (c == '"' || c == '\\') array += '\\';
            array += c;
        }
        array += '"';
    }
    return platform::quoted(array + "}");
}

// The commands that take a write's locks: the database lock, each named key's lock in ascending
// number, then the rows in their column's order, so that two writes never wait for each other in a
// circle.
std::vector<std::string> lockingCommands(const WriteLocks& locks)
{
    if (locks.whole) return {std::string("SELECT pg_advisory_xact_lock(") + kDatabaseLock + ")"};
    std::vector<std::string> commands{std::string("SELECT pg_advisory_xact_lock_shared(") + kDatabaseLock +
                                      ")"};
    std::vector<long long> numbers;
    numbers.reserve(locks.keys.size());
    for (const std::string& key : locks.keys)
        numbers.push_back(lockNumber(key));
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    if (!numbers.empty()) {
        std::string sql = "SELECT count(pg_advisory_xact_lock(k)) FROM unnest('{";
        for (std::size_t i = 0; i < numbers.size(); ++i)
            sql += (i ? "," : "") + std::to_string(numbers[i]);
        commands.push_back(sql + "}'::bigint[]) AS k");
    }
    if (!locks.rows.values.empty())
        commands.push_back("SELECT FROM " + locks.rows.table + " WHERE " + locks.rows.column + " = ANY(" +
                           textArray(locks.rows.values) + ") ORDER BY " + locks.rows.column + " FOR UPDATE");
    return commands;
}

// Runs one command of the server's own SQL (no parameters), mapping a failure to the layer's errors.
void command(PgConnection& link, const std::string& sql)
{
    const PgResultPtr result = link.exec(sql);
    throwIfFailed(result.get(), link.handle(), 1, sql);
}

// True when the URL's query (after '?') names the parameter.
bool hasParameter(const std::string& url, std::size_t query, const std::string& name)
{
    if (query == std::string::npos) return false;
    // A parameter name follows the '?' or an '&'.
    for (std::size_t at = url.find(name + "=", query); at != std::string::npos;
         at = url.find(name + "=", at + 1))
        if (url[at - 1] == '?' || url[at - 1] == '&') return true;
    return false;
}

WriteLocks wholeDatabase()
{
    WriteLocks locks;
    locks.whole = true;
    return locks;
}

} // namespace

std::optional<std::chrono::milliseconds> parseDeadlineSeconds(std::string_view text)
{
    const std::string trimmed = platform::trim(std::string(text));
    if (!platform::isAllDigits(trimmed) || trimmed.size() > 3) return std::nullopt;
    const int seconds = std::stoi(trimmed);
    if (seconds < 1 || seconds > 600) return std::nullopt;
    return std::chrono::seconds(seconds);
}

bool isPostgresUrl(std::string_view location)
{
    return location.starts_with("postgresql://") || location.starts_with("postgres://");
}

std::string withoutPassword(const std::string& location)
{
    if (!isPostgresUrl(location)) return location;
    const std::size_t from = location.find("://") + 3;
    const std::size_t at = location.find('@', from);
    const std::size_t colon = location.find(':', from);
    if (at == std::string::npos || colon == std::string::npos || colon > at) return location;
    return location.substr(0, colon) + location.substr(at);
}

std::string withConnectionParameters(const std::string& url, int connectTimeoutSeconds,
                                     std::chrono::milliseconds deadline)
{
    const std::pair<const char*, std::string> parameters[] = {
        {"connect_timeout", std::to_string(connectTimeoutSeconds)},
        {"keepalives", "1"},
        {"keepalives_idle", "10"},
        {"keepalives_interval", "2"},
        {"keepalives_count", "3"},
        {"tcp_user_timeout", std::to_string(deadline.count() + 1000)},
    };
    const std::size_t query = url.find('?');
    std::string out = url;
    char separator = query == std::string::npos ? '?' : '&';
    for (const auto& [name, value] : parameters) {
        if (hasParameter(url, query, name)) continue;
        out += separator + std::string(name) + "=" + value;
        separator = '&';
    }
    return out;
}

std::unique_ptr<PgDatabase> PgDatabase::open(const std::string& url, std::chrono::milliseconds deadline)
{
    if (!isPostgresUrl(url)) throw OpenError("not a PostgreSQL URL (postgresql://…)");
    // libpq's messages name the host and port it tried, never the password.
    std::unique_ptr<PgDatabase> db(
        new PgDatabase(withConnectionParameters(url, kConnectTimeoutSeconds, deadline), deadline));
    try {
        db->prepareSession();
    } catch (const UnreachableError&) {
        throw;
    } catch (const DbError& error) {
        throw OpenError("cannot connect to PostgreSQL: " + std::string(error.what()));
    }
    return db;
}

namespace {

std::mutex g_settingsMutex;
std::map<std::string, std::string> g_settings;
// Changes with every setting; read without the lock by each statement's check.
std::atomic<unsigned long> g_settingsGeneration{1};

// The process's session settings and their generation.
std::pair<unsigned long, std::map<std::string, std::string>> sessionSettings()
{
    const std::lock_guard lock(g_settingsMutex);
    return {g_settingsGeneration.load(), g_settings};
}

} // namespace

void PgDatabase::setSessionSetting(const std::string& name, const std::string& value)
{
    const std::lock_guard lock(g_settingsMutex);
    g_settings[name] = value;
    ++g_settingsGeneration;
}

void PgDatabase::prepareSession()
{
    m_prepared.clear();
    m_settingsGeneration = 0;
    m_lockTimeout = std::chrono::milliseconds(0);
    // Text is exchanged as UTF-8 whatever the server's default is.
    command(m_link, "SET client_encoding = 'UTF8'");
    syncSession();
}

void PgDatabase::syncSession()
{
    const std::chrono::milliseconds lockTimeout =
        std::min<std::chrono::milliseconds>(std::chrono::seconds(kLockTimeoutSeconds), deadline() * 3 / 4);
    if (m_lockTimeout != lockTimeout) {
        command(m_link, "SET lock_timeout = '" + std::to_string(lockTimeout.count()) + "ms'");
        m_lockTimeout = lockTimeout;
    }
    if (m_settingsGeneration == g_settingsGeneration.load()) return;
    const auto [generation, settings] = sessionSettings();
    for (const auto& [name, value] : settings) {
        const char* values[] = {name.c_str(), value.c_str()};
        const PgResultPtr result = m_link.execParams("SELECT set_config($1, $2, false)", 2, nullptr, values);
        throwIfFailed(result.get(), handle(), 1, "set_config('" + name + "')");
    }
    m_settingsGeneration = generation;
}

PgDatabase::~PgDatabase() = default;

int PgDatabase::backendPid() const
{
    return PQbackendPID(handle());
}

void PgDatabase::runExclusive(const std::function<bool()>& work)
{
    const auto write = beginWrite(wholeDatabase());
    if (work()) write->commit();
}

std::string PgDatabase::location() const
{
    const std::string host = PQhost(handle());
    return "postgresql://" + std::string(PQuser(handle())) + "@" +
           (host.find(':') != std::string::npos ? "[" + host + "]" : host) + ":" + PQport(handle()) + "/" +
           PQdb(handle());
}

bool PgDatabase::alive()
{
    if (m_link.usable()) {
        try {
            const PgResultPtr result = m_link.exec("SELECT 1");
            if (result && PQresultStatus(result.get()) == PGRES_TUPLES_OK) return true;
        } catch (const UnreachableError&) {
            return false; // silent for the deadline: not asked again now
        }
    }
    // Broken (the server restarted, the link was reset) or given up on before: once more.
    try {
        m_link.reconnect();
        m_writes = 0;
        prepareSession();
        return true;
    } catch (const DbError&) {
        return false;
    }
}

platform::Recordset PgDatabase::queryNative(std::string_view sql)
{
    const std::string text(sql);
    const PgResultPtr result = m_link.exec(text);
    throwIfFailed(result.get(), handle(), 1, text);
    return recordsetOf(result.get());
}

void PgDatabase::executeNative(std::string_view script)
{
    syncSession();
    // Several statements sent at once run as one transaction unless they hold BEGIN or COMMIT
    // themselves; the first error stops them and rolls everything back.
    const PgResultPtr result = m_link.exec(std::string(script));
    const ExecStatusType status = result ? PQresultStatus(result.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_EMPTY_QUERY)
        throw DbError(trimmedMessage(result ? PQresultErrorMessage(result.get()) : PQerrorMessage(handle())));
}

PgDatabase::Prepared PgDatabase::prepared(const std::string& sql, const std::vector<unsigned>& types)
{
    Prepared statement;
    statement.key = sql;
    statement.key += '\0';
    statement.key.append(reinterpret_cast<const char*>(types.data()), types.size() * sizeof(unsigned));
    if (const auto found = m_prepared.find(statement.key); found != m_prepared.end()) {
        statement.name = found->second;
        return statement;
    }
    if (m_prepared.size() >= kMaxPrepared) return statement;
    statement.name = "ormex_" + std::to_string(m_preparedCount++);
    statement.isNew = true;
    m_prepared.emplace(statement.key, statement.name);
    return statement;
}

pg_result* PgDatabase::run(const std::string& sql, const std::vector<unsigned>& types,
                           const char* const* values)
{
    const int count = static_cast<int>(types.size());
    const Oid* oids = reinterpret_cast<const Oid*>(types.data());
    const Prepared statement = prepared(sql, types);
    if (statement.name.empty()) return m_link.execParams(sql, count, oids, values).release();
    if (statement.isNew) {
        PgResultPtr preparing;
        try {
            preparing = m_link.prepare(statement.name, sql, count, oids);
        } catch (...) {
            forgetPrepared(statement.key);
            throw;
        }
        if (!preparing || PQresultStatus(preparing.get()) != PGRES_COMMAND_OK) {
            forgetPrepared(statement.key);
            return preparing.release();
        }
    }
    return m_link.execPrepared(statement.name, count, values).release();
}

void PgDatabase::setClock()
{
    // The session's setting, read by the schema's ormex_getdate(): the platform clock, so that a
    // date written at headquarters is the one the branch wrote, and tests can hold the time still.
    const std::string now = platform::now().toString();
    const char* values[] = {now.c_str()};
    const PgResultPtr result =
        m_link.execParams("SELECT set_config('ormex.now', $1, false)", 1, nullptr, values);
    throwIfFailed(result.get(), handle(), 1, "getdate()");
}

platform::Recordset PgDatabase::query(std::string_view sql)
{
    const QueryShape shape = parseQueryShape(sql, PgDialect::instance());
    PgParameters parameters;
    parameters.add(sql, shape.arguments, 0, shape.arguments.size(), {}, {});
    if (shape.sql.find("ormex_getdate") != std::string::npos) setClock();
    const PgResultPtr result(run(shape.sql, parameters.types(), parameters.values()));
    throwIfFailed(result.get(), handle(), 1, std::string(sql));
    return recordsetOf(result.get());
}

void PgDatabase::execute(std::string_view batch)
{
    const BatchProgram program = parseBatch(batch, PgDialect::instance());
    if (m_writes == 0) {
        runWrite(program, {});
        return;
    }
    // Within the caller's write: a savepoint keeps the batch all or nothing.
    command(m_link, "SAVEPOINT ormex_batch");
    try {
        PgBatchRunner(*this).run(program);
    } catch (...) {
        m_link.execQuietly("ROLLBACK TO SAVEPOINT ormex_batch; RELEASE SAVEPOINT ormex_batch");
        throw;
    }
    command(m_link, "RELEASE SAVEPOINT ormex_batch");
}

void PgDatabase::executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks)
{
    runWrite(parseBatch(batch, PgDialect::instance()), checks);
}

void PgDatabase::runWrite(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks)
{
    syncSession();
    const std::vector<std::string> locking = lockingCommands(locksOf(program, checks));
    retryingConflicts([&] {
        ++m_writes;
        try {
            PgBatchRunner(*this).runWrite(program, locking, checks);
        } catch (...) {
            --m_writes;
            throw;
        }
        --m_writes;
    });
}

void PgDatabase::retryingConflicts(const std::function<void()>& write)
{
    for (int attempt = 1;; ++attempt) {
        try {
            write();
            return;
        } catch (const ConflictError&) {
            if (attempt >= kConflictAttempts) throw;
            // The other writer goes on meanwhile; a growing, uneven pause keeps the two apart.
            std::this_thread::sleep_for(std::chrono::milliseconds(5 * attempt + std::rand() % 20));
        }
    }
}

WriteLocks PgDatabase::locksOf(const BatchProgram& program,
                               const std::vector<platform::ReadCheck>& checks) const
{
    if (!m_planner) return wholeDatabase();
    return m_planner(program, checks);
}

std::unique_ptr<TsqlDatabase::Write> PgDatabase::beginWrite()
{
    return beginWrite(wholeDatabase());
}

std::unique_ptr<TsqlDatabase::Write> PgDatabase::beginWrite(const WriteLocks& locks)
{
    syncSession();
    class LockedWrite : public Write
    {
    public:
        LockedWrite(PgDatabase& db, const std::string& locking) : m_db(db)
        {
            try {
                // Waited for too long: BusyError. The statements are not named: they can be long.
                const PgResultPtr locked = m_db.m_link.exec(locking);
                throwIfFailed(locked.get(), m_db.handle(), 1, "(taking the write's locks)");
            } catch (...) {
                m_db.m_link.execQuietly("ROLLBACK");
                throw;
            }
            ++m_db.m_writes;
        }
        ~LockedWrite() override
        {
            // A destructor cannot report anything: a failed rollback leaves the server to roll
            // back when the connection closes.
            if (!m_done) m_db.m_link.execQuietly("ROLLBACK");
            --m_db.m_writes;
        }
        void commit() override
        {
            command(m_db.m_link, "COMMIT");
            m_done = true;
        }

    private:
        PgDatabase& m_db;
        bool m_done = false;
    };
    std::string locking = "BEGIN";
    for (const std::string& command : lockingCommands(locks))
        locking += ";" + command;
    return std::make_unique<LockedWrite>(*this, locking);
}

} // namespace ormex::db

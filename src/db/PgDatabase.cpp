#include "PgDatabase.h"

#include <libpq-fe.h>

#include "CardSeal.h"
#include "DbError.h"
#include "PgBatchRunner.h"
#include "PgDialect.h"
#include "PgParameters.h"
#include "PgResult.h"
#include "TsqlParser.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"

namespace ormex::db {

namespace {

static_assert(sizeof(Oid) == sizeof(unsigned));

// Statements kept prepared per connection. Texts past it (long literal lists, which differ every
// time) are sent unprepared instead of filling the server's memory.
constexpr std::size_t kMaxPrepared = 2048;

// The advisory lock every write of the system takes for its transaction: one number for all of
// them, so that the system's writers of a database take turns.
constexpr const char* kWriteLock = "SELECT pg_advisory_xact_lock(7972846731)";

// Runs one command of the server's own SQL (no parameters), mapping a failure to the layer's errors.
void command(PGconn* conn, const std::string& sql)
{
    const PgResultPtr result(PQexec(conn, sql.c_str()));
    throwIfFailed(result.get(), conn, 1, sql);
}

} // namespace

bool isPostgresUrl(std::string_view location)
{
    return location.starts_with("postgresql://") || location.starts_with("postgres://");
}

std::string withConnectTimeout(const std::string& url, int seconds)
{
    const std::size_t query = url.find('?');
    if (query != std::string::npos) {
        // A parameter name follows the '?' or an '&'.
        for (std::size_t at = url.find("connect_timeout=", query); at != std::string::npos;
             at = url.find("connect_timeout=", at + 1))
            if (url[at - 1] == '?' || url[at - 1] == '&') return url;
    }
    return url + (query == std::string::npos ? '?' : '&') + "connect_timeout=" + std::to_string(seconds);
}

std::unique_ptr<PgDatabase> PgDatabase::open(const std::string& url)
{
    if (!isPostgresUrl(url)) throw OpenError("not a PostgreSQL URL (postgresql://…)");
    PGconn* conn = PQconnectdb(withConnectTimeout(url, kConnectTimeoutSeconds).c_str());
    if (!conn) throw OpenError("cannot connect to PostgreSQL: out of memory");
    if (PQstatus(conn) != CONNECTION_OK) {
        // libpq's message names the host and port it tried, never the password.
        std::string reason = trimmedMessage(PQerrorMessage(conn));
        PQfinish(conn);
        throw OpenError("cannot connect to PostgreSQL: " + reason);
    }
    // Notices (an extension that already exists, an implicit index) are not errors: dropped
    // instead of written to stderr.
    PQsetNoticeProcessor(
        conn, [](void*, const char*) {}, nullptr);
    std::unique_ptr<PgDatabase> db(new PgDatabase(conn));
    try {
        db->prepareSession();
    } catch (const DbError& error) {
        throw OpenError("cannot connect to PostgreSQL: " + std::string(error.what()));
    }
    return db;
}

void PgDatabase::prepareSession()
{
    m_prepared.clear();
    // Text is exchanged as UTF-8 whatever the server's default is.
    if (PQsetClientEncoding(m_conn, "UTF8") != 0) throw DbError(trimmedMessage(PQerrorMessage(m_conn)));
    command(m_conn, "SET lock_timeout = '" + std::to_string(kLockTimeoutSeconds) + "s'");
    m_sealGeneration = 0;
}

void PgDatabase::syncSealKey()
{
    if (m_sealGeneration == sealKeyGeneration()) return;
    const auto& key = sealKey();
    const std::string text = key ? sealKeyText(*key) : std::string();
    const char* values[] = {text.c_str()};
    const PgResultPtr result(PQexecParams(m_conn, "SELECT set_config('ormex.seal_key', $1, false)", 1,
                                          nullptr, values, nullptr, nullptr, 0));
    throwIfFailed(result.get(), m_conn, 1, "set_config('ormex.seal_key')");
    m_sealGeneration = sealKeyGeneration();
}

PgDatabase::~PgDatabase()
{
    PQfinish(m_conn);
}

bool PgDatabase::alive()
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (PQstatus(m_conn) == CONNECTION_OK) {
            const PgResultPtr result(PQexec(m_conn, "SELECT 1"));
            if (result && PQresultStatus(result.get()) == PGRES_TUPLES_OK) return true;
        }
        if (attempt > 0) break;
        PQreset(m_conn); // waits no longer than the connect timeout
        if (PQstatus(m_conn) != CONNECTION_OK) return false;
        m_writes = 0;
        try {
            prepareSession();
        } catch (const DbError&) {
            return false;
        }
    }
    return false;
}

platform::Recordset PgDatabase::queryNative(std::string_view sql)
{
    const std::string text(sql);
    const PgResultPtr result(PQexec(m_conn, text.c_str()));
    throwIfFailed(result.get(), m_conn, 1, text);
    return recordsetOf(result.get());
}

void PgDatabase::executeNative(std::string_view script)
{
    syncSealKey();
    // Several statements sent in one PQexec run as one transaction unless they hold BEGIN or
    // COMMIT themselves; the first error stops them and rolls everything back.
    const PgResultPtr result(PQexec(m_conn, std::string(script).c_str()));
    const ExecStatusType status = result ? PQresultStatus(result.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_EMPTY_QUERY)
        throw DbError(trimmedMessage(result ? PQresultErrorMessage(result.get()) : PQerrorMessage(m_conn)));
}

pg_result* PgDatabase::run(const std::string& sql, const std::vector<unsigned>& types,
                           const char* const* values)
{
    const int count = static_cast<int>(types.size());
    const Oid* oids = reinterpret_cast<const Oid*>(types.data());
    std::string key = sql;
    key += '\0';
    key.append(reinterpret_cast<const char*>(types.data()), types.size() * sizeof(unsigned));
    auto found = m_prepared.find(key);
    if (found == m_prepared.end()) {
        if (m_prepared.size() >= kMaxPrepared)
            return PQexecParams(m_conn, sql.c_str(), count, oids, values, nullptr, nullptr, 0);
        const std::string name = "ormex_" + std::to_string(m_prepared.size());
        PGresult* prepared = PQprepare(m_conn, name.c_str(), sql.c_str(), count, oids);
        if (!prepared || PQresultStatus(prepared) != PGRES_COMMAND_OK) return prepared;
        PQclear(prepared);
        found = m_prepared.emplace(std::move(key), name).first;
    }
    return PQexecPrepared(m_conn, found->second.c_str(), count, values, nullptr, nullptr, 0);
}

void PgDatabase::setClock()
{
    // The session's setting, read by the schema's ormex_getdate(): the platform clock, so that a
    // date written at headquarters is the one the branch wrote, and tests can hold the time still.
    const std::string now = platform::now().toString();
    const char* values[] = {now.c_str()};
    const PgResultPtr result(PQexecParams(m_conn, "SELECT set_config('ormex.now', $1, false)", 1, nullptr,
                                          values, nullptr, nullptr, 0));
    throwIfFailed(result.get(), m_conn, 1, "getdate()");
}

platform::Recordset PgDatabase::query(std::string_view sql)
{
    const QueryShape shape = parseQueryShape(sql, PgDialect::instance());
    PgParameters parameters;
    parameters.add(sql, shape.arguments, 0, shape.arguments.size(), {}, {});
    if (shape.sql.find("ormex_getdate") != std::string::npos) setClock();
    const PgResultPtr result(run(shape.sql, parameters.types(), parameters.values()));
    throwIfFailed(result.get(), m_conn, 1, std::string(sql));
    return recordsetOf(result.get());
}

void PgDatabase::execute(std::string_view batch)
{
    const BatchProgram program = parseBatch(batch, PgDialect::instance());
    if (m_writes == 0) {
        const auto write = beginWrite();
        PgBatchRunner(*this).run(program);
        write->commit();
        return;
    }
    // Within the caller's write: a savepoint keeps the batch all or nothing.
    command(m_conn, "SAVEPOINT ormex_batch");
    try {
        PgBatchRunner(*this).run(program);
    } catch (...) {
        const PgResultPtr undone(
            PQexec(m_conn, "ROLLBACK TO SAVEPOINT ormex_batch; RELEASE SAVEPOINT ormex_batch"));
        throw;
    }
    command(m_conn, "RELEASE SAVEPOINT ormex_batch");
}

std::unique_ptr<TsqlDatabase::Write> PgDatabase::beginWrite()
{
    syncSealKey();
    class LockedWrite : public Write
    {
    public:
        explicit LockedWrite(PgDatabase& db) : m_db(db)
        {
            command(m_db.m_conn, "BEGIN");
            try {
                command(m_db.m_conn, kWriteLock); // waited for too long: BusyError
            } catch (...) {
                const PgResultPtr undone(PQexec(m_db.m_conn, "ROLLBACK"));
                throw;
            }
            ++m_db.m_writes;
        }
        ~LockedWrite() override
        {
            // A destructor cannot report anything: a failed rollback leaves the server to roll
            // back when the connection closes.
            if (!m_done) {
                const PgResultPtr undone(PQexec(m_db.m_conn, "ROLLBACK"));
            }
            --m_db.m_writes;
        }
        void commit() override
        {
            command(m_db.m_conn, "COMMIT");
            m_done = true;
        }

    private:
        PgDatabase& m_db;
        bool m_done = false;
    };
    return std::make_unique<LockedWrite>(*this);
}

} // namespace ormex::db

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "TsqlDatabase.h"
#include "WriteLocks.h"
#include "platform/Recordset.h"

struct pg_conn;
struct pg_result;

// A connection to a PostgreSQL server, for headquarters kept there instead of in an SQLite file.
// It runs the system's T-SQL as the SQLite connection does (PgDialect): a batch is parsed whole,
// its control flow run here and each data statement sent as a prepared statement with its literals
// and variables as parameters, pipelined (answers are waited for only where the control flow needs
// one), all in one transaction.
//
// Many writers share the server, so a write locks only what it changes: before its first
// statement it takes transaction-long advisory locks on the keys its planner names (the cards of
// a batch, say), all at once and in one order, so writes of different things go on side by side,
// writes of the same thing take turns, and values a batch checked stay as they were until it
// commits. A deadlock or a serialization failure the server reports anyway is retried here.
namespace ormex::db {

class PgDatabase : public TsqlDatabase
{
public:
    // How long opening waits for a server that does not answer, unless the URL says otherwise.
    static constexpr int kConnectTimeoutSeconds = 3;
    // How long a write waits for another one's lock before it gives up with BusyError.
    static constexpr int kLockTimeoutSeconds = 30;
    // How many times a write that the server ended for a deadlock or a serialization failure is run.
    static constexpr int kConflictAttempts = 5;

    // Opens a postgresql:// (or postgres://) URL. Throws OpenError when the server cannot be
    // reached or refuses the connection.
    static std::unique_ptr<PgDatabase> open(const std::string& url);
    ~PgDatabase() override;
    PgDatabase(const PgDatabase&) = delete;
    PgDatabase& operator=(const PgDatabase&) = delete;

    // Runs one T-SQL SELECT. Integers come back as integers, floating and numeric values as
    // doubles, Booleans as Booleans, SQL NULL as null and everything else as text. Column names
    // are as the server gives them (lower case unless quoted). Throws ParseError, BusyError or
    // StatementError.
    platform::Recordset query(std::string_view sql) override;
    void execute(std::string_view batch) override;
    void executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks) override;

    // Names what each write locks (see WriteLocks.h); without a planner a write locks the whole
    // database.
    void setWriteLockPlanner(WriteLockPlanner planner) { m_planner = std::move(planner); }

    // Runs one query of the server's own SQL. Throws ParseError for text the server does not
    // understand, StatementError otherwise.
    platform::Recordset queryNative(std::string_view sql);
    // Runs a script of the server's own statements separated by semicolons in one transaction of
    // its own: all of it or none of it. Throws DbError.
    void executeNative(std::string_view script);

    // Runs `work` in one transaction that holds the whole database against every other writer of
    // the system, as a write that names nothing it changes does (a schema upgrade): committed when
    // `work` returns true, rolled back when it returns false or throws. Throws BusyError when the
    // other writers hold on for longer than kLockTimeoutSeconds, or what `work` throws.
    void runExclusive(const std::function<bool()>& work);

    // The database as messages name it: postgresql://user@host:port/name, without the password.
    std::string location() const;

    // True when the server answers; a connection that broke is opened again once first.
    bool alive();

    pg_conn* handle() const { return m_conn; }
    // The server process that serves this connection (pg_stat_activity.pid).
    int backendPid() const;

    // Runs `sql` with parameters of the given types (0: inferred) and values (null pointer: NULL),
    // prepared once per text and types. The result has rows or is an error; the caller owns it.
    pg_result* run(const std::string& sql, const std::vector<unsigned>& types, const char* const* values);

    // The prepared statement for a text and parameter types: its name (empty when no more are
    // kept: send the text unprepared), whether it is still to be prepared (the caller prepares it
    // now), and the key to forget it by when preparing it failed.
    struct Prepared
    {
        std::string name;
        bool isNew = false;
        std::string key;
    };
    Prepared prepared(const std::string& sql, const std::vector<unsigned>& types);
    void forgetPrepared(const std::string& key) { m_prepared.erase(key); }
    // Sets the date-time getdate() gives for the statements that follow.
    void setClock();

protected:
    // A write of the whole database.
    std::unique_ptr<Write> beginWrite() override;

private:
    std::unique_ptr<Write> beginWrite(const WriteLocks& locks);
    // A write of its own: its locks, the checks and the batch in one pipelined transaction.
    void runWrite(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks);
    WriteLocks locksOf(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks) const;
    // Runs `write` again while the server ends it for a deadlock or a serialization failure, up to
    // kConflictAttempts times in all.
    void retryingConflicts(const std::function<void()>& write);
    explicit PgDatabase(pg_conn* conn) : m_conn(conn) {}
    void prepareSession();
    // Gives the session this process's seal key (none: the session does not seal) when the key
    // changed since the session last took it.
    void syncSealKey();

    pg_conn* m_conn = nullptr;
    unsigned long m_sealGeneration = 0;
    std::unordered_map<std::string, std::string> m_prepared; // text and types → statement name
    std::size_t m_preparedCount = 0;                         // names given on this connection
    int m_writes = 0;                                        // writes open on the connection
    WriteLockPlanner m_planner;
};

// True for text that names a PostgreSQL server rather than an SQLite file.
bool isPostgresUrl(std::string_view location);

// A database's location as output may show it: a URL without its password, a file's path as it is.
std::string withoutPassword(const std::string& location);

// The URL with a connect timeout added when it has none.
std::string withConnectTimeout(const std::string& url, int seconds);

} // namespace ormex::db

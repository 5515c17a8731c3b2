#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PgConnection.h"
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
//
// Every call has a deadline (PgConnection): a server that stays silent for that long is given up
// on with UnreachableError, however it hangs.
namespace ormex::db {

class PgDatabase : public TsqlDatabase
{
public:
    // How long opening waits for a server that does not answer, unless the URL says otherwise (and
    // never longer than the deadline).
    static constexpr int kConnectTimeoutSeconds = 3;
    // How long a call waits for a server that sends nothing, unless told otherwise.
    static constexpr std::chrono::milliseconds kDeadline{10000};
    // How long a write waits for another one's lock before it gives up with BusyError: this, or
    // three quarters of the deadline when that is shorter, so that a write waiting for a lock is
    // told so by the server before the deadline would take the wait for a server that hangs.
    static constexpr int kLockTimeoutSeconds = 30;
    // How many times a write that the server ended for a deadlock or a serialization failure is run.
    static constexpr int kConflictAttempts = 5;

    // A setting (set_config) every session of this process carries from its next statement on:
    // how the layer above hands its sessions what the server's functions of its tables need.
    static void setSessionSetting(const std::string& name, const std::string& value);

    // Opens a postgresql:// (or postgres://) URL, with withConnectionParameters added. Throws
    // OpenError when the server refuses the connection or cannot be found, UnreachableError when
    // it does not answer in time.
    static std::unique_ptr<PgDatabase> open(const std::string& url,
                                            std::chrono::milliseconds deadline = kDeadline);
    ~PgDatabase() override;
    PgDatabase(const PgDatabase&) = delete;
    PgDatabase& operator=(const PgDatabase&) = delete;

    // Runs one T-SQL SELECT. Integers come back as integers, floating and numeric values as
    // doubles, Booleans as Booleans, SQL NULL as null and everything else as text. Column names
    // are as the server gives them (lower case unless quoted). Throws ParseError, BusyError,
    // StatementError or UnreachableError (as does every call that reaches the server).
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

    // True when the server answers within the deadline; a connection that broke, or that was given
    // up on before, is opened again once first. Never throws.
    bool alive();

    // How long a call waits for a server that sends nothing (see PgConnection).
    std::chrono::milliseconds deadline() const { return m_link.deadline(); }
    void setDeadline(std::chrono::milliseconds deadline) { m_link.setDeadline(deadline); }
    // When the server last let the deadline pass (Clock's epoch if never).
    PgConnection::Clock::time_point lastUnanswered() const { return m_link.lastUnanswered(); }

    pg_conn* handle() const { return m_link.handle(); }
    PgConnection& link() { return m_link; }
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
    PgDatabase(const std::string& conninfo, std::chrono::milliseconds deadline) : m_link(conninfo, deadline)
    {
    }
    void prepareSession();
    // Gives the session this process's settings (setSessionSetting) when they changed since the
    // session last took them, and the lock timeout of the deadline when that changed.
    void syncSession();

    PgConnection m_link;
    unsigned long m_settingsGeneration = 0;
    std::chrono::milliseconds m_lockTimeout{0};              // the session's lock_timeout
    std::unordered_map<std::string, std::string> m_prepared; // text and types → statement name
    std::size_t m_preparedCount = 0;                         // names given on this connection
    int m_writes = 0;                                        // writes open on the connection
    WriteLockPlanner m_planner;
};

// The deadline of a setting's text (host.conf's "hq-deadline-seconds"): whole seconds from 1 to 600;
// nothing for any other text.
std::optional<std::chrono::milliseconds> parseDeadlineSeconds(std::string_view text);

// True for text that names a PostgreSQL server rather than an SQLite file.
bool isPostgresUrl(std::string_view location);

// A database's location as output may show it: a URL without its password, a file's path as it is.
std::string withoutPassword(const std::string& location);

// The URL with the parameters that bound its waits added where it has none of its own: the connect
// timeout, TCP keepalives (a link idle for 10 s is probed every 2 s and given up after 3 probes
// unanswered) and a TCP user timeout a second longer than the deadline (data the server's machine
// leaves unacknowledged for that long closes the link; a call waiting meets its deadline first).
std::string withConnectionParameters(const std::string& url, int connectTimeoutSeconds,
                                     std::chrono::milliseconds deadline);

} // namespace ormex::db

#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "DerivedColumn.h"
#include "StatementCache.h"
#include "TsqlDatabase.h"
#include "platform/Recordset.h"

struct sqlite3;

// A connection to one SQLite database file that runs the system's T-SQL with the server's
// meaning. query() runs one SELECT and returns its rows; execute() runs a statement batch (the
// module's statements joined by CR LF, no semicolons) in one transaction: all of it or none of it.
// A transaction that committed is on the disk: it survives a killed process and a power cut.
// Several operators' processes share a file and take turns writing: a connection that finds the
// database locked waits for it, up to its busy timeout, then throws BusyError (nothing written).
namespace ormex::db {

class Database : public TsqlDatabase
{
public:
    enum class OpenMode {
        MustExist, // a missing file is an OpenError; opening never creates a database
        Create,    // creates the file when missing (the schema is not applied)
    };

    // How long a connection waits for another one's lock by default. A single card's save holds
    // the lock for a millisecond or two, but the longest batches of the screens (points turned
    // into stored value, or a recharge, over 100,000 cards) hold it for ten seconds and more, and
    // an operator's save queued behind one of them must still go through.
    static constexpr std::chrono::milliseconds kBusyTimeout{30000};

    // Throws OpenError, or BusyError when another connection keeps the file locked.
    static std::unique_ptr<Database> open(const std::string& path, OpenMode mode = OpenMode::MustExist);
    ~Database() override;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& path() const { return m_path; }

    // How long a statement of this connection waits for another connection's lock before it
    // gives up with BusyError.
    void setBusyTimeout(std::chrono::milliseconds wait);

    // Runs one T-SQL SELECT of the dialect. Throws ParseError, BusyError or StatementError.
    platform::Recordset query(std::string_view sql) override;

    // Parses the whole batch, then runs it in one transaction. Throws ParseError (nothing ran),
    // BusyError or StatementError (everything rolled back).
    void execute(std::string_view batch) override;

    // Checks the reads and runs the batch in one transaction of its own: the batch does not open
    // the savepoint a nested execute() would, which copies every page it changes to a sub-journal
    // (half again the cost of a large batch). Throws what TsqlDatabase::executeChecked throws.
    void executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks) override;

    // Runs native SQLite script text (schema creation, bulk loading); no dialect translation.
    // Throws BusyError or DbError.
    void executeNative(std::string_view script);

    // The underlying handle, for prepared bulk inserts by the generators.
    sqlite3* handle() const { return m_db; }

    // A scoped native transaction: BEGIN IMMEDIATE on construction, ROLLBACK in the destructor
    // unless commit() was called. Inside a transaction already open on the connection it is a
    // savepoint instead, so a batch run within the caller's transaction is still all or nothing.
    class Transaction
    {
    public:
        explicit Transaction(Database& db);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        void commit();

    private:
        Database& m_db;
        bool m_nested = false;
        bool m_done = false;
    };

    // The column this connection's UPDATEs keep derived (nothing by default), and whose function
    // the caller has registered on it. The rule must outlive the connection.
    const DerivedColumn* derivedColumn() const { return m_derived; }
    void setDerivedColumn(const DerivedColumn* derived) { m_derived = derived; }

    // What every connection opened from now on is given once it is open (the functions and
    // temporary triggers of the layer above); nothing when empty. Set while no connection opens.
    // The set-up may throw DbError: open() then fails with it.
    using ConnectionSetup = void (*)(Database&);
    static void setConnectionSetup(ConnectionSetup setup);

    // The statements this connection keeps compiled.
    StatementCache& statements() { return m_statements; }

protected:
    std::unique_ptr<Write> beginWrite() override;

private:
    Database(std::string path, sqlite3* db);
    std::string m_path;
    sqlite3* m_db = nullptr;
    StatementCache m_statements;
    const DerivedColumn* m_derived = nullptr;
};

} // namespace ormex::db

#include "Database.h"

#include <sqlite3.h>

#include <atomic>

#include "ArgumentBinding.h"
#include "BatchRunner.h"
#include "DbError.h"
#include "SqlFunctions.h"
#include "SqliteDialect.h"
#include "SqliteStatement.h"
#include "TsqlParser.h"

namespace ormex::db {

namespace {
std::atomic<Database::ConnectionSetup> g_connectionSetup{nullptr};
} // namespace

void Database::setConnectionSetup(ConnectionSetup setup)
{
    g_connectionSetup = setup;
}

std::unique_ptr<Database> Database::open(const std::string& path, OpenMode mode)
{
    sqlite3* handle = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | (mode == OpenMode::Create ? SQLITE_OPEN_CREATE : 0);
    if (sqlite3_open_v2(path.c_str(), &handle, flags, nullptr) != SQLITE_OK) {
        std::string reason = handle ? sqlite3_errmsg(handle) : "out of memory";
        sqlite3_close(handle);
        throw OpenError("cannot open database " + path + ": " + reason);
    }
    std::unique_ptr<Database> db(new Database(path, handle));
    // Several operator processes share one file: wait for each other instead of failing at once.
    db->setBusyTimeout(kBusyTimeout);
    // The file holds money: synchronous=FULL syncs the write-ahead log at every commit, so a
    // commit that returned survives a power cut (with NORMAL the last ones may roll back).
    try {
        db->executeNative("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    } catch (const BusyError&) {
        throw;
    } catch (const DbError& error) {
        throw OpenError("cannot open database " + path + ": " + error.what());
    }
    registerSqlFunctions(handle);
    if (const ConnectionSetup setup = g_connectionSetup) setup(*db);
    return db;
}

Database::Database(std::string path, sqlite3* db) : m_path(std::move(path)), m_db(db), m_statements(db) {}

void Database::setBusyTimeout(std::chrono::milliseconds wait)
{
    sqlite3_busy_timeout(m_db, static_cast<int>(wait.count()));
}

Database::~Database()
{
    m_statements.clear(); // statements are finalized before their connection closes
    sqlite3_close(m_db);
}

platform::Recordset Database::query(std::string_view sql)
{
    const QueryShape shape = parseQueryShape(sql, SqliteDialect::instance());
    try {
        const auto compiled = m_statements.get(shape.sql);
        SqliteStatement& stmt = *compiled;
        StatementUse use(stmt);
        bindArguments(stmt, sql, shape.arguments, 0, shape.arguments.size(), {});
        const int count = stmt.columnCount();
        std::vector<std::string> columns;
        columns.reserve(count);
        for (int c = 0; c < count; ++c)
            columns.push_back(stmt.columnName(c));
        std::vector<std::vector<platform::Value>> rows;
        while (stmt.step()) {
            std::vector<platform::Value> row;
            row.reserve(count);
            for (int c = 0; c < count; ++c)
                row.push_back(stmt.column(c));
            rows.push_back(std::move(row));
        }
        return platform::Recordset(std::move(columns), std::move(rows));
    } catch (const SqliteStatement::SyntaxError& error) {
        throw ParseError(1, "not understood: " + std::string(error.what()));
    } catch (const BusyError&) {
        throw;
    } catch (const DbError& error) {
        throw StatementError(1, std::string(sql), error.what());
    }
}

void Database::execute(std::string_view batch)
{
    const BatchProgram program = parseBatch(batch, SqliteDialect::instance(), m_derived);
    Transaction transaction(*this);
    BatchRunner(m_statements).run(program);
    transaction.commit();
}

void Database::executeChecked(std::string_view batch, const std::vector<platform::ReadCheck>& checks)
{
    const BatchProgram program = parseBatch(batch, SqliteDialect::instance(), m_derived);
    Transaction transaction(*this);
    checkReads(checks);
    BatchRunner(m_statements).run(program);
    transaction.commit();
}

void Database::executeNative(std::string_view script)
{
    char* err = nullptr;
    const int rc = sqlite3_exec(m_db, std::string(script).c_str(), nullptr, nullptr, &err);
    if (rc != SQLITE_OK) {
        std::string reason = err ? err : sqlite3_errmsg(m_db);
        sqlite3_free(err);
        throwSqliteError(rc, reason);
    }
}

std::unique_ptr<TsqlDatabase::Write> Database::beginWrite()
{
    // BEGIN IMMEDIATE: the write lock is taken before the first read.
    class TransactionWrite : public Write
    {
    public:
        explicit TransactionWrite(Database& db) : m_transaction(db) {}
        void commit() override { m_transaction.commit(); }

    private:
        Transaction m_transaction;
    };
    return std::make_unique<TransactionWrite>(*this);
}

Database::Transaction::Transaction(Database& db)
    : m_db(db), m_nested(sqlite3_get_autocommit(db.handle()) == 0)
{
    m_db.executeNative(m_nested ? "SAVEPOINT ormex_batch" : "BEGIN IMMEDIATE");
}

Database::Transaction::~Transaction()
{
    // A destructor cannot report anything: a failed rollback leaves SQLite to roll back when the
    // connection closes.
    if (!m_done)
        sqlite3_exec(m_db.handle(), m_nested ? "ROLLBACK TO ormex_batch; RELEASE ormex_batch" : "ROLLBACK",
                     nullptr, nullptr, nullptr);
}

void Database::Transaction::commit()
{
    m_db.executeNative(m_nested ? "RELEASE ormex_batch" : "COMMIT");
    m_done = true;
}

} // namespace ormex::db

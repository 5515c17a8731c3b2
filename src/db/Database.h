#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "StatementCache.h"
#include "platform/Recordset.h"

struct sqlite3;

// A connection to one SQLite database file that runs the system's T-SQL with the server's
// meaning. query() runs one SELECT and returns its rows; execute() runs a statement batch (the
// module's statements joined by CR LF, no semicolons) in one transaction: all of it or none of it.
namespace ormex::db {

class Database
{
public:
    enum class OpenMode {
        MustExist, // a missing file is an OpenError; opening never creates a database
        Create,    // creates the file when missing (the schema is not applied)
    };

    // Throws OpenError.
    static std::unique_ptr<Database> open(const std::string& path, OpenMode mode = OpenMode::MustExist);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& path() const { return m_path; }

    // Runs one T-SQL SELECT of the dialect. Throws ParseError or StatementError.
    platform::Recordset query(std::string_view sql);

    // Parses the whole batch, then runs it in one transaction. Throws ParseError (nothing ran) or
    // StatementError (everything rolled back).
    void execute(std::string_view batch);

    // Runs native SQLite script text (schema creation, bulk loading); no dialect translation.
    // Throws DbError.
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

    // The statements this connection keeps compiled.
    StatementCache& statements() { return m_statements; }

private:
    Database(std::string path, sqlite3* db);
    std::string m_path;
    sqlite3* m_db = nullptr;
    StatementCache m_statements;
};

} // namespace ormex::db

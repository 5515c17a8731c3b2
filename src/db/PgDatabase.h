#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Recordset.h"

struct pg_conn;

// A connection to a PostgreSQL server, for headquarters kept there instead of in an SQLite file.
// It runs the server's own SQL: the system's T-SQL is not translated for PostgreSQL yet.
namespace ormex::db {

class PgDatabase
{
public:
    // How long opening waits for a server that does not answer, unless the URL says otherwise.
    static constexpr int kConnectTimeoutSeconds = 3;

    // Opens a postgresql:// (or postgres://) URL. Throws OpenError when the server cannot be
    // reached or refuses the connection.
    static std::unique_ptr<PgDatabase> open(const std::string& url);
    ~PgDatabase();
    PgDatabase(const PgDatabase&) = delete;
    PgDatabase& operator=(const PgDatabase&) = delete;

    // Runs one query and returns its rows. Integers come back as integers, floating and numeric
    // values as doubles, Booleans as Booleans, SQL NULL as null and everything else as text.
    // Throws ParseError for text the server does not understand, StatementError otherwise.
    platform::Recordset query(std::string_view sql);

    // Runs a script of statements separated by semicolons in one transaction of its own: all of
    // it or none of it. Throws DbError.
    void executeNative(std::string_view script);

    pg_conn* handle() const { return m_conn; }

private:
    explicit PgDatabase(pg_conn* conn) : m_conn(conn) {}
    pg_conn* m_conn = nullptr;
};

// True for text that names a PostgreSQL server rather than an SQLite file.
bool isPostgresUrl(std::string_view location);

// The URL with a connect timeout added when it has none.
std::string withConnectTimeout(const std::string& url, int seconds);

} // namespace ormex::db

#include "PgDatabase.h"

#include <libpq-fe.h>

#include <charconv>
#include <cstdint>
#include <vector>

#include "DbError.h"

namespace ormex::db {

namespace {

// Type OIDs of the server's built-in types (pg_type.h); types of extensions such as citext have
// OIDs of their own database and are read as text.
constexpr Oid kBoolOid = 16;
constexpr Oid kInt8Oid = 20;
constexpr Oid kInt2Oid = 21;
constexpr Oid kInt4Oid = 23;
constexpr Oid kFloat4Oid = 700;
constexpr Oid kFloat8Oid = 701;
constexpr Oid kNumericOid = 1700;

// SQLSTATE of text the server could not parse.
constexpr std::string_view kSyntaxError = "42601";

using ResultPtr = std::unique_ptr<PGresult, decltype(&PQclear)>;

// The server's message without the line break libpq ends it with.
std::string trimmed(const char* message)
{
    std::string text = message ? message : "";
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

platform::Value cellValue(const PGresult* result, int row, int column)
{
    if (PQgetisnull(result, row, column)) return {};
    const char* text = PQgetvalue(result, row, column);
    const std::string_view view(text, static_cast<std::size_t>(PQgetlength(result, row, column)));
    switch (PQftype(result, column)) {
    case kBoolOid:
        return view == "t";
    case kInt2Oid:
    case kInt4Oid:
    case kInt8Oid: {
        std::int64_t number = 0;
        if (std::from_chars(view.data(), view.data() + view.size(), number).ec == std::errc()) return number;
        return std::string(view);
    }
    case kFloat4Oid:
    case kFloat8Oid:
    case kNumericOid: {
        // from_chars does not depend on the process locale, which a Qt program may have changed.
        double number = 0;
        if (std::from_chars(view.data(), view.data() + view.size(), number).ec == std::errc()) return number;
        return std::string(view); // NaN and Infinity are kept as the server wrote them
    }
    default:
        return std::string(view);
    }
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
        std::string reason = trimmed(PQerrorMessage(conn));
        PQfinish(conn);
        throw OpenError("cannot connect to PostgreSQL: " + reason);
    }
    // Notices (an extension that already exists, an implicit index) are not errors: dropped
    // instead of written to stderr.
    PQsetNoticeProcessor(
        conn, [](void*, const char*) {}, nullptr);
    std::unique_ptr<PgDatabase> db(new PgDatabase(conn));
    // Text is exchanged as UTF-8 whatever the server's default is.
    if (PQsetClientEncoding(conn, "UTF8") != 0)
        throw OpenError("cannot connect to PostgreSQL: " + trimmed(PQerrorMessage(conn)));
    return db;
}

PgDatabase::~PgDatabase()
{
    PQfinish(m_conn);
}

platform::Recordset PgDatabase::query(std::string_view sql)
{
    const std::string text(sql);
    const ResultPtr result(PQexec(m_conn, text.c_str()), &PQclear);
    const ExecStatusType status = result ? PQresultStatus(result.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
        const std::string reason =
            trimmed(result ? PQresultErrorMessage(result.get()) : PQerrorMessage(m_conn));
        const char* state = result ? PQresultErrorField(result.get(), PG_DIAG_SQLSTATE) : nullptr;
        if (state && state == kSyntaxError) throw ParseError(1, "not understood: " + reason);
        throw StatementError(1, text, reason);
    }
    const int columnCount = PQnfields(result.get());
    const int rowCount = PQntuples(result.get());
    std::vector<std::string> columns;
    columns.reserve(columnCount);
    for (int c = 0; c < columnCount; ++c)
        columns.emplace_back(PQfname(result.get(), c));
    std::vector<std::vector<platform::Value>> rows;
    rows.reserve(rowCount);
    for (int r = 0; r < rowCount; ++r) {
        std::vector<platform::Value> row;
        row.reserve(columnCount);
        for (int c = 0; c < columnCount; ++c)
            row.push_back(cellValue(result.get(), r, c));
        rows.push_back(std::move(row));
    }
    return platform::Recordset(std::move(columns), std::move(rows));
}

void PgDatabase::executeNative(std::string_view script)
{
    // Several statements sent in one PQexec run as one transaction unless they hold BEGIN or
    // COMMIT themselves; the first error stops them and rolls everything back.
    const ResultPtr result(PQexec(m_conn, std::string(script).c_str()), &PQclear);
    const ExecStatusType status = result ? PQresultStatus(result.get()) : PGRES_FATAL_ERROR;
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_EMPTY_QUERY)
        throw DbError(trimmed(result ? PQresultErrorMessage(result.get()) : PQerrorMessage(m_conn)));
}

} // namespace ormex::db

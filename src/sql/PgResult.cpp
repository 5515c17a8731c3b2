#include "PgResult.h"

#include <libpq-fe.h>

#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

#include "DbError.h"
#include "PgParameters.h"

namespace ormex::db {

namespace {

// SQLSTATEs the layer tells apart.
constexpr std::string_view kSyntaxError = "42601";
constexpr std::string_view kLockNotAvailable = "55P03";
constexpr std::string_view kDeadlock = "40P01";
constexpr std::string_view kSerializationFailure = "40001";

platform::Value cellValue(const PGresult* result, int row, int column)
{
    if (PQgetisnull(result, row, column)) return {};
    const char* text = PQgetvalue(result, row, column);
    const std::string_view view(text, static_cast<std::size_t>(PQgetlength(result, row, column)));
    // Types of extensions such as citext have numbers of their own database and are read as text.
    switch (PQftype(result, column)) {
    case pgtype::kBool:
        return view == "t";
    case pgtype::kInt2:
    case pgtype::kInt4:
    case pgtype::kInt8: {
        std::int64_t number = 0;
        if (std::from_chars(view.data(), view.data() + view.size(), number).ec == std::errc()) return number;
        return std::string(view);
    }
    case pgtype::kFloat4:
    case pgtype::kFloat8:
    case pgtype::kNumeric: {
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

void PgResultFree::operator()(pg_result* result) const
{
    PQclear(result);
}

std::string trimmedMessage(const char* message)
{
    std::string text = message ? message : "";
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

bool succeeded(const pg_result* result)
{
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_FATAL_ERROR;
    return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY;
}

void throwIfFailed(const pg_result* result, pg_conn* conn, int line, const std::string& statement)
{
    if (succeeded(result)) return;
    const std::string reason = trimmedMessage(result ? PQresultErrorMessage(result) : PQerrorMessage(conn));
    const char* state = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    const std::string_view code = state ? state : "";
    if (code == kSyntaxError) throw ParseError(line, "not understood: " + reason);
    if (code == kDeadlock || code == kSerializationFailure) throw ConflictError(reason);
    if (code == kLockNotAvailable) throw BusyError(reason);
    throw StatementError(line, statement, reason);
}

platform::Recordset recordsetOf(const pg_result* result)
{
    const int columnCount = PQnfields(result);
    const int rowCount = PQntuples(result);
    std::vector<std::string> columns;
    columns.reserve(columnCount);
    for (int c = 0; c < columnCount; ++c)
        columns.emplace_back(PQfname(result, c));
    std::vector<std::vector<platform::Value>> rows;
    rows.reserve(rowCount);
    for (int r = 0; r < rowCount; ++r) {
        std::vector<platform::Value> row;
        row.reserve(columnCount);
        for (int c = 0; c < columnCount; ++c)
            row.push_back(cellValue(result, r, c));
        rows.push_back(std::move(row));
    }
    return platform::Recordset(std::move(columns), std::move(rows));
}

platform::Value firstValue(const pg_result* result)
{
    if (PQntuples(result) < 1 || PQnfields(result) < 1) return {};
    return cellValue(result, 0, 0);
}

} // namespace ormex::db

#include "PgCopy.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "platform/Text.h"
#include "sql/DbError.h"
#include "sql/PgResult.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

// A value in COPY's text format: \N for null, backslash escapes for what would end a field.
void appendField(std::string& line, sqlite3_stmt* row, int column)
{
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_NULL:
        line += "\\N";
        return;
    case SQLITE_INTEGER:
        line += std::to_string(sqlite3_column_int64(row, column));
        return;
    case SQLITE_FLOAT: {
        const double number = sqlite3_column_double(row, column);
        char buffer[32];
        line.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
        return;
    }
    default:
        break;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    const int length = sqlite3_column_bytes(row, column);
    for (int i = 0; i < length; ++i) {
        switch (text[i]) {
        case '\\':
            line += "\\\\";
            break;
        case '\t':
            line += "\\t";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        default:
            line += text[i];
        }
    }
}

void check(PGconn* conn, const PgResultPtr& result, const std::string& what)
{
    throwIfFailed(result.get(), conn, 1, what);
}

void copyTable(Database& from, PgConnection& link, const std::string& table)
{
    PGconn* conn = link.handle();
    std::vector<std::string> columns;
    {
        SqliteStatement info(from.handle(), "SELECT name FROM pragma_table_info(?1) ORDER BY cid");
        info.bind(1, platform::Value(table));
        while (info.step())
            columns.push_back(info.column(0).toString());
    }
    std::string list;
    for (const auto& column : columns)
        list += (list.empty() ? "" : ", ") + column;
    const std::string copy = "COPY " + table + " (" + list + ") FROM STDIN";
    {
        const PgResultPtr started = link.exec(copy);
        if (PQresultStatus(started.get()) != PGRES_COPY_IN) {
            check(conn, started, copy);
            throw DbError("the server did not take the rows of " + table);
        }
    }

    SqliteStatement rows(from.handle(), "SELECT " + list + " FROM " + table);
    std::string chunk;
    bool failed = false;
    // Nonblocking: 0 means libpq's buffer is full until what it holds is sent.
    auto send = [&] {
        int sent = 0;
        while (!failed && (sent = PQputCopyData(conn, chunk.data(), static_cast<int>(chunk.size()))) == 0)
            link.flush();
        if (sent < 0) failed = true;
        chunk.clear();
    };
    while (rows.step()) {
        for (int c = 0; c < static_cast<int>(columns.size()); ++c) {
            if (c) chunk += '\t';
            appendField(chunk, rows.handle(), c);
        }
        chunk += '\n';
        if (chunk.size() > (1u << 20)) send();
    }
    send();
    while (PQputCopyEnd(conn, failed ? "the copy could not be sent" : nullptr) == 0)
        link.flush();
    check(conn, PgResultPtr(link.nextResult()), copy);
    while (PGresult* rest = link.nextResult())
        PQclear(rest);
}

// The tables, each after the tables its foreign keys name, so that its rows find theirs. The
// version record is each database's own: it is not copied.
std::vector<std::string> tablesInKeyOrder(Database& from)
{
    std::vector<std::string> pending;
    {
        SqliteStatement list(
            from.handle(), "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' "
                           "AND name <> 't_SchemaVersion' COLLATE NOCASE ORDER BY name");
        while (list.step())
            pending.push_back(list.column(0).toString());
    }
    std::vector<std::string> ordered;
    while (!pending.empty()) {
        const std::size_t before = pending.size();
        for (auto it = pending.begin(); it != pending.end();) {
            SqliteStatement keys(
                from.handle(),
                "SELECT DISTINCT \"table\" FROM pragma_foreign_key_list(?1) WHERE \"table\" <> ?1");
            keys.bind(1, platform::Value(*it));
            bool ready = true;
            while (keys.step()) {
                const std::string named = keys.column(0).toString();
                ready = ready && std::none_of(pending.begin(), pending.end(), [&](const std::string& table) {
                            return platform::iequals(table, named);
                        });
            }
            if (ready) {
                ordered.push_back(*it);
                it = pending.erase(it);
            } else {
                ++it;
            }
        }
        if (pending.size() == before) throw DbError("the tables' foreign keys name each other in a circle");
    }
    return ordered;
}

// The highest key SQLite has given each table with one (sqlite_sequence): above the highest row
// left when the newest rows were deleted (changes sent to headquarters, approved records), and
// keys are never given twice.
std::string keysGiven(Database& from)
{
    std::string values = "('', 0)";
    SqliteStatement exists(from.handle(), "SELECT 1 FROM sqlite_master WHERE name = 'sqlite_sequence'");
    if (!exists.step()) return values;
    SqliteStatement given(from.handle(), "SELECT lower(name), seq FROM sqlite_sequence");
    while (given.step())
        values += ", ('" + platform::quoteDoubled(given.column(0).toString()) + "', " +
                  std::to_string(given.column(1).toInt()) + ")";
    return values;
}

} // namespace

void copyRows(Database& from, PgDatabase& to)
{
    const std::vector<std::string> tables = tablesInKeyOrder(from);
    to.executeNative("BEGIN");
    try {
        // The rows arrive as they are, seals and ledger links included: without the key in this
        // transaction the triggers that seal and chain leave them alone.
        to.executeNative("SELECT set_config('ormex.seal_key', '', true)");
        for (const auto& table : tables)
            copyTable(from, to.link(), table);
        // Identity columns continue after the highest key SQLite gave, or copied when that is higher.
        to.executeNative(
            "DO $$ DECLARE c record; given bigint; BEGIN"
            " FOR c IN SELECT table_name, column_name FROM information_schema.columns"
            " WHERE table_schema = current_schema() AND is_identity = 'YES' LOOP"
            " SELECT coalesce(max(v.seq), 0) INTO given FROM (VALUES " +
            keysGiven(from) +
            ") AS v(name, seq) WHERE v.name = c.table_name;"
            " EXECUTE format('SELECT setval(pg_get_serial_sequence(%L, %L),"
            " greatest(%s, (SELECT coalesce(max(%I), 0) FROM %I), 1),"
            " greatest(%s, (SELECT coalesce(max(%I), 0) FROM %I)) > 0)',"
            " c.table_name, c.column_name, given, c.column_name, c.table_name, given, c.column_name,"
            " c.table_name);"
            " END LOOP; END $$");
        to.executeNative("COMMIT");
    } catch (...) {
        to.link().execQuietly("ROLLBACK");
        throw;
    }
}

} // namespace ormex::db

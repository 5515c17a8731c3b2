#include "SqlFunctions.h"

#include <sqlite3.h>

#include <string>

#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"

namespace ormex::db {

namespace {

std::string textArg(sqlite3_value* value)
{
    const unsigned char* text = sqlite3_value_text(value);
    return text ? reinterpret_cast<const char*>(text) : std::string();
}

void getdate(sqlite3_context* context, int, sqlite3_value**)
{
    // A batch over many cards asks for the time once per movement row: the text of the current
    // second is written once. Connections are used by one thread at a time.
    thread_local platform::DateTime shown{};
    thread_local std::string text;
    const platform::DateTime now = platform::now();
    if (text.empty() || now != shown) {
        shown = now;
        text = now.toString();
    }
    sqlite3_result_text(context, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

void datediffDay(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return;
    }
    const auto from = platform::parseDate(textArg(argv[0]));
    const auto to = platform::parseDate(textArg(argv[1]));
    if (!from || !to) {
        sqlite3_result_error(context, "datediff: the value is not a date", -1);
        return;
    }
    sqlite3_result_int64(context, platform::daysBetween(*from, *to));
}

void decrypt(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return;
    }
    const std::string plain = platform::decodeBalance(textArg(argv[0]));
    sqlite3_result_text(context, plain.c_str(), static_cast<int>(plain.size()), SQLITE_TRANSIENT);
}

} // namespace

void registerSqlFunctions(sqlite3* db)
{
    // getdate depends on the clock, so it is not deterministic for the query planner.
    sqlite3_create_function(db, "ormex_getdate", 0, SQLITE_UTF8, nullptr, getdate, nullptr, nullptr);
    sqlite3_create_function(db, "ormex_datediff_day", 2, SQLITE_UTF8, nullptr, datediffDay, nullptr, nullptr);
    sqlite3_create_function(db, "ormex_f_decrypt", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, decrypt,
                            nullptr, nullptr);
}

} // namespace ormex::db

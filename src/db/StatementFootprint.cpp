#include "StatementFootprint.h"

#include <sqlite3.h>

#include <string_view>

#include "platform/Text.h"

namespace ormex::db {

namespace {

// Functions whose value depends only on their arguments.
bool fixedByArguments(std::string_view name)
{
    static constexpr std::string_view kFixed[] = {"lower",
                                                  "upper",
                                                  "ifnull",
                                                  "coalesce",
                                                  "abs",
                                                  "round",
                                                  "length",
                                                  "rtrim",
                                                  "ltrim",
                                                  "trim",
                                                  "substr",
                                                  "replace",
                                                  "count",
                                                  "sum",
                                                  "max",
                                                  "min",
                                                  "avg",
                                                  "total",
                                                  "nullif",
                                                  "instr",
                                                  "typeof",
                                                  "ormex_f_decrypt",
                                                  "ormex_datediff_day"};
    for (std::string_view fixed : kFixed)
        if (platform::iequals(name, fixed)) return true;
    return false;
}

int record(void* context, int action, const char* first, const char* second, const char*, const char*)
{
    auto& footprint = *static_cast<StatementFootprint*>(context);
    switch (action) {
    case SQLITE_READ:
        if (first) footprint.reads.insert(platform::toLowerAscii(first));
        break;
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
        if (first) footprint.writes.insert(platform::toLowerAscii(first));
        break;
    case SQLITE_FUNCTION:
        if (!second || !fixedByArguments(second)) footprint.variableFunction = true;
        break;
    default:
        break;
    }
    return SQLITE_OK;
}

} // namespace

FootprintRecorder::FootprintRecorder(sqlite3* db, StatementFootprint& footprint) : m_db(db)
{
    sqlite3_set_authorizer(db, record, &footprint);
}

FootprintRecorder::~FootprintRecorder()
{
    sqlite3_set_authorizer(m_db, nullptr, nullptr);
}

} // namespace ormex::db

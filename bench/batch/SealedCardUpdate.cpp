#include "SealedCardUpdate.h"

#include <algorithm>

#include "platform/Text.h"
#include "sql/DerivedColumn.h"
#include "store/CardSeal.h"

namespace ormex::bench {

namespace {
bool g_floorSeals = false;
} // namespace

void setFloorSeals(bool seals)
{
    g_floorSeals = seals;
}

std::string cardUpdate(const std::vector<std::pair<std::string_view, std::string_view>>& set,
                       std::string_view where)
{
    std::string sql = "UPDATE T_Pos_VipRecord SET ";
    for (std::size_t i = 0; i < set.size(); ++i)
        sql += (i ? ", " : "") + std::string(set[i].first) + " = " + std::string(set[i].second);
    const db::DerivedColumn& seal = db::cardSealColumn();
    // The new value of a sealed column: the expression assigned to it, or the column as it is.
    const auto newValue = [&](std::string_view column) {
        const auto found = std::find_if(set.begin(), set.end(), [&](const auto& assignment) {
            return platform::iequals(assignment.first, column);
        });
        return found == set.end() ? std::string(column) : "(" + std::string(found->second) + ")";
    };
    const bool sealed = std::any_of(seal.sources.begin(), seal.sources.end(),
                                    [&](std::string_view column) { return newValue(column) != column; });
    if (g_floorSeals && sealed) {
        std::string carried;
        for (std::string_view column : seal.carried)
            carried += ", " + std::string(column);
        sql += ", " + std::string(seal.column) + " = " + std::string(seal.function) + "(" +
               std::string(seal.column);
        for (std::string_view column : seal.sources)
            sql += ", " + std::string(column);
        sql += carried;
        for (std::string_view column : seal.sources)
            sql += ", " + newValue(column);
        sql += carried + ")";
    }
    return sql + " WHERE " + std::string(where);
}

} // namespace ormex::bench

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
    // The new value of each sealed column: the expression assigned to it, or the column as it is.
    std::vector<std::string> newSources;
    bool sealed = false;
    for (std::string_view column : seal.sources) {
        const auto found = std::find_if(set.begin(), set.end(), [&](const auto& assignment) {
            return platform::iequals(assignment.first, column);
        });
        sealed = sealed || found != set.end();
        newSources.push_back(found == set.end() ? std::string(column)
                                                : "(" + std::string(found->second) + ")");
    }
    if (g_floorSeals && sealed) sql += db::derivedAssignment(seal, newSources);
    return sql + " WHERE " + std::string(where);
}

} // namespace ormex::bench

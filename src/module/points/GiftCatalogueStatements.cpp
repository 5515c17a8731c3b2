#include "GiftCatalogueStatements.h"

#include "PointsStatements.h"
#include "platform/Text.h"

namespace ormex::module::points {

std::string GiftRowStatements(const frame::SavePackage& package, const platform::FieldMap& row)
{
    std::string columns;
    std::string values;
    for (const auto& [field, value] : row) {
        columns += field + ",";
        if (platform::iequals(field, "FCardType") && value.toString().empty())
            values += "'All',";
        else
            values += platform::quoted(value.toString()) + ",";
    }
    if (!columns.empty()) columns.pop_back();
    if (!values.empty()) values.pop_back();
    std::string key;
    for (const std::string& column : package.keyColumns())
        key += " And " + column + "=" + platform::quoted(row.text(column));
    const std::string table = package.table();
    return std::string(CRLF) + "Delete from " + table + " Where 1=1 " + key + CRLF + "Insert Into " + table +
           "(" + columns + ")" + CRLF + "Values(" + values + ")";
}

std::string GiftCatalogueEmptying(const CatalogueScope& scope)
{
    switch (scope.kind) {
    case CatalogueScope::Kind::Whole:
        return std::string("Delete from ") + "T_Pos_VipGift";
    case CatalogueScope::Kind::OneGift:
        return "Delete from T_Pos_VipGift where FItemId in (select FItemID from t_Item where FNumber='" +
               platform::quoteDoubled(scope.giftNumber) + "')";
    case CatalogueScope::Kind::Nothing:
        break;
    }
    return {};
}

} // namespace ormex::module::points

#pragma once

#include <string>

#include "module/frame/SavePackage.h"

// The statements that write the gift catalogue from the save package of its grid: per row a
// delete on the package's key followed by an insert of the row (an empty card type stored as
// 'All'), and the emptying put in front of them.
namespace ormex::module::points {

// CRLF + "Delete from <Table> Where 1=1  And <key>='<value>'…" + CRLF + "Insert Into <Table>(…)" + CRLF
// + "Values(…)".
std::string GiftRowStatements(const frame::SavePackage& package, const platform::FieldMap& row);

// Which rows of the catalogue an emptying removes.
struct CatalogueScope
{
    enum class Kind { Nothing, Whole, OneGift };
    Kind kind = Kind::Nothing;
    std::string giftNumber; // OneGift: the goods number queried
};

// The emptying in front of the rows: the whole table; only the rows of one gift; nothing. The
// screen's save empties the whole table, so the catalogue becomes what its grid holds.
std::string GiftCatalogueEmptying(const CatalogueScope& scope);

} // namespace ormex::module::points

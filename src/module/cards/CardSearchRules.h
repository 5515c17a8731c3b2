#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/FieldMap.h"

// The card screen's search conditions, the information it shows for a card and the rows of the
// printed card sheet.
namespace ormex::module::cards {

// First read: the card number or mobile of a live card.
std::string cardSearchCondition(std::string_view key);
// Second read, when the first finds nothing: the face number or mobile. The condition has no
// FDeleted test of its own; the member list it reads holds no deleted card.
std::string faceNumberSearchCondition(std::string_view key);

// The filter of the member-card lookup and name list of the search field.
inline constexpr const char* kSearchLookupFilter = "(FCardStatus<>'9' and FCardStatus<>'3' and FDeleted=0)";

// The texts of itItem(0..10) for a card record (itItem(1), the issue amount, stays empty).
std::vector<std::string> cardInformationTexts(const platform::FieldMap& card);

struct SheetCell
{
    std::string caption;
    std::string text;
};
// The card sheet row texts: cells "caption|text|" joined, rows 2 to 6 (row 1 empty).
std::string cardSheetRow(const std::vector<SheetCell>& cells);

} // namespace ormex::module::cards

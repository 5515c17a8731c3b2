#pragma once

#include <string>

#include "platform/FieldMap.h"
#include "platform/Lookups.h"
#include "platform/Recordset.h"

class QWidget;

// The member-card rules every screen shares: status names, card type and settings readers, the
// card number check, the time text of money-list rows, points to stored value, and the host's
// lookup windows.
namespace ormex::module::frame {

// 0 正常, 1 失效, 2 挂失, 3 作废, 9 未使用; any other code "".
std::string GetStatusName(int code);

std::string ReadCardTypeName(const std::string& typeId);
// A column of the card type of the card (by number or mobile); "" when there is none.
platform::Value GetCardTypeColumn(const std::string& key, const std::string& columns);
// A setting of t_SystemProfile; "" when the key is absent.
std::string GetProfileValue(const std::string& category, const std::string& key);
std::string GetStockName(const std::string& itemId);

// 1 to 20 characters after trimming. Otherwise false and, when asked, "卡号不能为空！" or
// "卡号必须小于20位！" through the message service and the focus on the field.
bool CheckCardNumber(const std::string& number, QWidget* focus, bool showMessages);

// " h:m:s" of the current time, without leading zeros.
std::string CurrentTimeText();

// The points a card type converts and the stored value they give: UsedPoint and StoredAmt.
platform::FieldMap PointsToValue(const std::string& typeId, double points);

platform::FieldMap RecordToFieldMap(const platform::Recordset& rs);

// Opens the host's lookup window of a class; an empty result when the class has none.
platform::LookupResult ShowLookup(int classId, const std::string& searchText, const std::string& text1,
                                  const std::string& text2);
// The member-card (50) and card-type (51) windows of the points and stored-value screens.
platform::LookupResult ShowCardLookup(int classId, const std::string& condition, bool multiSelect,
                                      const std::string& second);

} // namespace ormex::module::frame

#pragma once

#include <string>
#include <string_view>

#include "Recordset.h"

// Text for spreadsheet programs: comma-separated values with CR LF line ends, a field quoted when
// it holds a comma, a quote or a line break (its quotes doubled).
namespace ormex::platform {

// UTF-8's byte-order mark: written first, it tells spreadsheet programs the file is UTF-8, so
// that they open Chinese text right.
inline constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

std::string csvField(std::string_view text);

// The column names, then the rows, each line ended by CR LF.
std::string csvLines(const Recordset& rows);

} // namespace ormex::platform

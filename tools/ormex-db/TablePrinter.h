#pragma once

#include <ostream>
#include <string>

#include "platform/Recordset.h"

namespace ormex::tools {

// Prints the rows of a recordset as an aligned table; Chinese characters take two columns.
void printTable(std::ostream& out, const platform::Recordset& rows);

// Prints the rows as CSV lines (RFC 4180 quoting) after a line naming the table: its title, the
// column names, then the rows.
void printCsv(std::ostream& out, const std::string& title, const platform::Recordset& rows);

} // namespace ormex::tools

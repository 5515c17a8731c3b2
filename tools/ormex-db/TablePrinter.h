#pragma once

#include <ostream>

#include "platform/Recordset.h"

namespace ormex::tools {

// Prints the rows of a recordset as an aligned table; Chinese characters take two columns.
void printTable(std::ostream& out, const platform::Recordset& rows);

} // namespace ormex::tools

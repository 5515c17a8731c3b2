#pragma once

#include <vector>

#include "FieldMap.h"

// An ordered list of field maps: the rows of a card list, the ticked rows of a grid, or a save
// package (one field map per grid row followed by one header field map).
namespace ormex::platform {

using RecordList = std::vector<FieldMap>;

} // namespace ormex::platform

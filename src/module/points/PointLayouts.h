#pragma once

#include "module/frame/GridLayout.h"

// The grid layouts of the points screen: "Detail0" the member list of tab 0, "Detail1" the gift
// catalogue of tab 1, "Detail2" the gifts on offer of tab 2.
namespace ormex::module::points {

// A store holding the three layouts.
frame::LayoutStore PointLayouts();

} // namespace ormex::module::points

#pragma once

#include "module/frame/GridLayout.h"

// The grid layouts of the stored-value screen: "Detail1" the cards of a batch recharge (tab 1),
// "Detail2" the cards converting points into stored value (tab 2).
namespace ormex::module::storedvalue {

frame::LayoutStore StoredValueLayouts();

} // namespace ormex::module::storedvalue

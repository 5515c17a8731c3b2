// The shapes of batch the screens send, each with its floor.
#pragma once

#include "ShapeHarness.h"

namespace ormex::bench {

// The points screen, over all cards at once (PointsShapes.cpp).
extern const Shape kPointsReward;
extern const Shape kPointsDeduction;
extern const Shape kPointsClearing;
extern const Shape kGiftExchange;

// The stored-value screen (StoredValueShapes.cpp): the batch tab over all cards at once, the
// single-card tab once per card.
extern const Shape kBatchRecharge;
extern const Shape kPointsToStoredValue;
extern const Shape kSingleRecharge;

// The saves of the gift catalogue, the card screen and the member settings
// (MaintenanceShapes.cpp).
extern const Shape kGiftCatalogue;
extern const Shape kCardOperations;
extern const Shape kSettingsBatch;

} // namespace ormex::bench

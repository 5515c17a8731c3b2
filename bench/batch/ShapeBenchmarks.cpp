// The benchmarks of ormex_batch_bench, one per shape, registered here in one list so that they
// are listed and run in this order.
#include "Shapes.h"

namespace ormex::bench {

namespace {

[[maybe_unused]] const bool kRegistered = [] {
    registerShape("PointsReward", kPointsReward);
    registerShape("PointsDeduction", kPointsDeduction);
    registerShape("PointsClearing", kPointsClearing);
    registerShape("GiftExchange", kGiftExchange);
    registerShape("BatchRecharge", kBatchRecharge);
    registerShape("PointsToStoredValue", kPointsToStoredValue);
    registerShape("GiftCatalogue", kGiftCatalogue);
    registerShape("SingleRecharge", kSingleRecharge);
    registerShape("CardOperations", kCardOperations);
    registerShape("SettingsBatch", kSettingsBatch);
    registerCommitSync("SingleRechargeSync", kSingleRecharge);
    return true;
}();

} // namespace

} // namespace ormex::bench

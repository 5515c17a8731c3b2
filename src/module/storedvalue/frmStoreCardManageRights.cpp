// The rights a stored-value save needs, asked of the host before anything is written: plain
// recharges, negative recharges (deductions from the balance) and conversions of points each have
// a right of their own, so a till may recharge without being able to take money off a card.
#include "frmStoreCardManage.h"

#include "module/frame/Gateway.h"
#include "module/frame/GridHelpers.h"
#include "module/widgets/InputField.h"
#include "platform/NumberText.h"

namespace ormex::module::storedvalue {

namespace {

constexpr const char* kRechargeRight = "hy0014";
constexpr const char* kNegativeRechargeRight = "hy0015";
constexpr const char* kPointsToValueRight = "hy0016";

} // namespace

bool frmStoreCardManage::CheckSaveRights(int tab)
{
    if (tab == PointsTab) return frame::CheckRight(kPointsToValueRight);
    // The amounts as the save reads them: tab 0's recharge field, tab 1's rows of the save package.
    std::vector<double> amounts;
    platform::Value item;
    if (tab == SingleTab) {
        amounts.push_back(platform::numberOr0(field("itCharge")->textStd()));
        item = platform::Value(field("itCardID_0")->textStd());
    } else {
        const frame::SavePackage rows = frame::BuildSavePackage(*m_grids[BatchTab], 2, 0);
        for (const platform::FieldMap& record : rows.rows())
            amounts.push_back(record.value("FChargeAmt").toDouble());
    }
    bool plus = false, minus = false;
    for (const double amount : amounts) {
        plus = plus || amount > 0;
        minus = minus || amount < 0;
    }
    return (!plus || frame::CheckRight(kRechargeRight, item)) &&
           (!minus || frame::CheckRight(kNegativeRechargeRight, item));
}

} // namespace ormex::module::storedvalue

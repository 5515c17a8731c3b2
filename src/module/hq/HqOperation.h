#pragma once

// The operations that need headquarters in a linked branch. One number names an operation both
// for the online check (which refusal the operator sees while headquarters cannot be reached)
// and for the replay (which text the t_Log row at headquarters carries).
namespace ormex::module::hq {

enum class HQOperation : int {
    PointsDeduction = 0,     // 积分冲减
    GiftExchange = 1,        // 礼品兑换
    Recharge = 2,            // 会员卡充值
    PointsToStoredValue = 3, // 积分转储值
    CardStatus = 4,          // card status operations; replayed as 卡状态管理---修改密码
    PasswordChange = 5,      // replayed as 发卡---修改密码
    CardChange = 6,          // 换卡
};

} // namespace ormex::module::hq

#pragma once

#include <string>

// The operations a branch linked to headquarters replays there, by the number its outbox keeps
// (t_HqOutbox.FOperation) and the online check names them by.
namespace ormex::platform {

// 0 积分冲减, 1 礼品兑换, 2 会员卡充值, 3 积分转储值, 4 卡状态修改, 5 修改密码, 6 换卡; another number
// "变更" and the number.
std::string replayOperationName(int operation);

} // namespace ormex::platform

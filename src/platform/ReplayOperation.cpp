#include "ReplayOperation.h"

#include <array>

namespace ormex::platform {

std::string replayOperationName(int operation)
{
    static constexpr std::array<const char*, 7> kNames = {
        "积分冲减", "礼品兑换", "会员卡充值", "积分转储值", "卡状态修改", "修改密码", "换卡"};
    if (operation >= 0 && operation < static_cast<int>(kNames.size()))
        return kNames[static_cast<std::size_t>(operation)];
    return "变更" + std::to_string(operation);
}

} // namespace ormex::platform

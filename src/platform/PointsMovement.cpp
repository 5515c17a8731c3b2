#include "PointsMovement.h"

namespace ormex::platform {

namespace {

struct Kind
{
    std::string_view flag;
    const char* name;
    int sign;
};

constexpr Kind kKinds[] = {{"1", "积分冲减", -1},   {"2", "礼品兑换", -1}, {"3", "积分奖励", +1},
                           {"4", "积分转储值", -1}, {"5", "积分清零", -1}, {"6", "换卡转出", -1},
                           {"7", "换卡转入", +1}};

const Kind* kindOf(std::string_view flag)
{
    for (const Kind& kind : kKinds)
        if (kind.flag == flag) return &kind;
    return nullptr;
}

} // namespace

std::string pointsMovementName(std::string_view flag)
{
    const Kind* kind = kindOf(flag);
    return kind ? kind->name : "积分变动" + std::string(flag);
}

int pointsMovementSign(std::string_view flag)
{
    const Kind* kind = kindOf(flag);
    return kind ? kind->sign : 0;
}

} // namespace ormex::platform

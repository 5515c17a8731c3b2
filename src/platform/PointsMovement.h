#pragma once

#include <string>
#include <string_view>

// The kinds of points movement (T_Pos_VipGiftList.flag), as the screens and reports name them.
namespace ormex::platform {

// 1 积分冲减, 2 礼品兑换, 3 积分奖励, 4 积分转储值, 5 积分清零, and the two halves of a card change:
// 6 换卡转出 (the old card's points leave it), 7 换卡转入 (they reach the new card); another flag
// "积分变动" and the flag.
std::string pointsMovementName(std::string_view flag);

// How a movement of the kind changes the card's remaining points: +1 for a reward, -1 for the
// others, 0 for a flag the system does not write.
int pointsMovementSign(std::string_view flag);

} // namespace ormex::platform

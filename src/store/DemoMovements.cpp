#include "DemoMovements.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "DemoData.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"

namespace ormex::db {

namespace {

using platform::Money;
using platform::Value;

// The operator the demo's rows name: its administrator, the first operator of the database.
constexpr int kDemoUserId = 1;
// Payment methods of the demo: cash, bank card.
constexpr int kCash = 1;
constexpr int kBankCard = 2;

// Gifts of the demo catalogue a card of branch 01 may have taken for all the points it spent,
// both kept in the warehouse 0101 (t_stock 2), which the movement names as an exchange does.
struct Gift
{
    double points;
    int item;
};
constexpr Gift kGifts[] = {{150, 102}, {300, 101}};
constexpr int kGiftWarehouseId = 2;
constexpr const char* kGiftWarehouse = "0101";

// Silver cards (02) turn 100 points into 5 yuan.
constexpr const char* kSilver = "02";

Money yuan(std::int64_t whole)
{
    return Money::fromUnits(whole * Money::kUnitsPerYuan);
}

bool clears(const DemoHoldings& card)
{
    return card.used > 0 && card.used == card.accumulated;
}

// The stored value the card's spent points were turned into; 0 when they went elsewhere.
Money converted(const DemoHoldings& card)
{
    const double spent = card.used;
    const Money value = Money::ofDouble(spent / 20);
    if (!clears(card) && card.saving && card.type == kSilver && spent >= 100 && std::fmod(spent, 100) == 0 &&
        card.number % 2 == 0 && value <= card.balance)
        return value;
    return {};
}

} // namespace

Money DemoMovements::issueAmount(const DemoHoldings& card)
{
    return card.saving ? std::min(card.balance - converted(card), yuan(100)) : Money();
}

DemoMovements::DemoMovements(Database& db)
    : m_money(db.handle(),
              "insert into T_Pos_AddMoneyList (FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt,"
              " Fbranchid, FBranchno, other1, FPlusRealAmt, FResidualAmt, FBalanceStyle, FComFlag)"
              " values (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, '1')"),
      m_points(db.handle(), "insert into T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, Fitemid,"
                            " FItemNum, FVipNum, FVipPlusAmt, fuserid, FOperDate, FAuxPropID, memo, FComFlag)"
                            " values (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, 0, ?11, 1)"),
      m_totals(db.handle(), "insert into T_Pos_VipConsume (FCardId, Fbranchid, FBranchno, FVipCurAccNum,"
                            " FVipAccNum, FVipMinusTotalNum, FComFlag) values (?1, ?2, ?3, ?4, ?4, ?5, '1')")
{
}

void DemoMovements::write(const DemoHoldings& card)
{
    // The card is used where it was issued: the demo branch 01 (BranchID 2) or branch 02 (3).
    const Branch branch =
        card.branchNo == "02" ? Branch{3, "02"} : Branch{kDemoBranchId, std::string(kDemoBranchNum)};
    // Its rows fall on sixths of the time from its issue to today, so none is in the future.
    const long span = std::max(6L, platform::daysBetween(card.issued, platform::today()));
    auto at = [&](int sixth, const char* time) {
        return card.issued.addDays(span * sixth / 6).toString() + " " + time;
    };

    // What the points went to, decided first: points turned into stored value add to the balance.
    const double spent = card.used;
    const bool clearing = clears(card);
    const Money fromPoints = converted(card);
    const Gift* gift = nullptr;
    for (const Gift& g : kGifts)
        if (branch.id == kDemoBranchId && g.points == spent && fromPoints.isZero() && !clearing) gift = &g;

    // Stored value: the issue amount, the rest recharged in one or two payments (a larger first
    // one in whole yuan), and what the points turned into.
    if (card.saving) {
        Money balance;
        const Money issue = issueAmount(card);
        if (!issue.isZero())
            money(card, branch, card.issued.toString() + " 09:00:00", "初始金额", issue, balance);
        const Money recharged = card.balance - fromPoints - issue;
        Money first = recharged;
        if (recharged >= yuan(200))
            first = yuan(recharged.units() / Money::kUnitsPerYuan * (card.number % 5 + 3) / 10);
        if (!first.isZero()) money(card, branch, at(2, "14:20:00"), "", first, balance);
        if (!fromPoints.isZero()) money(card, branch, at(4, "16:00:00"), "积分转储值", fromPoints, balance);
        if (recharged != first)
            money(card, branch, at(5, "11:30:00"), "会员日充值", recharged - first, balance);
    }

    // Points: earned in one or two rewards, then spent at once.
    if (card.accumulated <= 0) return;
    double firstReward = card.accumulated;
    if (card.accumulated >= 200 && card.number % 3 != 0) {
        firstReward = std::floor(card.accumulated / 50 * (card.number % 4 + 2) / 10) * 50;
        if (firstReward <= 0) firstReward = card.accumulated;
    }
    points(card, branch, at(1, "10:15:00"), 3, firstReward, "积分奖励");
    if (firstReward < card.accumulated)
        points(card, branch, at(3, "15:40:00"), 3, card.accumulated - firstReward, "积分奖励");
    const std::string spentAt = at(4, "16:00:00");
    if (clearing)
        points(card, branch, spentAt, 5, spent, "积分清零");
    else if (!fromPoints.isZero())
        points(card, branch, spentAt, 4, spent, "积分转储值", fromPoints);
    else if (gift)
        points(card, {kGiftWarehouseId, kGiftWarehouse}, spentAt, 2, spent, "礼品兑换", {}, gift->item);
    else if (spent > 0)
        points(card, branch, spentAt, 1, spent, "积分冲减");

    m_totals.bind(1, card.card);
    m_totals.bind(2, branch.id);
    m_totals.bind(3, branch.number);
    m_totals.bind(4, card.accumulated);
    m_totals.bind(5, spent);
    m_totals.step();
    m_totals.reset();
}

void DemoMovements::money(const DemoHoldings& card, const Branch& branch, const std::string& when,
                          const char* memo, Money amount, Money& balance)
{
    const std::string memoText = memo;
    const bool issue = memoText == "初始金额";
    const bool recharge = !issue && memoText != "积分转储值";
    const Money before = balance;
    balance += amount;
    // The issue amount is held encoded, as the card import and the stored-value screen keep it.
    const Value plusAmt =
        issue ? Value(platform::encodeBalance(amount.toString())) : Value(amount.toDouble());
    const std::vector<Value> values = {card.card,
                                       plusAmt,
                                       kDemoUserId,
                                       when,
                                       before.toDouble(),
                                       branch.id,
                                       branch.number,
                                       memoText,
                                       issue || recharge ? Value(amount.toDouble()) : Value(0),
                                       balance.toString(),
                                       issue || recharge ? Value(card.number % 4 == 0 ? kBankCard : kCash)
                                                         : Value()};
    for (std::size_t i = 0; i < values.size(); ++i)
        m_money.bind(static_cast<int>(i + 1), values[i]);
    m_money.step();
    m_money.reset();
}

void DemoMovements::points(const DemoHoldings& card, const Branch& branch, const std::string& when, int flag,
                           double points, const char* memo, Money storedValue, int item)
{
    const std::vector<Value> values = {branch.id,   branch.number, card.card, std::to_string(flag),
                                       item,        item ? 1 : 0,  points,    storedValue.toDouble(),
                                       kDemoUserId, when,          memo};
    for (std::size_t i = 0; i < values.size(); ++i)
        m_points.bind(static_cast<int>(i + 1), values[i]);
    m_points.step();
    m_points.reset();
}

} // namespace ormex::db

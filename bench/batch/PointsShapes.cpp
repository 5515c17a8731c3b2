// The batches of the points screen over all cards at once (reward, deduction, clearing, gift
// exchange), and their floors.
#include <algorithm>

#include "SealedCardUpdate.h"
#include "Shapes.h"
#include "module/points/PointsStatements.h"

namespace ormex::bench {

namespace {

namespace points = ormex::module::points;

constexpr double kRewardPoints = 10;
constexpr double kDeductionPoints = 5;
constexpr double kGiftPoints = 5;
constexpr const char* kClearAddress = "127.0.0.1";
constexpr const char* kClearMachine = "bench-host";

const points::PointsSession kSession{"1", kBranchNo, kUserId};

// Movement rows of T_Pos_VipGiftList, as the points groups write them.
constexpr const char* kMovementSql = "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, "
                                     "FItemNum, FVipNum, fuserid, FOperDate,"
                                     " memo, FComFlag) VALUES (?1, ?2, ?3, ?4, 0, ?5, ?6, ?7, ?8, ?9)";
constexpr const char* kConsumeExistsSql =
    "SELECT 1 FROM T_Pos_VipConsume WHERE FCardId = ?1 AND Fbranchid = ?2";

// The points of a movement added to the card's T_Pos_VipConsume row of the branch: `insertSql`
// makes the row when the card has none (?1 the card, ?2 the branch id, ?3 the branch number, ?4 the
// points, ?5 its FComFlag where the statement takes one), else `updateSql` raises it (?1 the card,
// ?2 the branch id, ?3 the points).
class ConsumeTotals
{
public:
    ConsumeTotals(sqlite3* db, const char* updateSql, const char* insertSql = kMinusInsertSql)
        : m_exists(db, kConsumeExistsSql), m_insert(db, insertSql), m_update(db, updateSql)
    {
    }
    // True when the card had a row.
    bool add(const std::string& card, double points, const char* comFlag = nullptr)
    {
        if (!m_exists.text(1, card).integer(2, kBranchId).exists()) {
            m_insert.text(1, card).integer(2, kBranchId).text(3, kBranchNo).real(4, points);
            if (comFlag) m_insert.text(5, comFlag);
            m_insert.run();
            return false;
        }
        m_update.text(1, card).integer(2, kBranchId).real(3, points).run();
        return true;
    }

private:
    Statement m_exists;
    Statement m_insert;
    Statement m_update;
};

// ---------------------------------------------------------------------------------------------
// Reward

std::vector<std::string> rewardBatches(const std::vector<Card>& cards)
{
    return oneBatch(everyCard(
        cards, [](int, const Card& c) { return points::RewardGroup(kSession, c.id, kRewardPoints); }));
}

void floorReward(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    Statement movement(db, kMovementSql);
    ConsumeTotals totals(
        db,
        "UPDATE T_Pos_VipConsume SET FComFlag = 0, FVipCurAccNum = ifnull(FVipCurAccNum, 0) + ?3,"
        " FVipAccNum = ifnull(FVipAccNum, 0) + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2",
        "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno, FVipCurAccNum, FVipAccNum, FComFlag)"
        " VALUES (?1, ?2, ?3, ?4, ?4, '0')");
    Statement card(db, cardUpdate({{"FAccNum", "ifnull(FAccNum, 0) + ?2"}}, "FCardId = ?1").c_str());
    for (const Card& c : cards) {
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).text(4, "3").real(5, kRewardPoints);
        movement.integer(6, kUser).text(7, now).text(8, "积分奖励").integer(9, 0).run();
        totals.add(c.id, kRewardPoints);
        card.text(1, c.id).real(2, kRewardPoints).run();
    }
}

// ---------------------------------------------------------------------------------------------
// Deduction

std::vector<std::string> deductionBatches(const std::vector<Card>& cards)
{
    return oneBatch(everyCard(cards, [](int n, const Card& c) {
        return points::DeductionGroup(kSession, n, c.id, kDeductionPoints, c.accumulated, c.used);
    }));
}

void floorDeduction(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    const bool own = isOwnBranch(db);
    Statement movement(db, kMovementSql);
    ConsumeTotals totals(db,
                         "UPDATE T_Pos_VipConsume SET FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0) + ?3"
                         " WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, cardUpdate({{"FDecNum", "?2"}, {"FAccNum", "?3"}}, "FCardId = ?1").c_str());
    for (const Card& c : cards) {
        movement.integer(1, kBranchId)
            .text(2, kBranchNo)
            .text(3, c.id)
            .text(4, "1")
            .real(5, kDeductionPoints);
        movement.integer(6, kUser).text(7, now).text(8, "积分冲减").integer(9, 1).run();
        const bool existed = totals.add(c.id, kDeductionPoints, "1");
        if (own || existed) {
            // Used points grow by the deduction but never past the accumulated points.
            const double used = std::min(c.used + kDeductionPoints, c.accumulated);
            card.text(1, c.id).real(2, used).real(3, c.accumulated).run();
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Clearing: every card's remaining points, then the record of the clearing.

std::vector<std::string> clearingBatches(const std::vector<Card>& cards)
{
    std::string batch = everyCard(cards, [](int, const Card& c) {
        const double remaining = c.accumulated - c.used;
        return points::ClearingGroup(kSession, c.id, remaining, remaining);
    });
    batch += points::PointClearRecord(kClearAddress, kClearMachine, kUserId);
    return oneBatch(std::move(batch));
}

void floorClearing(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    Statement movement(db, kMovementSql);
    ConsumeTotals totals(
        db, "UPDATE T_Pos_VipConsume SET FComFlag = 0, FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0)"
            " + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, cardUpdate({{"FDecNum", "FAccNum"}}, "FCardId = ?1").c_str());
    for (const Card& c : cards) {
        const double remaining = c.accumulated - c.used;
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).text(4, "5").real(5, remaining);
        movement.integer(6, kUser).text(7, now).text(8, "积分清零").integer(9, 1).run();
        totals.add(c.id, remaining, "0");
        card.text(1, c.id).run();
    }
    Statement clear(
        db, "INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, FClearDesc,"
            " memo) VALUES (?1, ?2, ?3, ?1, ?4, '', '积分清除操作')");
    clear.text(1, now).text(2, kClearAddress).text(3, kClearMachine).text(4, kUserId).run();
}

// ---------------------------------------------------------------------------------------------
// Gift exchange: one piece of gift 1 for every card.

std::vector<std::string> exchangeBatches(const std::vector<Card>& cards)
{
    const points::ExchangedGift gift{"1", kBranchNo, "1", "1", "5", "0"};
    return oneBatch(everyCard(cards, [&](int n, const Card& c) {
        return points::ExchangeGroup(kSession, n, c.id, gift, kGiftPoints);
    }));
}

void floorExchange(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    const bool own = isOwnBranch(db);
    Statement movement(
        db, "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, Fitemid, FItemNum,"
            " FVipNum, fuserid, FOperDate, FAuxPropID, memo, FComFlag)"
            " VALUES (?1, ?2, ?3, '2', ?4, ?5, ?6, ?7, ?8, ?9, '礼品兑换', 1)");
    ConsumeTotals totals(
        db, "UPDATE T_Pos_VipConsume SET FComFlag = '0', FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0)"
            " + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, cardUpdate({{"FDecNum", "FDecNum + ?2"}}, "FCardId = ?1").c_str());
    for (const Card& c : cards) {
        movement.integer(1, 1).text(2, kBranchNo).text(3, c.id).integer(4, 1).integer(5, 1).integer(6, 5);
        movement.integer(7, kUser).text(8, now).integer(9, 0).run();
        const bool existed = totals.add(c.id, kGiftPoints, "0");
        if (own || existed) card.text(1, c.id).real(2, kGiftPoints).run();
    }
}

} // namespace

constinit const Shape kPointsReward{.batches = rewardBatches, .floor = cardsFloor<floorReward>};
constinit const Shape kPointsDeduction{.batches = deductionBatches, .floor = cardsFloor<floorDeduction>};
constinit const Shape kPointsClearing{.batches = clearingBatches, .floor = cardsFloor<floorClearing>};
constinit const Shape kGiftExchange{.batches = exchangeBatches, .floor = cardsFloor<floorExchange>};

} // namespace ormex::bench

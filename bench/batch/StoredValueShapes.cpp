// The batches of the stored-value screen (the recharge of every card, the recharge of the
// single-card tab once per card, points converted into stored value), and their floors.
#include "SealedCardUpdate.h"
#include "Shapes.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"

namespace ormex::bench {

namespace {

namespace storedvalue = ormex::module::storedvalue;

constexpr double kRechargeAmount = 100;
constexpr double kConversionPoints = 100;
constexpr double kConversionAmount = 10;
constexpr const char* kRechargeMemo = "充值";

const storedvalue::StoredValueSession kSession{kUserId, "1", kBranchNo};

// The balance statement has the same update on both sides of its is_branch test, so the floor
// does not ask.
std::string balanceSql()
{
    return cardUpdate({{"FResidualAmt", "?2"}}, "FCardId = ?1");
}

// The cards' balances raised by an amount, made before the clock starts as the batch text is.
struct NewBalances
{
    std::vector<std::string> encoded; // the card's new FResidualAmt
    std::vector<std::string> listed;  // T_Pos_AddMoneyList.FResidualAmt
};

NewBalances newBalances(const std::vector<Card>& cards, double plus)
{
    NewBalances in;
    in.encoded.reserve(cards.size());
    in.listed.reserve(cards.size());
    for (const Card& c : cards) {
        in.encoded.push_back(ormex::platform::encodeBalance(c.balance + plus));
        in.listed.push_back(ormex::platform::formatNumber(c.balance + plus));
    }
    return in;
}

// ---------------------------------------------------------------------------------------------
// Recharge: the batch tab over every card, or the single-card tab once per card.

std::string rechargeStatements(const Card& c)
{
    storedvalue::Recharge r;
    r.card = c.id;
    r.amount = platform::Money::ofDouble(kRechargeAmount);
    r.paid = r.amount;
    r.oldBalance = platform::Money::ofDouble(c.balance);
    r.newBalance = r.oldBalance + r.amount;
    r.listedBalance = r.newBalance;
    r.memo = kRechargeMemo;
    r.operDate = kOperDate;
    return storedvalue::RechargeStatements(kSession, r);
}

std::vector<std::string> rechargeBatches(const std::vector<Card>& cards)
{
    return oneBatch(everyCard(cards, [](int, const Card& c) { return rechargeStatements(c); }));
}

std::vector<std::string> singleRechargeBatches(const std::vector<Card>& cards)
{
    return batchPerCard(cards, [](long, const Card& c) { return rechargeStatements(c); });
}

// The recharge of every card, in the caller's transaction or, card by card, each in its own.
void floorRecharge(sqlite3* db, const std::vector<Card>& cards, const NewBalances& in, bool eachCommitted)
{
    Statement balance(db, balanceSql().c_str());
    Statement money(
        db, "INSERT INTO T_Pos_AddMoneyList (FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,"
            " FBranchno, other1, FPlusRealAmt, FResidualAmt, FBalanceStyle, FComFlag)"
            " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, 0, '1')");
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const Card& c = cards[i];
        const auto one = [&] {
            balance.text(1, c.id).text(2, in.encoded[i]).run();
            money.text(1, c.id)
                .integer(2, static_cast<long long>(kRechargeAmount))
                .integer(3, kUser)
                .text(4, kOperDate);
            money.real(5, c.balance).integer(6, kBranchId).text(7, kBranchNo).text(8, kRechargeMemo);
            money.real(9, kRechargeAmount).text(10, in.listed[i]).run();
        };
        if (eachCommitted)
            inTransaction(db, one);
        else
            one();
    }
}

template <bool eachCommitted> Floor rechargeFloor(const std::vector<Card>& cards)
{
    return [&cards, in = newBalances(cards, kRechargeAmount)](sqlite3* db, const std::string&) {
        floorRecharge(db, cards, in, eachCommitted);
    };
}

// ---------------------------------------------------------------------------------------------
// Points to stored value

std::vector<std::string> conversionBatches(const std::vector<Card>& cards)
{
    return oneBatch(everyCard(cards, [](int n, const Card& c) {
        storedvalue::Conversion v;
        v.card = c.id;
        v.points = kConversionPoints;
        v.amount = platform::Money::ofDouble(kConversionAmount);
        v.oldBalance = platform::Money::ofDouble(c.balance);
        v.gridBalance = v.oldBalance;
        v.newBalance = v.oldBalance + v.amount;
        v.operDate = kOperDate;
        return storedvalue::ConversionStatements(kSession, n, v);
    }));
}

void floorConversion(sqlite3* db, const std::vector<Card>& cards, const NewBalances& in)
{
    const bool own = isOwnBranch(db);
    Statement movement(
        db, "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,"
            " fuserid, FOperDate, FComFlag, memo) VALUES (?1, ?2, ?3, '4', ?4, ?5, ?6, ?7, 1, '积分转储值')");
    Statement exists(
        db, "SELECT 1 FROM T_Pos_VipConsume WHERE FCardId = ?1 AND Fbranchid = ?2 AND FBranchNo = ?3");
    Statement insert(db, kMinusInsertSql);
    Statement update(db, "UPDATE T_Pos_VipConsume SET FVipMinusTotalNum = FVipMinusTotalNum + ?4"
                         " WHERE FCardId = ?1 AND Fbranchid = ?2 AND FBranchNo = ?3");
    Statement card(db, cardUpdate({{"FDecNum", "FDecNum + ?2"}}, "FCardId = ?1").c_str());
    Statement balance(db, balanceSql().c_str());
    Statement money(
        db, "INSERT INTO T_Pos_AddMoneyList (FCardId, fuserid, FOperDate, FOldAmt, Fbranchid, FBranchno,"
            " FPlusAmt, FResidualAmt, other1, FComFlag) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8,"
            " '积分转储值', '1')");
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const Card& c = cards[i];
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).real(4, kConversionAmount);
        movement.real(5, kConversionPoints).integer(6, kUser).text(7, kOperDate).run();
        bool existed = true;
        if (!exists.text(1, c.id).integer(2, kBranchId).text(3, kBranchNo).exists()) {
            insert.text(1, c.id)
                .integer(2, kBranchId)
                .text(3, kBranchNo)
                .real(4, kConversionPoints)
                .text(5, "1")
                .run();
            existed = false;
        } else {
            update.text(1, c.id).integer(2, kBranchId).text(3, kBranchNo).real(4, kConversionPoints).run();
        }
        if (own || existed) card.text(1, c.id).real(2, kConversionPoints).run();
        balance.text(1, c.id).text(2, in.encoded[i]).run();
        money.text(1, c.id).integer(2, kUser).text(3, kOperDate).real(4, c.balance).integer(5, kBranchId);
        money.text(6, kBranchNo)
            .integer(7, static_cast<long long>(kConversionAmount))
            .text(8, in.listed[i])
            .run();
    }
}

Floor conversionFloor(const std::vector<Card>& cards)
{
    return [&cards, in = newBalances(cards, kConversionAmount)](sqlite3* db, const std::string&) {
        floorConversion(db, cards, in);
    };
}

} // namespace

constinit const Shape kBatchRecharge{.batches = rechargeBatches, .floor = rechargeFloor<false>};
constinit const Shape kPointsToStoredValue{.batches = conversionBatches, .floor = conversionFloor};
// The recharge of the single-card tab, N times.
constinit const Shape kSingleRecharge{
    .perCard = true, .batches = singleRechargeBatches, .floor = rechargeFloor<true>};

} // namespace ormex::bench

// Every shape of batch the screens send, built by the module's own statement builders, run on
// SQLite and on PostgreSQL from the same starting rows: afterwards both hold the same rows in every
// table. The cards are chosen so that each IF of a batch goes both ways: cards with and without a
// totals row at the branch, the session's own branch and another one, a branch and headquarters.
#include <string>
#include <vector>

#include "BothEngines.h"
#include "host/core/ApprovalMaintain.h"
#include "host/core/CardMaintain.h"
#include "host/core/MemberLists.h"
#include "module/cards/CardHistory.h"
#include "module/cards/CardSearchRules.h"
#include "module/cards/CardStatusRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/SavePackage.h"
#include "module/hq/OperationLog.h"
#include "module/hq/ReplayOutbox.h"
#include "module/points/GiftCatalogueStatements.h"
#include "module/points/PointsStatements.h"
#include "module/settings/MemberSettingsKeys.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/BusinessObjects.h"
#include "platform/NumberText.h"
#include "store/DemoData.h"
#include "store/OperLog.h"

using namespace ormex;
using ormex::test::kMixedCaseCardAsTyped;
namespace points = ormex::module::points;
namespace storedvalue = ormex::module::storedvalue;
using namespace ormex::platform::money_literals;
namespace cards = ormex::module::cards;
namespace hq = ormex::module::hq;

namespace {

const points::PointsSession kOwnPoints{test::kOwnBranchId, test::kOwnBranchNo, test::kUserId};
const points::PointsSession kOtherPoints{test::kOtherBranchId, test::kOtherBranchNo, test::kUserId};
const storedvalue::StoredValueSession kOwnValue{test::kUserId, test::kOwnBranchId, test::kOwnBranchNo};
const storedvalue::StoredValueSession kOtherValue{test::kUserId, test::kOtherBranchId, test::kOtherBranchNo};

constexpr const char* kOperDate = "2026-11-23 10:30:15";

// Cards by their totals at the demo branch (2) and at the other one (3).
const std::string kTotalsAtOwn =
    "exists (select 1 from T_Pos_VipConsume c where c.FCardId=r.FCardId and c.Fbranchid=2)";
const std::string kNoTotalsAtOwn =
    "not exists (select 1 from T_Pos_VipConsume c where c.FCardId=r.FCardId and c.Fbranchid=2)";
const std::string kTotalsAtOther =
    "exists (select 1 from T_Pos_VipConsume c where c.FCardId=r.FCardId and c.Fbranchid=3)";
const std::string kLiveSavingCard = "r.FSavingFlag=1 and r.FCardStatus='0' and r.FDeleted=0";

std::vector<std::string> joined(std::vector<std::string> a, const std::vector<std::string>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class BatchesOnBothEngines : public test::BothEngines
{
protected:
    // Runs the batch on both engines and compares every table.
    void runAndCompare(const std::string& batch)
    {
        runOnBoth(batch);
        if (HasFatalFailure()) return;
        RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
    }

    double number(const std::string& sql) { return sqliteValue(sql).toDouble(); }
    // A card's stored-value balance as the stored-value screen reads it; the screen's save runs
    // only while it still stands (m_checks).
    double balance(const std::string& card)
    {
        const std::string sql = "select FResidualAmt from T_Pos_VipRecord where FCardId='" + card + "'";
        expectSameQuery(sql);
        m_checks.push_back({sql, "FResidualAmt", sqliteValue(sql)});
        return platform::decodeBalanceValue(m_checks.back().expected.toString());
    }
    // The points left on a card, read as the points-to-value save reads them (and checks them).
    void leavePoints(const std::string& card)
    {
        const std::string sql =
            "select FAccNum-FDecNum as LeavePoint from T_Pos_VipRecord where FCardId='" + card + "'";
        expectSameQuery(sql);
        m_checks.push_back({sql, "LeavePoint", sqliteValue(sql)});
    }

    std::vector<platform::ReadCheck> m_checks;
};

// A recharge amount from `from` on that makes the card's new balance encode with `character` in it
// (a backslash), so that the text goes through the row copy and the statements intact.
double amountEncodingWith(double balance, double from, char character)
{
    for (int cents = 0; cents < 1000000; ++cents) {
        const double amount = from + cents / 100.0;
        if (platform::encodeBalance(platform::formatNumber(balance + amount)).find(character) !=
            std::string::npos)
            return amount;
    }
    ADD_FAILURE() << "no balance encodes with " << character;
    return from;
}

} // namespace

TEST_F(BatchesOnBothEngines, PointsRewardAtOwnAndOtherBranch)
{
    const auto withTotals = cards(kTotalsAtOwn, 4); // 88000006: sums still null
    const auto withoutTotals = cards(kNoTotalsAtOwn + " and r.FCardStatus='0'", 3);
    std::string batch;
    double points = 10;
    for (const std::string& card : joined(withTotals, joined(withoutTotals, {kMixedCaseCardAsTyped}))) {
        batch += points::RewardGroup(kOwnPoints, card, points);
        points = points == 10 ? 12.5 : 10;
    }
    // The other branch's totals exist for some of these only.
    for (const std::string& card : joined(cards(kTotalsAtOther, 2), withoutTotals))
        batch += points::RewardGroup(kOtherPoints, card, 7);
    runAndCompare(batch);
}

TEST_F(BatchesOnBothEngines, PointsDeductionChangesTheCardOnlyWhereItMay)
{
    // The screen reads the card's points just before it builds the group, and the batch runs only
    // while they still stand: checked a group of cards at a time, as the screen checks them.
    std::vector<platform::ReadCheck> checks;
    std::vector<module::frame::CardPointsRead> read;
    auto group = [&](const points::PointsSession& session, int n, const std::string& card, double points) {
        const std::string acc = "select FAccNum from T_Pos_VipRecord where FCardId='" + card + "'";
        const std::string dec = "select FDecNum from T_Pos_VipRecord where FCardId='" + card + "'";
        expectSameQuery(acc);
        expectSameQuery(dec);
        read.push_back({card, sqliteValue(acc), sqliteValue(dec)});
        checks = module::frame::CardPointsChecks(read);
        return points::DeductionGroup(session, n, card, points, read.back().accumulated.toDouble(),
                                      read.back().used.toDouble());
    };
    const auto withTotals = cards(kTotalsAtOwn + " and r.FAccNum-r.FDecNum>=30", 3);
    const auto withoutTotals = cards(kNoTotalsAtOwn + " and r.FAccNum-r.FDecNum>=30", 3);
    // More than is left: the used points stop at the accumulated ones.
    const auto nearlyUsed = cards("r.FAccNum>0 and r.FAccNum-r.FDecNum<5", 1);
    // Whole numbers whose order as text is not their order as numbers (510 against 1000).
    const auto thousands = cards("r.FAccNum>=1000 and r.FDecNum+60<1000", 3);
    auto ownBatch = [&] {
        read.clear();
        std::string batch;
        int n = 0;
        for (const std::string& card : joined(withTotals, joined(withoutTotals, nearlyUsed)))
            batch += group(kOwnPoints, ++n, card, 7.5);
        batch += group(kOwnPoints, ++n, kMixedCaseCardAsTyped, 20);
        for (const std::string& card : thousands)
            batch += group(kOwnPoints, ++n, card, 60);
        return batch;
    };
    std::string own = ownBatch();
    // Another till uses points of one of the cards meanwhile: refused on both, nothing written.
    runOnBoth("update T_Pos_VipRecord set FDecNum=FDecNum+1 where FCardId='" + thousands[0] + "'");
    expectRefusedOnBoth(own, checks);
    expectSameRows();
    own = ownBatch();
    runCheckedOnBoth(own, checks);
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));

    // At another branch the card changes only where that branch's totals existed.
    read.clear();
    std::string other;
    int n = 0;
    for (const std::string& card : joined(cards(kTotalsAtOther, 3), withoutTotals))
        other += group(kOtherPoints, ++n, card, 5);
    runCheckedOnBoth(other, checks);
    expectSameRows();
}

TEST_F(BatchesOnBothEngines, PointsClearing)
{
    std::string batch;
    for (const std::string& card : joined(cards(kTotalsAtOwn, 4), cards(kNoTotalsAtOwn, 4))) {
        const std::string where = " from T_Pos_VipRecord where FCardId='" + card + "'";
        const double remaining = number("select FAccNum-FDecNum as LeavePoint" + where);
        batch += points::ClearingGroup(kOwnPoints, card, remaining, remaining);
    }
    batch += points::ClearingGroup(kOwnPoints, kMixedCaseCardAsTyped, 280.25, 280.25);
    batch += points::PointClearRecord("10.1.2.7", "TILL-7", test::kUserId);
    runAndCompare(batch);
}

TEST_F(BatchesOnBothEngines, GiftExchangeAtOwnAndOtherBranch)
{
    const points::ExchangedGift cup{"2", "0101", "101", "1", "300", "0"};
    const points::ExchangedGift shirt{"2", "0101", "103", "2", "40.5", "2"};
    std::string own;
    int n = 0;
    for (const std::string& card : joined(cards(kTotalsAtOwn, 3), cards(kNoTotalsAtOwn, 3))) {
        own += points::ExchangeGroup(kOwnPoints, ++n, card, cup, 300);
        own += points::ExchangeGroup(kOwnPoints, ++n, card, shirt, 40.5);
    }
    runAndCompare(own);

    std::string other;
    n = 0;
    for (const std::string& card : joined(cards(kTotalsAtOther, 2), cards(kNoTotalsAtOwn, 2)))
        other += points::ExchangeGroup(kOtherPoints, ++n, card, cup, 300);
    runAndCompare(other);
}

TEST_F(BatchesOnBothEngines, BatchRechargeAtABranchAndAtHeadquarters)
{
    const auto saving = joined(cards(kLiveSavingCard, 5), {kMixedCaseCardAsTyped});
    auto recharge = [&](const std::string& card, double amount, const std::string& memo) {
        storedvalue::Recharge r;
        r.card = card;
        r.amount = platform::Money::ofDouble(amount);
        r.paid = r.amount;
        r.oldBalance = platform::Money::ofDouble(balance(card));
        r.newBalance = r.listedBalance = r.oldBalance + r.amount;
        r.memo = memo;
        r.operDate = kOperDate;
        return storedvalue::RechargeStatements(kOwnValue, r);
    };
    std::string batch;
    for (const std::string& card : saving)
        batch += recharge(card, 100, "充值");
    runCheckedOnBoth(batch, m_checks);
    expectSameRows();

    // Headquarters (is_branch 0) takes the other way of the balance statement; a balance whose
    // encoding holds a backslash, memos with a quote and a backslash.
    runOnBoth("update t_SystemProfile set FValue='0' where FCategory='ic' and FKey='is_branch'");
    batch.clear();
    m_checks.clear();
    batch += recharge(saving[0], amountEncodingWith(balance(saving[0]), 1, '\\'), "O'Neil 充值");
    batch += recharge(saving[1], 0.01, "back\\slash");
    batch += recharge(saving[2], -5, "");
    runCheckedOnBoth(batch, m_checks);
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
}

TEST_F(BatchesOnBothEngines, SingleRechargeOneCardAtATime)
{
    int k = 0;
    for (const std::string& card : joined(cards(kLiveSavingCard, 4), {kMixedCaseCardAsTyped})) {
        storedvalue::Recharge r;
        r.card = card;
        r.amount = k % 2 ? -20.5_yuan : 250_yuan; // a negative amount takes from the balance
        r.paid = k % 2 ? -20_yuan : 245_yuan;
        r.oldBalance = platform::Money::ofDouble(balance(card));
        r.newBalance = r.listedBalance = r.oldBalance + r.amount;
        r.memo = "单卡充值";
        r.operDate = "2026-11-23 9:5:7";
        r.paymentId = std::to_string(1 + k % 4);
        runCheckedOnBoth(storedvalue::RechargeStatements(kOwnValue, r), m_checks);
        m_checks.clear();
        ++k;
    }
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
}

TEST_F(BatchesOnBothEngines, PointsToStoredValueAtOwnAndOtherBranch)
{
    auto conversion = [&](const storedvalue::StoredValueSession& session, int n, const std::string& card,
                          double points, double amount) {
        leavePoints(card);
        storedvalue::Conversion c;
        c.card = card;
        c.points = points;
        c.amount = platform::Money::ofDouble(amount);
        c.oldBalance = c.gridBalance = platform::Money::ofDouble(balance(card));
        c.newBalance = c.oldBalance + c.amount;
        c.operDate = kOperDate;
        return storedvalue::ConversionStatements(session, n, c);
    };
    std::string own;
    int n = 0;
    for (const std::string& card : joined(cards(kLiveSavingCard + " and " + kTotalsAtOwn, 3),
                                          cards(kLiveSavingCard + " and " + kNoTotalsAtOwn, 3)))
        own += conversion(kOwnValue, ++n, card, 100, 5);
    own += conversion(kOwnValue, ++n, "88000006", 50, 2.5); // its totals are null: they stay null
    own += conversion(kOwnValue, ++n, kMixedCaseCardAsTyped, 100.4, 10.04);
    runCheckedOnBoth(own, m_checks);
    expectSameRows();

    m_checks.clear();
    std::string other;
    n = 0;
    for (const std::string& card : joined(cards(kTotalsAtOther, 2), cards(kLiveSavingCard, 2)))
        other += conversion(kOtherValue, ++n, card, 30, 1.5);
    runCheckedOnBoth(other, m_checks);
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
}

TEST_F(BatchesOnBothEngines, GiftCatalogueSavedWholeAndOneGift)
{
    auto row = [](const char* item, const char* type, const char* pieces, double points, const char* stock,
                  const char* stockNo) {
        return platform::FieldMap{
            {"FItemNum", pieces},       {"FVipNum", points},  {"FBeginDate", "2026-11-23"},
            {"FEndDate", "2026-12-23"}, {"FBranchID", stock}, {"FBranchNo", stockNo},
            {"FItemID", item},          {"FCardType", type}};
    };
    module::frame::SavePackage whole;
    whole.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
    whole.addRow(row("101", "", "1", 310, "2", "0101"));
    whole.addRow(row("103", "03", "2", 505.5, "2", "0101"));
    whole.addRow(row("105", "", "1", 250, "3", "0102"));
    whole.addRow(row("108", "03", "1", 1999.99, "2", "0101"));
    std::string batch = points::GiftCatalogueEmptying({points::CatalogueScope::Kind::Whole, {}});
    for (const auto& r : whole.rows())
        batch += points::GiftRowStatements(whole, r);
    runAndCompare(batch);

    module::frame::SavePackage one;
    one.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
    one.addRow(row("104", "02", "1", 820, "2", "0101"));
    one.addRow(row("104", "", "3", 900, "2", "0101"));
    batch = points::GiftCatalogueEmptying({points::CatalogueScope::Kind::OneGift, "g004"});
    for (const auto& r : one.rows())
        batch += points::GiftRowStatements(one, r);
    runAndCompare(batch);
}

TEST_F(BatchesOnBothEngines, CardOperationsAndTheirReplayAtHeadquarters)
{
    const auto live = cards("r.FCardStatus='0' and r.FDeleted=0", 4);
    const std::vector<std::pair<std::string, hq::HQOperation>> changes = {
        {cards::statusUpdateStatement('2', live[0]), hq::HQOperation::CardStatus},
        {cards::statusUpdateStatement('0', cards("r.FCardStatus='2'", 1)[0]), hq::HQOperation::CardStatus},
        {cards::statusUpdateStatement('3', live[1]), hq::HQOperation::CardStatus},
        {cards::endDateUpdateStatement(platform::Date{2027, 2, 28}, live[2]), hq::HQOperation::CardStatus},
        {cards::passwordUpdateStatement("654321", kMixedCaseCardAsTyped), hq::HQOperation::PasswordChange},
    };
    // The branch: the card's change with the replay queued for headquarters in the same batch.
    for (const auto& [statement, operation] : changes) {
        const std::string queued = hq::QueueOnHQ(statement, operation);
        ASSERT_FALSE(queued.empty()) << "the session is a linked branch";
        runOnBoth(statement + "\r\n" + queued);
    }
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));

    // Headquarters: each queued replay (the statements and the t_Log row) as it is sent.
    const auto replays = sqlite().query("select FBatch from t_HqOutbox order by FSeq");
    ASSERT_EQ(replays.recordCount(), changes.size());
    for (std::size_t r = 0; r < replays.recordCount(); ++r)
        runOnBoth(replays.cell(r, 0).toString());
    expectSameRows();
}

TEST_F(BatchesOnBothEngines, TheHostsCardChangeCardRecordAndOperationLog)
{
    // A card with a balance and points left, so that both kinds of movement are written.
    const auto live = cards("r.FCardStatus='0' and r.FDeleted=0 and r.FVipName is not null and "
                            "r.FResidualAmt<>'0' and r.FAccNum>r.FDecNum",
                            1);
    const auto unused = cards("r.FCardStatus='9' and r.FDeleted=0", 1);
    host::CardChange change;
    change.oldNo = live[0];
    change.newNo = unused[0];
    change.type = sqliteValue("select max(FTypeId) from T_Pos_VipType").toString();
    change.oldRow = sqlite().query("select * from T_Pos_VipRecord where FCardId='" + live[0] + "'");
    change.oldValues = sqlite().query(host::cardValuesSql(live[0]));
    change.newValues = sqlite().query(host::cardValuesSql(unused[0]));
    change.userId = std::stoi(test::kUserId);
    change.branchId = test::kOwnBranchId;
    change.branchNo = test::kOwnBranchNo;
    change.operDate = kOperDate;
    runCheckedOnBoth(host::cardChangeBatch(change), host::cardValueChecks(change));
    EXPECT_EQ(number("select count(*) from T_Pos_AddMoneyList where FCardId in ('" + live[0] + "','" +
                     unused[0] + "')" + " and FOperDate='" + kOperDate + "'"),
              2);
    EXPECT_EQ(number("select count(*) from T_Pos_VipGiftList where flag in ('6','7')"), 2);

    platform::FieldMap record;
    record.set("FCardId", kMixedCaseCardAsTyped);
    record.set("FVipName", "王'芳");
    record.set("mobile", "13912345678");
    record.set("FCardStatus", "2");
    record.set("FVipEndDate", "2027-12-31");
    record.set("FAccNum", 12.5);
    runOnBoth(host::cardRecordBatch(record, {}));
    runOnBoth(db::operLogStatement(
        {7, "FFuncID=1", "MCM0001", 4, "会员卡管理---挂失", "POS-01", "10.0.0.8", "c100", "01"}));
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
}

TEST_F(BatchesOnBothEngines, SettingsSaves)
{
    for (int save = 0; save < 3; ++save) {
        platform::FieldMap values;
        for (const auto& [key, stored] : db::kDemoMemberSettings)
            values.set(key, stored);
        values.set("CardNumProfix", save == 1 ? "O'" : ";");
        values.set("DailyAmtLimit", std::to_string(2000 + 100 * save));
        values.set("LimitAmount", save == 2 ? "500.5" : "500");
        values.set("CoverCardNum", std::to_string(save % 2));
        runOnBoth(module::settings::buildSettingsSaveBatch(values));
    }
    RecordProperty("rows_compared", static_cast<int>(expectSameRows()));
}

TEST_F(BatchesOnBothEngines, ApprovalOfPendingRecords)
{
    platform::RecordList package;
    for (const std::string& card :
         cards("exists (select 1 from T_Pos_VipRecordCheck k where k.FCardId=r.FCardId)", 8))
        package.push_back(platform::FieldMap{{"FCardId", card}});
    // Each engine's batch is built from the pending values it reads: the same text.
    const std::string fromSqlite = host::approvalBatch(sqlite(), package);
    std::string fromPg;
    ASSERT_NO_THROW(fromPg = host::approvalBatch(pg(), package));
    EXPECT_EQ(fromPg, fromSqlite);
    runAndCompare(fromSqlite);
}

TEST_F(BatchesOnBothEngines, LogRowsOfEveryOperation)
{
    std::string batch;
    for (int operation = 0; operation <= static_cast<int>(hq::HQOperation::CardChange); ++operation)
        batch += hq::LogRowStatement(static_cast<hq::HQOperation>(operation)) + "\r\n";
    runAndCompare(batch);
}

// What the screens read back after the batches: the card lookups, the stored-value filter with
// its decoded balance and expiry, the gift catalogue of the day, the gift warehouses, the points
// left and what they convert to, the password check, the issue amount, the queue.
TEST_F(BatchesOnBothEngines, ScreensReadTheSameValues)
{
    const auto saving = cards(kLiveSavingCard, 3);
    std::string batch;
    for (const std::string& card : saving) {
        storedvalue::Recharge r;
        r.card = card;
        r.amount = r.paid = 123.45_yuan;
        r.oldBalance = platform::Money::ofDouble(balance(card));
        r.newBalance = r.listedBalance = r.oldBalance + r.amount;
        r.operDate = kOperDate;
        batch += storedvalue::RechargeStatements(kOwnValue, r);
    }
    batch += points::RewardGroup(kOwnPoints, saving[0], 10);
    batch += db::operLogStatement(
        {7, "FFuncID=1", "MCM0001", 4, "会员卡管理---挂失", "POS-01", "", saving[0], "01"});
    const std::string queued =
        hq::QueueOnHQ(cards::statusUpdateStatement('2', saving[1]), hq::HQOperation::CardStatus);
    runAndCompare(batch + queued);

    expectSameQuery(host::memberListSql(50, cards::cardSearchCondition(saving[0])));
    expectSameQuery(host::memberListSql(50, cards::cardSearchCondition(kMixedCaseCardAsTyped)));
    expectSameQuery(host::memberListSql(50, cards::cardSearchCondition("13900000001"))); // two cards
    expectSameQuery(host::memberListSql(50, cards::faceNumberSearchCondition("f-ab01")));
    expectSameQuery(host::memberListSql(50, cards::kSearchLookupFilter));
    expectSameQuery(host::memberListSql(51, ""));
    expectSameQuery(host::memberListSql(50, " FSavingFlag='1' and FCardStatus='0'  and  "
                                            "datediff(day,getdate(),FVipEndDate)>0  and  "
                                            "convert(float,dbo.f_decrypt(FResidualAmt))>=500"));
    expectSameQuery(host::memberListSql(50, " FSavingFlag='1' and FCardStatus='0'  and  "
                                            "datediff(day,getdate(),FVipEndDate)>0  and cur_num >=100"));
    // The batch query of a linked branch asks headquarters for the grid's columns only.
    expectSameQuery(host::memberListSql(
        50,
        " FSavingFlag='1' and FCardStatus='0'  and  "
        "datediff(day,getdate(),FVipEndDate)>0  and cur_num >=100",
        {"FCardId", "FVipName", "cur_num", "FDecNum", "FResidualAmt", "FCardType", "FCardTypeName"}));
    expectSameQuery("select FCardId, dbo.f_decrypt(FResidualAmt) as balance, datediff(day,FVipStartDate,"
                    "getdate()) as days, isnull(FVipTax,0)+FPlusAmt as tax, convert(varchar(10),FVipEndDate,"
                    "120) as ends from T_Pos_VipRecord where FSavingFlag=1");
    expectSameQuery(host::tableInfoSql(platform::table::GiftCatalogue,
                                       "FEndDate>=convert(varchar(10),getdate(),120) And "
                                       "FBeginDate<=convert(varchar(10),getdate(),120) and FVipNum<=500 and "
                                       "(FCardType='All' or FCardType='03')"));
    expectSameQuery("select * from t_stock where FNumber like '01_%' order by FNumber ", true);
    expectSameQuery("select FAccNum as Amt,saving_amt as Amount,FZhRate as Rate from T_Pos_VipPointToAmt "
                    "where FAccNum<= 1200 and  FTypeId='03' order by FAccNum desc",
                    true);
    expectSameQuery("select FAccNum-FDecNum as LeavePoint,* from T_Pos_VipRecord where FCardId='" +
                    saving[0] + "' And FAccNum-FDecNum>=10");
    expectSameQuery("select count(*) as n from T_Pos_VipRecord where FCardId='" +
                    std::string(kMixedCaseCardAsTyped) + "' and isnull(password,'')='pw''1'");
    expectSameQuery("select FPlusAmt from T_Pos_AddMoneyList where FCardId='" + saving[0] +
                    "' And Other1='初始金额'");
    expectSameQuery("select count(*) as n,isnull((select FLastError from t_HqOutbox where FSeq=(select "
                    "min(FSeq) from t_HqOutbox)),'') as e from t_HqOutbox");
    // The card history's reads.
    for (const std::string& read : {cards::CardRowSql(saving[0]), cards::PointsMovementsSql(saving[0]),
                                    cards::MoneyRowsSql(saving[0]), cards::CardOperationsSql(saving[0])})
        expectSameQuery(read);
}

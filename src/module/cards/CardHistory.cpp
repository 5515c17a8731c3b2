#include "CardHistory.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <stdexcept>
#include <tuple>

#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/hq/HqLink.h"
#include "platform/BalanceCodec.h"
#include "platform/MoneyListAmount.h"
#include "platform/NumberText.h"
#include "platform/PointsMovement.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {

constexpr const char* kIssueAmountMemo = platform::kInitialAmountMemo;
constexpr const char* kConversionMemo = "积分转储值";
constexpr const char* kChangeOutMemo = platform::kCardChangeOutMemo;
constexpr const char* kChangeInMemo = platform::kCardChangeInMemo;
constexpr const char* kRecharge = "充值";
constexpr const char* kCardOperation = "卡操作";

std::string cardCondition(const std::string& card)
{
    return "FCardId='" + platform::quoteDoubled(card) + "'";
}

// Rows that share a second keep the order they were written in: points movements before the
// money rows of the same operation (a conversion writes both), the operation log last.
struct Ordered
{
    HistoryEntry entry;
    int source = 0;
    long long id = 0;
};

bool newerFirst(const Ordered& a, const Ordered& b)
{
    return std::tie(a.entry.when, a.source, a.id) > std::tie(b.entry.when, b.source, b.id);
}

std::string text(const platform::Recordset& rs, std::size_t row, const char* field)
{
    return platform::trim(rs.at(row, field).toString());
}

// A money-list amount: plain decimal text is read exactly, a number through its 15 digits.
platform::Money moneyOf(const platform::Value& value)
{
    return platform::moneyListAmount(value, "").value_or(platform::Money());
}

// An amount of the mismatch: to the cent, or to the ten-thousandth when it has more decimals.
std::string amountText(platform::Money amount)
{
    return amount.rounded(2) == amount ? amount.toFixed(2) : amount.toString();
}

HistoryEntry commonPart(const platform::Recordset& rs, std::size_t row, const char* dateField,
                        const char* userField)
{
    HistoryEntry entry;
    entry.when = platform::parseDateTime(text(rs, row, dateField));
    entry.branch = text(rs, row, "FBranchNo");
    entry.operatorName = text(rs, row, userField);
    return entry;
}

} // namespace

const std::vector<std::string>& HistoryKinds()
{
    static const std::vector<std::string> kinds = {
        "积分奖励", "积分冲减",       "礼品兑换",     "积分转储值",  "积分清零",
        kRecharge,  kIssueAmountMemo, kChangeOutMemo, kChangeInMemo, kCardOperation};
    return kinds;
}

std::string CardRowSql(const std::string& card)
{
    return "select r.FCardId, r.FVipName, r.FCardStatus, r.FAccNum, r.FDecNum, r.FResidualAmt, t.type_name"
           " from T_Pos_VipRecord r left join T_Pos_VipType t on t.FTypeId=r.FCardType where r." +
           cardCondition(card) + " and r.FDeleted=0";
}

std::string PointsMovementsSql(const std::string& card)
{
    return "select g.FID, g.FOperDate, g.FBranchno as FBranchNo, g.fuserid, g.flag, g.FVipNum, g.FItemNum,"
           " g.memo, i.FName as FItemName from T_Pos_VipGiftList g left join t_Item i on i.FItemID=g.Fitemid"
           " where g." +
           cardCondition(card);
}

std::string MoneyRowsSql(const std::string& card)
{
    return "select FID, FOperDate, FBranchno as FBranchNo, fuserid, FPlusAmt, FPlusRealAmt, other1"
           " from T_Pos_AddMoneyList where " +
           cardCondition(card);
}

std::string CardOperationsSql(const std::string& card)
{
    return "select FID, FDate, FBranchNo, FUserID, FDescription from t_OperLog where " + cardCondition(card);
}

CardHistory BuildCardHistory(const std::string& card, const platform::Recordset& cardRow,
                             const platform::Recordset& points, const platform::Recordset& money,
                             const platform::Recordset& operations)
{
    CardHistory history;
    history.card = card;
    history.balance = platform::Money();
    if (!cardRow.empty()) {
        history.card = text(cardRow, 0, "FCardId");
        history.name = text(cardRow, 0, "FVipName");
        history.typeName = text(cardRow, 0, "type_name");
        history.status = frame::GetStatusName(static_cast<int>(cardRow.at(0, "FCardStatus").toInt()));
        history.points = cardRow.at(0, "FAccNum").toDouble() - cardRow.at(0, "FDecNum").toDouble();
        history.balance = platform::tryDecodeMoney(cardRow.at(0, "FResidualAmt").toString());
    }

    std::vector<Ordered> rows;
    for (std::size_t r = 0; r < points.recordCount(); ++r) {
        HistoryEntry entry = commonPart(points, r, "FOperDate", "fuserid");
        const std::string flag = text(points, r, "flag");
        entry.kind = platform::pointsMovementName(flag);
        entry.points = platform::pointsMovementSign(flag) * points.at(r, "FVipNum").toDouble();
        entry.detail = text(points, r, "memo");
        if (const std::string item = text(points, r, "FItemName"); !item.empty())
            entry.detail = item + " ×" + platform::formatNumber(points.at(r, "FItemNum").toDouble());
        rows.push_back({std::move(entry), 0, points.at(r, "FID").toInt()});
    }
    for (std::size_t r = 0; r < money.recordCount(); ++r) {
        HistoryEntry entry = commonPart(money, r, "FOperDate", "fuserid");
        const std::string memo = text(money, r, "other1");
        if (memo == kIssueAmountMemo) {
            // The issue amount is kept encoded, as the balance is.
            entry.kind = kIssueAmountMemo;
            const auto amount = platform::moneyListAmount(money.at(r, "FPlusAmt"), memo);
            entry.amount = amount.value_or(platform::Money());
            if (!amount) entry.detail = "金额无法解码";
        } else {
            // A conversion and the two halves of a card change are named by their memo; every
            // other row is a recharge, its memo the operator's.
            const bool named = memo == kConversionMemo || memo == kChangeOutMemo || memo == kChangeInMemo;
            entry.kind = named ? memo : kRecharge;
            entry.amount = moneyOf(money.at(r, "FPlusAmt"));
            entry.detail = memo;
            if (entry.kind == kRecharge)
                entry.detail = "实付" + moneyOf(money.at(r, "FPlusRealAmt")).toFixed(2) +
                               (memo.empty() ? "" : " " + memo);
        }
        rows.push_back({std::move(entry), 1, money.at(r, "FID").toInt()});
    }
    for (std::size_t r = 0; r < operations.recordCount(); ++r) {
        HistoryEntry entry = commonPart(operations, r, "FDate", "FUserID");
        entry.kind = kCardOperation;
        entry.detail = text(operations, r, "FDescription");
        rows.push_back({std::move(entry), 2, operations.at(r, "FID").toInt()});
    }
    std::sort(rows.begin(), rows.end(), newerFirst);

    double pointsAfter = history.points;
    std::optional<platform::Money> balanceAfter = history.balance;
    for (Ordered& row : rows) {
        row.entry.pointsAfter = platform::roundTo(pointsAfter, 4);
        row.entry.balanceAfter = balanceAfter;
        pointsAfter -= row.entry.points;
        if (balanceAfter) *balanceAfter -= row.entry.amount;
        history.entries.push_back(std::move(row.entry));
    }
    history.openingPoints = platform::roundTo(pointsAfter, 4);
    history.openingBalance = balanceAfter;
    return history;
}

CardHistory ReadCardHistory(const std::string& card, HistoryDatabase from)
{
    std::function<platform::Recordset(const std::string&)> query;
    std::shared_ptr<platform::Connection> connection;
    if (from == HistoryDatabase::Headquarters) {
        connection = hq::OpenHQ();
        if (!connection) throw std::runtime_error("总部数据库无法连接");
        query = [&](const std::string& sql) { return connection->openRecordset(sql); };
    } else {
        query = [](const std::string& sql) { return frame::ExecQuery(sql); };
    }
    const platform::Recordset cardRow = query(CardRowSql(card));
    if (cardRow.empty()) {
        if (connection) connection->close();
        throw std::runtime_error("不存在会员卡【" + card + "】,或该卡已被禁用！");
    }
    const platform::Recordset points = query(PointsMovementsSql(card));
    const platform::Recordset money = query(MoneyRowsSql(card));
    platform::Recordset operations;
    try {
        operations = query(CardOperationsSql(card));
    } catch (const std::exception& error) {
        // A database made before the operation log named its cards has no card operations to show.
        qCInfo(lcCards, "no card operations of card %s: %s", card.c_str(), error.what());
    }
    if (connection) connection->close();
    CardHistory history = BuildCardHistory(card, cardRow, points, money, operations);
    if (from == HistoryDatabase::Local) {
        // Every row of this database was written by its own operators: they are shown by name.
        // Headquarters holds the rows of every branch, whose operator numbers are their own.
        try {
            const platform::Recordset users = frame::ExecQuery("select FUserID, FName from t_User");
            std::map<std::string, std::string> names;
            for (std::size_t r = 0; r < users.recordCount(); ++r)
                names[users.at(r, "FUserID").toString()] = users.at(r, "FName").toString();
            for (HistoryEntry& entry : history.entries)
                if (const auto found = names.find(entry.operatorName); found != names.end())
                    entry.operatorName = found->second;
        } catch (const std::exception& error) {
            // Without the operators' names the numbers stand.
            qCWarning(lcCards, "reading the operators' names for card %s failed: %s", card.c_str(),
                      error.what());
        }
    }
    return history;
}

std::vector<HistoryEntry> FilterHistory(const std::vector<HistoryEntry>& entries, const HistoryFilter& filter)
{
    std::vector<HistoryEntry> kept;
    for (const HistoryEntry& entry : entries) {
        if (!filter.kind.empty() && entry.kind != filter.kind) continue;
        if ((filter.from || filter.to) && !entry.when) continue;
        if (filter.from && entry.when->date < *filter.from) continue;
        if (filter.to && entry.when->date > *filter.to) continue;
        kept.push_back(entry);
    }
    return kept;
}

HistoryTotals TotalsOf(const std::vector<HistoryEntry>& entries)
{
    HistoryTotals totals;
    for (const HistoryEntry& entry : entries) {
        ++totals.rows;
        totals.points += entry.points;
        totals.amount += entry.amount;
    }
    totals.points = platform::roundTo(totals.points, 4);
    return totals;
}

std::string SignedPoints(double change)
{
    if (change == 0) return {};
    return (change > 0 ? "+" : "") + platform::formatNumber(change);
}

std::string SignedAmount(platform::Money change)
{
    if (change.isZero()) return {};
    return (change.isNegative() ? "" : "+") + change.toFixed(2);
}

std::string MismatchText(const CardHistory& history)
{
    std::vector<std::string> parts;
    if (history.openingBalance && !history.openingBalance->isZero())
        parts.push_back("卡上储值余额比各笔变动的合计" +
                        std::string(history.openingBalance->isNegative() ? "少 " : "多 ") +
                        amountText(history.openingBalance->abs()) + " 元");
    if (history.openingPoints != 0)
        parts.push_back("剩余积分比各笔变动的合计" + std::string(history.openingPoints < 0 ? "少 " : "多 ") +
                        platform::formatNumber(std::fabs(history.openingPoints)));
    if (parts.empty()) return {};
    return "账目不符：" + platform::join(parts, "，") + "。差额不在以下记录中。";
}

} // namespace ormex::module::cards

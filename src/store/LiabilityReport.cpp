#include "LiabilityReport.h"

#include <map>

#include "platform/BalanceCodec.h"
#include "platform/DateTime.h"
#include "platform/MoneyListAmount.h"
#include "platform/NumberText.h"
#include "platform/PointsMovement.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

std::string statusName(const std::string& code)
{
    static const std::map<std::string, std::string> names = {{"0", "正常"}, {"1", "失效"},   {"2", "挂失"},
                                                             {"3", "作废"}, {"4", "黑名单"}, {"9", "未使用"}};
    const auto found = names.find(code);
    return found == names.end() ? "状态" + code : found->second;
}

// Lines in the order of their keys, named as the screens name them.
class Groups
{
public:
    void add(const std::string& key, const std::string& name, double balance, double points)
    {
        auto& [shownName, line] = m_lines[key];
        shownName = name;
        ++line.cards;
        line.balance += balance;
        line.points += points;
    }
    std::vector<LiabilityLine> lines() const
    {
        std::vector<LiabilityLine> out;
        for (const auto& [key, entry] : m_lines) {
            LiabilityLine line = entry.second;
            line.group = entry.first;
            out.push_back(line);
        }
        return out;
    }

private:
    std::map<std::string, std::pair<std::string, LiabilityLine>> m_lines;
};

constexpr const char* kDeletedCards = "已删除的卡";
constexpr const char* kDeletedCardsTitle =
    "已删除但仍有余额或积分的卡（不在以上分组中，已计入合计：仍欠会员）";

// Money amounts to the cent, as the screens show them: the sum of many doubles is rounded once.
double cents(double value)
{
    return platform::numberOr0(platform::formatFixed(value, 2));
}

platform::Recordset linesTable(const std::string& heading, const std::vector<LiabilityLine>& lines)
{
    std::vector<std::vector<platform::Value>> rows;
    for (const auto& line : lines)
        rows.push_back({line.group, static_cast<long long>(line.cards),
                        platform::formatFixed(line.balance, 2), platform::formatNumber(line.points)});
    return platform::Recordset({heading, "卡数", "储值余额", "剩余积分"}, std::move(rows));
}

platform::Recordset movementTable(const std::string& heading, const std::vector<MovementLine>& lines,
                                  int decimals)
{
    std::vector<std::vector<platform::Value>> rows;
    for (const auto& line : lines)
        rows.push_back(
            {line.kind, static_cast<long long>(line.rows),
             decimals ? platform::formatFixed(line.total, decimals) : platform::formatNumber(line.total)});
    return platform::Recordset({heading, "笔数", "合计"}, std::move(rows));
}

// The rows of the period, both days included. Dates are held as text, the date always written in
// full (yyyy-mm-dd) but the time not always (a single-card recharge writes "9:05:…" without the
// hour's leading zero): a row belongs to the period when its text lies from the first day on and
// before the day after the last, whatever follows the date.
std::string periodCondition(const std::string& from, const std::string& to)
{
    const auto last = platform::parseIsoDate(to);
    const std::string after = last ? last->addDays(1).toString() : to + " 99";
    return " where FOperDate >= " + platform::quoted(from) + " and FOperDate < " + platform::quoted(after);
}

} // namespace

LiabilityReport liabilityReport(TsqlDatabase& db, const std::string& from, const std::string& to)
{
    LiabilityReport report;
    report.from = from;
    report.to = to;
    Groups types, statuses, branches;
    report.deleted.group = kDeletedCards;
    auto cards = db.query("select r.FCardId, r.FCardType, t.type_name, r.FCardStatus, r.FBranchno, "
                          "r.FResidualAmt, isnull(r.FAccNum, 0) - isnull(r.FDecNum, 0) as FLeft, r.FDeleted "
                          "from T_Pos_VipRecord r left join T_Pos_VipType t on t.FTypeId = r.FCardType");
    for (; !cards.atEnd(); cards.moveNext()) {
        const std::string stored = cards.field("FResidualAmt").toString();
        const auto decoded = platform::tryDecodeBalance(platform::trim(stored));
        // Only the balance of a card whose balance does not decode is unknown: it is listed apart,
        // and the card still counts with its points.
        if (!decoded) report.undecodable.push_back({cards.field("FCardId").toString(), stored});
        const double balance = decoded.value_or(0.0);
        const double left = cards.field("FLeft").toDouble();
        if (cards.field("FDeleted").toInt() != 0) {
            if (decoded && balance == 0 && left == 0) continue;
            ++report.deleted.cards;
            report.deleted.balance += balance;
            report.deleted.points += left;
            ++report.total.cards;
            report.total.balance += balance;
            report.total.points += left;
            continue;
        }
        const std::string type = platform::trim(cards.field("FCardType").toString());
        const std::string typeName = cards.field("type_name").toString();
        types.add(type, type + " " + (typeName.empty() ? "（未知类别）" : typeName), balance, left);
        const std::string status = platform::trim(cards.field("FCardStatus").toString());
        statuses.add(status, statusName(status), balance, left);
        const std::string branch = platform::trim(cards.field("FBranchno").toString());
        branches.add(branch, branch.empty() ? "（未记分店）" : branch, balance, left);
        ++report.total.cards;
        report.total.balance += balance;
        report.total.points += left;
    }
    report.byType = types.lines();
    report.byStatus = statuses.lines();
    report.byBranch = branches.lines();
    report.total.group = "合计";
    report.total.balance = cents(report.total.balance);
    report.deleted.balance = cents(report.deleted.balance);
    for (auto* lines : {&report.byType, &report.byStatus, &report.byBranch})
        for (auto& line : *lines)
            line.balance = cents(line.balance);

    const std::string period = periodCondition(from, to);
    std::map<std::string, MovementLine> money;
    auto moves = db.query("select other1, FPlusAmt from T_Pos_AddMoneyList" + period);
    for (; !moves.atEnd(); moves.moveNext()) {
        const std::string memo = moves.field("other1").toString();
        // A card change's two rows are a transfer between cards, not money taken in.
        const bool named = memo == "积分转储值" || memo == platform::kInitialAmountMemo ||
                           memo == platform::kCardChangeOutMemo || memo == platform::kCardChangeInMemo;
        const std::string kind = named ? memo : "充值";
        MovementLine& line = money[kind];
        line.kind = kind;
        ++line.rows;
        // The issue amount is held encoded, as the card's balance is.
        const std::string amount = moves.field("FPlusAmt").toString();
        line.total += kind == platform::kInitialAmountMemo ? platform::tryDecodeBalance(amount).value_or(0.0)
                                                           : platform::numberOr0(amount);
    }
    for (const char* kind : {"充值", "积分转储值", platform::kInitialAmountMemo, platform::kCardChangeOutMemo,
                             platform::kCardChangeInMemo})
        if (money.count(kind)) {
            money[kind].total = cents(money[kind].total);
            report.money.push_back(money[kind]);
        }
    auto points = db.query("select flag, count(*) as n, sum(FVipNum) as total from T_Pos_VipGiftList" +
                           period + " group by flag order by flag");
    for (; !points.atEnd(); points.moveNext())
        report.points.push_back(
            {platform::pointsMovementName(platform::trim(points.field("flag").toString())),
             static_cast<long>(points.field("n").toInt()), points.field("total").toDouble()});
    return report;
}

std::vector<std::pair<std::string, platform::Recordset>> liabilityTables(const LiabilityReport& report)
{
    std::vector<std::pair<std::string, platform::Recordset>> tables;
    tables.emplace_back("按卡类别", linesTable("卡类别", report.byType));
    tables.emplace_back("按卡状态", linesTable("卡状态", report.byStatus));
    tables.emplace_back("按分店", linesTable("分店", report.byBranch));
    tables.emplace_back(kDeletedCardsTitle, linesTable("", {report.deleted}));
    tables.emplace_back("合计", linesTable("", {report.total}));
    std::vector<std::vector<platform::Value>> bad;
    for (const auto& card : report.undecodable)
        bad.push_back({card.card, card.stored});
    tables.emplace_back("无法解码的余额（未计入合计）",
                        platform::Recordset({"卡号", "FResidualAmt"}, std::move(bad)));
    const std::string period = report.from + " 至 " + report.to;
    tables.emplace_back("储值变动 " + period, movementTable("类别", report.money, 2));
    tables.emplace_back("积分变动 " + period, movementTable("类别", report.points, 0));
    return tables;
}

} // namespace ormex::db

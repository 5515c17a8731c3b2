#include "Reconciliation.h"

#include <map>

#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"
#include "platform/ReplayOperation.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Cards asked of headquarters in one query.
constexpr std::size_t kCardsAtOnce = 500;

CardValues valuesOf(const platform::Recordset& rows)
{
    return {platform::tryDecodeMoney(platform::trim(rows.field("FResidualAmt").toString())),
            rows.field("FAccNum").toDouble(), rows.field("FDecNum").toDouble()};
}

// Card numbers compare as the databases compare them: without regard to ASCII case or trailing
// blanks.
std::string key(const std::string& card)
{
    return platform::toLowerAscii(platform::trimRight(card));
}

std::string balanceText(const CardValues& values)
{
    return values.balance ? values.balance->toFixed(2) : std::string("无法解码");
}

// What still waits to reach headquarters, by card.
std::map<std::string, std::vector<std::string>> waitingChanges(Database& branch)
{
    std::map<std::string, std::vector<std::string>> waiting;
    for (auto rows =
             branch.query("select c.FCardId, o.FSeq, o.FOperation, o.FState from t_HqOutboxCard c join "
                          "t_HqOutbox o on o.FSeq=c.FSeq order by o.FSeq");
         !rows.atEnd(); rows.moveNext())
        waiting[key(rows.field("FCardId").toString())].push_back(
            std::string(platform::iequals(rows.field("FState").toString(), "held") ? "总部拒收（已暂存）"
                                                                                   : "待上传") +
            "：第" + rows.field("FSeq").toString() + "笔 " +
            platform::replayOperationName(static_cast<int>(rows.field("FOperation").toInt())));
    for (auto rows = branch.query(
             "select FCardId, count(*) as n from T_Pos_VipGiftList where FComFlag=0 group by FCardId");
         !rows.atEnd(); rows.moveNext())
        waiting[key(rows.field("FCardId").toString())].push_back("积分奖励待交换：" +
                                                                 rows.field("n").toString() + "笔");
    return waiting;
}

} // namespace

long Reconciliation::unexplained() const
{
    long count = 0;
    for (const CardDifference& difference : differences)
        if (!difference.explained()) ++count;
    return count;
}

Reconciliation reconcile(Database& branch, TsqlDatabase& headquarters)
{
    Reconciliation result;
    const auto waiting = waitingChanges(branch);
    const std::string branchNo =
        platform::trim(branch
                           .query("select FValue from t_SystemProfile where lower(FCategory)='ic' and "
                                  "lower(FKey)='g_branch_no'")
                           .field("FValue")
                           .toString());
    auto cards = branch.query(
        "select FCardId, FResidualAmt, FAccNum, FDecNum, FLedgerSeq from T_Pos_VipRecord order by FCardId");
    while (!cards.atEnd()) {
        std::vector<std::pair<std::string, CardValues>> chunk;
        std::map<std::string, long long> ledgerHere;
        std::string list;
        for (; !cards.atEnd() && chunk.size() < kCardsAtOnce; cards.moveNext()) {
            chunk.emplace_back(cards.field("FCardId").toString(), valuesOf(cards));
            ledgerHere[key(chunk.back().first)] = cards.field("FLedgerSeq").toInt();
            list += (list.empty() ? "" : ",") + platform::quoted(chunk.back().first);
        }
        std::map<std::string, long long> ledgerSeen;
        for (auto rows = headquarters.query("select FCardId, FSeq from t_BranchLedgerHead where FBranchNo=" +
                                            platform::quoted(branchNo) + " and FCardId in (" + list + ")");
             !rows.atEnd(); rows.moveNext())
            ledgerSeen[key(rows.field("FCardId").toString())] = rows.field("FSeq").toInt();
        std::map<std::string, CardValues> there;
        for (auto rows = headquarters.query(
                 "select FCardId, FResidualAmt, FAccNum, FDecNum from T_Pos_VipRecord where FCardId in (" +
                 list + ")");
             !rows.atEnd(); rows.moveNext())
            there.emplace(key(rows.field("FCardId").toString()), valuesOf(rows));
        for (auto& [card, values] : chunk) {
            ++result.cardsCompared;
            const auto found = there.find(key(card));
            std::string behind;
            if (const auto seen = ledgerSeen.find(key(card));
                seen != ledgerSeen.end() && seen->second > ledgerHere[key(card)])
                behind = "分店账本停在第" + std::to_string(ledgerHere[key(card)]) + "笔流水，总部已见到第" +
                         std::to_string(seen->second) + "笔：分店数据库可能被旧的备份替换";
            if (found != there.end() && found->second == values && behind.empty()) continue;
            CardDifference difference{card, values, std::nullopt, {}, behind};
            if (found != there.end()) difference.headquarters = found->second;
            if (const auto why = waiting.find(key(card)); why != waiting.end())
                difference.explanations = why->second;
            result.differences.push_back(std::move(difference));
        }
    }
    return result;
}

platform::Recordset differencesTable(const Reconciliation& reconciliation)
{
    std::vector<std::vector<platform::Value>> rows;
    for (const CardDifference& d : reconciliation.differences) {
        const bool there = d.headquarters.has_value();
        rows.push_back({d.card, balanceText(d.branch), there ? balanceText(*d.headquarters) : "总部无此卡",
                        platform::formatNumber(d.branch.accumulated),
                        there ? platform::formatNumber(d.headquarters->accumulated) : "",
                        platform::formatNumber(d.branch.used),
                        there ? platform::formatNumber(d.headquarters->used) : "",
                        !d.ledgerBehind.empty()  ? d.ledgerBehind
                        : d.explanations.empty() ? "未能解释"
                                                 : platform::join(d.explanations, "；")});
    }
    return platform::Recordset({"卡号", "分店储值余额", "总部储值余额", "分店累计积分", "总部累计积分",
                                "分店已用积分", "总部已用积分", "说明"},
                               std::move(rows));
}

} // namespace ormex::db

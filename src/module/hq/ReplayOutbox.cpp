#include "ReplayOutbox.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>

#include "DataExchange.h"
#include "HqLink.h"
#include "OperationLog.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

using platform::quoted;

constexpr const char* kCrLf = "\r\n";
constexpr std::size_t kKeptErrorLength = 400;

// Which database a queued change comes from, as headquarters keys its replays: made once per
// database, so that a branch database made again does not meet the sequence numbers of the old
// one at headquarters.
constexpr const char* kOriginCondition = "FCategory='VIP' and FKey='HqReplayOrigin'";

// A branch's batch as headquarters runs it. A use of a card's points (a deduction, an exchange, a
// conversion to stored value) raises the card's used points where the session's branch is the
// database's own, or where that branch's totals row of the card was there before the batch
// ("… or @blnIsinset<n>=1"). At the branch the first is always so; at headquarters only the
// second, so a branch's first use of a card's points would leave headquarters' remaining points as
// they were and another branch could spend the same points again. At headquarters every replayed
// use raises them.
std::string asReplayedAtHeadquarters(const std::string& statements)
{
    static constexpr std::string_view kOwnCard = " or @blnIsinset";
    std::string out;
    out.reserve(statements.size());
    std::size_t from = 0;
    for (std::size_t at = statements.find(kOwnCard); at != std::string::npos;
         at = statements.find(kOwnCard, at + 1)) {
        std::size_t end = at + kOwnCard.size();
        while (end < statements.size() && statements[end] >= '0' && statements[end] <= '9')
            ++end;
        if (end == at + kOwnCard.size() || statements.compare(end, 2, "=1") != 0) continue;
        out.append(statements, from, at - from);
        out += " or 1=1";
        from = end + 2;
    }
    out.append(statements, from, std::string::npos);
    return out;
}

std::string newOrigin()
{
    std::random_device random;
    char text[40];
    std::snprintf(text, sizeof text, "%08x%08x%08x%08x", random(), random(), random(), random());
    return text;
}

struct Queued
{
    std::string seq;
    std::string origin;
    std::string branchNo;
    std::string batch;
    int refusals = 0;
    std::vector<platform::ReadCheck> checks;
};

// A check's value as the queue keeps it: its type, and its text (nothing for null).
std::pair<const char*, std::string> typedText(const platform::Value& value)
{
    using Type = platform::Value::Type;
    switch (value.type()) {
    case Type::Null:
        return {"null", {}};
    case Type::Bool:
        return {"bool", value.toBool() ? "1" : "0"};
    case Type::Int:
        return {"int", std::to_string(value.toInt())};
    case Type::Double: {
        // The shortest text that reads back as the same bits, whatever the process's locale.
        char digits[40];
        const auto end = std::to_chars(digits, digits + sizeof digits, value.toDouble()).ptr;
        return {"real", std::string(digits, end)};
    }
    case Type::Text:
        return {"text", value.toString()};
    }
    return {"null", {}};
}

platform::Value valueOf(const std::string& type, const platform::Value& stored)
{
    const std::string text = stored.toString();
    if (type == "bool") return platform::Value(text == "1");
    if (type == "int") return platform::Value(static_cast<long long>(std::stoll(text)));
    if (type == "real") {
        double number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size())
            throw std::runtime_error("a queued read check is damaged");
        return platform::Value(number);
    }
    if (type == "text") return platform::Value(text);
    return {};
}

// A fingerprint of the replay (FNV-1a, 64 bits): the same number from the same origin with another
// text means the branch database was copied or restored, and the change is not the one recorded.
std::string digest(const std::string& text)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(hash));
    return hex;
}

// The statement that records the replay at headquarters; it comes first in the replay, so a
// replay headquarters holds already is refused before any of its statements runs.
std::string replayRecord(const Queued& q)
{
    return "insert into t_HqReplay (FOrigin,FSeq,FBranchNo,FDigest,FDate) values (" + quoted(q.origin) + "," +
           q.seq + "," + quoted(q.branchNo) + "," + quoted(digest(q.batch)) + ",getdate())";
}

// Headquarters holds another change under the number of this one.
class AnotherChangeHeld : public std::runtime_error
{
public:
    AnotherChangeHeld()
        : std::runtime_error("总部已记录同一编号的另一笔变更（分店数据库可能是复制或恢复的），请与管理员联系")
    {
    }
};

// True when headquarters holds this replay. Throws AnotherChangeHeld when it holds another under
// the same number.
bool heldByHQ(platform::Connection& connection, const Queued& q)
{
    const auto rs = connection.openRecordset(
        "select FDigest from t_HqReplay where FOrigin=" + quoted(q.origin) + " and FSeq=" + q.seq);
    if (rs.atEnd()) return false;
    if (rs.field("FDigest").toString() != digest(q.batch)) throw AnotherChangeHeld();
    return true;
}

// What headquarters keeps of this branch's cards the change touches: the head of each card's
// movement ledger here as it stands now, so that a branch put back from an older copy of its
// database shows behind what headquarters saw (reconciliation). A head only moves forward.
std::string ledgerHeads(const Queued& q)
{
    std::string statements;
    for (auto rs =
             frame::ExecQuery("select FCardId,FLedgerSeq,FLedgerHash from T_Pos_VipRecord where FCardId in "
                              "(select FCardId from t_HqOutboxCard where FSeq=" +
                              q.seq + ")");
         !rs.atEnd(); rs.moveNext()) {
        const std::string where = " where FBranchNo=" + quoted(q.branchNo) +
                                  " and FCardId=" + quoted(rs.field("FCardId").toString());
        const std::string seq = std::to_string(rs.field("FLedgerSeq").toInt());
        const std::string hash = quoted(rs.field("FLedgerHash").toString());
        statements += std::string(kCrLf) + "if exists (select 1 from t_BranchLedgerHead" + where + ")" +
                      kCrLf + " update t_BranchLedgerHead set FSeq=" + seq + ",FHash=" + hash +
                      ",FDate=getdate()" + where + " and FSeq<" + seq + kCrLf + "else" + kCrLf +
                      " insert into t_BranchLedgerHead (FBranchNo,FCardId,FSeq,FHash,FDate) values (" +
                      quoted(q.branchNo) + "," + quoted(rs.field("FCardId").toString()) + "," + seq + "," +
                      hash + ",getdate())";
    }
    return statements;
}

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

enum class Outcome { Applied, NotReached, Refused };

// Applies the change at headquarters unless it holds it already. The reason when it did not.
Outcome applyOnHQ(const Queued& q, std::string& error)
{
    auto connection = OpenHQ();
    if (!connection) {
        error = kHQUnreachableMessage;
        return Outcome::NotReached;
    }
    try {
        if (!heldByHQ(*connection, q)) {
            const std::string replay = replayRecord(q) + kCrLf + q.batch + ledgerHeads(q);
            if (q.checks.empty())
                connection->execute(replay);
            else
                connection->executeChecked(replay, q.checks);
        }
        connection->close();
        return Outcome::Applied;
    } catch (const AnotherChangeHeld& failure) {
        error = failure.what();
        return Outcome::Refused;
    } catch (const platform::UnavailableError& failure) {
        error = failure.what();
        return Outcome::NotReached;
    } catch (const std::exception& failure) {
        error = failure.what();
    }
    try {
        // Another operator of this branch may have sent the same change meanwhile.
        const bool held = heldByHQ(*connection, q);
        connection->close();
        if (held) return Outcome::Applied;
    } catch (const std::exception& failure) {
        qCWarning(lcHq, "asking headquarters whether it holds queued change %s failed: %s", q.seq.c_str(),
                  failure.what());
        return Outcome::NotReached;
    }
    // Headquarters answers and does not take the change; unless the link went meanwhile.
    return ConnHQ() ? Outcome::Refused : Outcome::NotReached;
}

std::optional<Queued> oldestWaiting()
{
    const auto rs = frame::ExecQuery(
        "select FSeq,FOrigin,FBranchNo,FBatch,FAttempts from t_HqOutbox where FSeq=(select min(FSeq) from "
        "t_HqOutbox where FState='waiting')");
    if (rs.atEnd()) return std::nullopt;
    Queued q{rs.field("FSeq").toString(),
             rs.field("FOrigin").toString(),
             rs.field("FBranchNo").toString(),
             rs.field("FBatch").toString(),
             static_cast<int>(rs.field("FAttempts").toInt()),
             {}};
    for (auto checks = frame::ExecQuery(
             "select FSql,FField,FValueType,FValue from t_HqOutboxCheck where FSeq=" + q.seq +
             " order by FNo");
         !checks.atEnd(); checks.moveNext())
        q.checks.push_back({checks.field("FSql").toString(), checks.field("FField").toString(),
                            valueOf(checks.field("FValueType").toString(), checks.field("FValue"))});
    return q;
}

std::string forgotten(const std::string& seq)
{
    return "delete from t_HqOutboxCheck where FSeq=" + seq + kCrLf +
           "delete from t_HqOutboxCard where FSeq=" + seq + kCrLf +
           "delete from t_HqOutbox where FSeq=" + seq;
}

} // namespace

std::string ReplayOrigin()
{
    const std::string read = std::string("select FValue from t_SystemProfile where ") + kOriginCondition;
    std::string origin = frame::GetFieldValue(read, "FValue").toString();
    if (!origin.empty()) return origin;
    frame::ExecuteSQL(std::string("if not exists (select 1 from t_SystemProfile where ") + kOriginCondition +
                      ")" + kCrLf +
                      " insert into t_SystemProfile (FCategory,FKey,FValue) values ('VIP','HqReplayOrigin'," +
                      quoted(newOrigin()) + ")");
    return frame::GetFieldValue(read, "FValue").toString();
}

std::string QueueOnHQ(const std::string& statements, HQOperation operation,
                      const std::vector<platform::ReadCheck>& checks, const std::vector<std::string>& cards)
{
    if (!frame::IsHQLinkedBranch()) return {};
    const std::string replay = asReplayedAtHeadquarters(statements) + kCrLf + LogRowStatement(operation);
    std::string queued =
        std::string(kCrLf) + "if not exists (select 1 from t_SystemProfile where " + kOriginCondition + ")" +
        kCrLf + " insert into t_SystemProfile (FCategory,FKey,FValue) values ('VIP','HqReplayOrigin'," +
        quoted(newOrigin()) + ")" + kCrLf +
        "insert into t_HqOutbox (FOrigin,FBranchNo,FDate,FOperation,FBatch,FState)" + kCrLf +
        " select FValue," + quoted(frame::GetBranchNum()) + ",getdate()," +
        std::to_string(static_cast<int>(operation)) + "," + quoted(replay) +
        ",'waiting' from t_SystemProfile where " + kOriginCondition;
    if (checks.empty() && cards.empty()) return queued;
    queued += std::string(kCrLf) + "declare @ormexOutboxSeq int" + kCrLf +
              "set @ormexOutboxSeq = (select max(FSeq) from t_HqOutbox)";
    int no = 0;
    for (const platform::ReadCheck& check : checks) {
        const auto [type, text] = typedText(check.expected);
        queued +=
            std::string(kCrLf) + "insert into t_HqOutboxCheck (FSeq,FNo,FSql,FField,FValueType,FValue)" +
            " select @ormexOutboxSeq," + std::to_string(++no) + "," + quoted(check.sql) + "," +
            quoted(check.field) + ",'" + type + "'," + (check.expected.isNull() ? "NULL" : quoted(text));
    }
    std::set<std::string> named; // a card once, as headquarters compares card numbers
    for (const std::string& card : cards)
        if (named.insert(platform::toLowerAscii(platform::trimRight(card))).second)
            queued += std::string(kCrLf) +
                      "insert into t_HqOutboxCard (FSeq,FCardId) select @ormexOutboxSeq," +
                      quoted(platform::trimRight(card));
    return queued;
}

ReplayState SendQueuedToHQ()
{
    try {
        if (!frame::IsHQLinkedBranch()) return QueuedForHQ();
        bool reached = true;
        while (const auto q = oldestWaiting()) {
            std::string error;
            const Outcome outcome = applyOnHQ(*q, error);
            if (outcome == Outcome::Applied) {
                frame::ExecuteSQL(forgotten(q->seq));
                continue;
            }
            // The queue keeps the first line of the error; the log keeps all of it.
            qCWarning(lcHq, "queued change %s was not applied at headquarters (%s): %s", q->seq.c_str(),
                      outcome == Outcome::Refused ? "refused" : "not reached", error.c_str());
            // Kept, with what went wrong, for the next attempt.
            error = quoted(platform::firstCharacters(firstLine(error), kKeptErrorLength));
            if (outcome == Outcome::NotReached) {
                // The changes after it wait too, so headquarters applies them in the order they
                // were made.
                frame::ExecuteSQL("update t_HqOutbox set FLastError=" + error + " where FSeq=" + q->seq);
                reached = false;
                break;
            }
            const std::string refusals = std::to_string(q->refusals + 1);
            if (q->refusals + 1 < kHeldAfterRefusals) {
                frame::ExecuteSQL("update t_HqOutbox set FAttempts=" + refusals + ",FLastError=" + error +
                                  " where FSeq=" + q->seq);
                break;
            }
            // Refused for good as far as the branch can tell: set aside for an administrator, and
            // the changes after it go on.
            frame::ExecuteSQL("update t_HqOutbox set FState='held',FHeldDate=getdate(),FAttempts=" +
                              refusals + ",FLastError=" + error + " where FSeq=" + q->seq);
        }
        if (reached) ExchangeWithHQ();
    } catch (const std::exception& error) {
        // The queue stays as it is; the next attempt starts again from its oldest change.
        qCWarning(lcHq, "sending the queue to headquarters failed: %s", error.what());
    }
    return QueuedForHQ();
}

bool NothingWaitsForHQ()
{
    if (!frame::IsHQLinkedBranch()) return true;
    const ReplayState state = SendQueuedToHQ();
    if (state.waiting == 0) return true;
    std::string text = "尚有" + std::to_string(state.waiting) + "笔变更未上传总部，请先上传后再操作！";
    if (!state.lastError.empty()) text += "\r\n" + state.lastError;
    frame::Messages().message(text, "提示", platform::MessageIcon::Information);
    return false;
}

ReplayState QueuedForHQ()
{
    try {
        const auto rs = frame::ExecQuery(
            "select (select count(*) from t_HqOutbox where FState='waiting') as n,"
            " (select count(*) from t_HqOutbox where FState='held') as h,"
            " isnull((select FLastError from t_HqOutbox where FSeq=(select min(FSeq) from t_HqOutbox"
            " where FState='waiting')),'') as e");
        if (rs.atEnd()) return {};
        return {static_cast<int>(rs.field("n").toInt()) + PendingExchange(),
                static_cast<int>(rs.field("h").toInt()), rs.field("e").toString()};
    } catch (const std::exception& error) {
        qCWarning(lcHq, "reading the queue for headquarters failed: %s", error.what());
        return {};
    }
}

} // namespace ormex::module::hq

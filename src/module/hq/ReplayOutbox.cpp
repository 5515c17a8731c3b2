#include "ReplayOutbox.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>
#include <stdexcept>

#include "HqLink.h"
#include "OperationLog.h"
#include "module/frame/Gateway.h"
#include "module/frame/Session.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

constexpr const char* kCrLf = "\r\n";
constexpr char kFieldSeparator = '\x1f';
constexpr char kCheckSeparator = '\x1e';
constexpr std::size_t kKeptErrorLength = 400;
constexpr const char* kUnreachable = "总部数据库无法连接";

// Which database a queued change comes from, as headquarters keys its replays: made once per
// database, so that a branch database made again does not meet the sequence numbers of the old
// one at headquarters.
constexpr const char* kOriginCondition = "FCategory='VIP' and FKey='HqReplayOrigin'";

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
    std::vector<platform::ReadCheck> checks;
};

std::string encodeValue(const platform::Value& value)
{
    using Type = platform::Value::Type;
    switch (value.type()) {
    case Type::Null:
        return "N";
    case Type::Bool:
        return value.toBool() ? "B1" : "B0";
    case Type::Int:
        return "I" + std::to_string(value.toInt());
    case Type::Double: {
        // The shortest text that reads back as the same bits, whatever the process's locale.
        char digits[40];
        const auto end = std::to_chars(digits, digits + sizeof digits, value.toDouble()).ptr;
        return "D" + std::string(digits, end);
    }
    case Type::Text:
        return "T" + value.toString();
    }
    return "N";
}

platform::Value decodeValue(const std::string& text)
{
    if (text.empty()) return {};
    const std::string rest = text.substr(1);
    switch (text[0]) {
    case 'B':
        return platform::Value(rest == "1");
    case 'I':
        return platform::Value(std::stoll(rest));
    case 'D': {
        double number = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (error != std::errc() || end != rest.data() + rest.size())
            throw std::runtime_error("a queued read check is damaged");
        return platform::Value(number);
    }
    case 'T':
        return platform::Value(rest);
    default:
        return {};
    }
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
    return "insert into t_HqReplay (FOrigin,FSeq,FBranchNo,FDigest,FDate) values (" +
           platform::quoted(q.origin) + "," + q.seq + "," + platform::quoted(q.branchNo) + "," +
           platform::quoted(digest(q.batch)) + ",getdate())";
}

// True when headquarters holds this replay. Throws when it holds another under the same number.
bool heldByHQ(platform::Connection& connection, const Queued& q)
{
    const auto rs = connection.openRecordset(
        "select FDigest from t_HqReplay where FOrigin=" + platform::quoted(q.origin) + " and FSeq=" + q.seq);
    if (rs.atEnd()) return false;
    if (rs.field("FDigest").toString() != digest(q.batch))
        throw std::runtime_error(
            "总部已记录同一编号的另一笔变更（分店数据库可能是复制或恢复的），请与管理员联系");
    return true;
}

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

// Applies the change at headquarters unless it holds it already. False with the reason when
// headquarters did not take it.
bool applyOnHQ(const Queued& q, std::string& error)
{
    auto connection = OpenHQ();
    if (!connection) {
        error = kUnreachable;
        return false;
    }
    try {
        if (!heldByHQ(*connection, q)) {
            const std::string replay = replayRecord(q) + kCrLf + q.batch;
            if (q.checks.empty())
                connection->execute(replay);
            else
                connection->executeChecked(replay, q.checks);
        }
        connection->close();
        return true;
    } catch (const std::exception& failure) {
        error = failure.what();
    }
    try {
        // Another operator of this branch may have sent the same change meanwhile.
        const bool held = heldByHQ(*connection, q);
        connection->close();
        return held;
    } catch (const std::exception&) {
        return false;
    }
}

std::optional<Queued> oldestQueued()
{
    const auto rs = frame::ExecQuery("select FSeq,FOrigin,FBranchNo,FBatch,FChecks from t_HqOutbox"
                                     " where FSeq=(select min(FSeq) from t_HqOutbox)");
    if (rs.atEnd()) return std::nullopt;
    return Queued{rs.field("FSeq").toString(), rs.field("FOrigin").toString(),
                  rs.field("FBranchNo").toString(), rs.field("FBatch").toString(),
                  DecodeChecks(rs.field("FChecks").toString())};
}

} // namespace

std::string QueueOnHQ(const std::string& statements, HQOperation operation,
                      const std::vector<platform::ReadCheck>& checks)
{
    if (!frame::IsHQLinkedBranch()) return {};
    const std::string replay = statements + kCrLf + LogRowStatement(operation);
    return std::string(kCrLf) + "if not exists (select 1 from t_SystemProfile where " + kOriginCondition +
           ")" + kCrLf +
           " insert into t_SystemProfile (FCategory,FKey,FValue) values ('VIP','HqReplayOrigin'," +
           platform::quoted(newOrigin()) + ")" + kCrLf +
           "insert into t_HqOutbox (FOrigin,FBranchNo,FDate,FOperation,FBatch,FChecks)" + kCrLf +
           " select FValue," + platform::quoted(frame::GetBranchNum()) + ",getdate()," +
           std::to_string(static_cast<int>(operation)) + "," + platform::quoted(replay) + "," +
           platform::quoted(EncodeChecks(checks)) + " from t_SystemProfile where " + kOriginCondition;
}

ReplayState SendQueuedToHQ()
{
    try {
        if (!frame::IsHQLinkedBranch()) return QueuedForHQ();
        while (const auto q = oldestQueued()) {
            std::string error;
            if (!applyOnHQ(*q, error)) {
                // Kept, with what went wrong, for the next attempt; the later changes wait behind it
                // so that headquarters applies them in the order they were made.
                error = platform::firstCharacters(firstLine(error), kKeptErrorLength);
                frame::ExecuteSQL("update t_HqOutbox set FAttempts=FAttempts+1,FLastError=" +
                                  platform::quoted(error) + " where FSeq=" + q->seq);
                break;
            }
            frame::ExecuteSQL("delete from t_HqOutbox where FSeq=" + q->seq);
        }
    } catch (const std::exception&) {
        // The queue stays as it is; the next attempt starts again from its oldest change.
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
            "select count(*) as n,isnull((select FLastError from t_HqOutbox where FSeq=(select min(FSeq) "
            "from t_HqOutbox)),'') as e from t_HqOutbox");
        if (rs.atEnd()) return {};
        return {static_cast<int>(rs.field("n").toInt()), rs.field("e").toString()};
    } catch (const std::exception&) {
        return {};
    }
}

std::string EncodeChecks(const std::vector<platform::ReadCheck>& checks)
{
    std::string text;
    for (const platform::ReadCheck& check : checks) {
        if (!text.empty()) text += kCheckSeparator;
        text += check.sql + kFieldSeparator + check.field + kFieldSeparator + encodeValue(check.expected);
    }
    return text;
}

std::vector<platform::ReadCheck> DecodeChecks(const std::string& text)
{
    std::vector<platform::ReadCheck> checks;
    if (text.empty()) return checks;
    for (const std::string& one : platform::split(text, kCheckSeparator)) {
        const auto parts = platform::split(one, kFieldSeparator);
        if (parts.size() != 3) throw std::runtime_error("a queued read check is damaged");
        checks.push_back({parts[0], parts[1], decodeValue(parts[2])});
    }
    return checks;
}

} // namespace ormex::module::hq

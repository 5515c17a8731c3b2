#include "HqOutbox.h"

#include <cstdint>
#include <cstdio>

#include "OperLog.h"
#include "platform/ReplayOperation.h"
#include "platform/Text.h"
#include "sql/DbError.h"

namespace ormex::db {

namespace {

// FNV-1a of the statements, to name in the log what was discarded.
std::string fingerprint(const std::string& text)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (const unsigned char c : text) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(hash));
    return hex;
}

QueuedChange heldChange(Database& db, long long seq)
{
    for (const QueuedChange& change : queuedChanges(db, true))
        if (change.seq == seq) return change;
    throw DbError("no held change numbered " + std::to_string(seq));
}

std::string logRow(const QueuedChange& change, const OutboxOperator& who, const std::string& what)
{
    OperLogRow row;
    row.userId = who.userId;
    row.functionId = "HQOUTBOX";
    row.type = 1;
    row.description = what + "【" + change.operationName + "】（第" + std::to_string(change.seq) + "笔，" +
                      platform::join(change.cards, "、") + "）：" + change.lastError + "；操作员：" +
                      who.name;
    row.machineName = who.machine;
    row.cardId = change.cards.size() == 1 ? change.cards.front() : std::string();
    return operLogStatement(row);
}

} // namespace

std::vector<QueuedChange> queuedChanges(Database& db, bool heldOnly)
{
    std::vector<QueuedChange> changes;
    auto rows =
        db.query(std::string("select FSeq, FDate, FOperation, FState, FAttempts, FLastError, FHeldDate "
                             "from t_HqOutbox") +
                 (heldOnly ? " where FState='held'" : "") + " order by FSeq");
    for (; !rows.atEnd(); rows.moveNext()) {
        QueuedChange change;
        change.seq = rows.field("FSeq").toInt();
        change.date = rows.field("FDate").toString();
        change.operation = static_cast<int>(rows.field("FOperation").toInt());
        change.operationName = platform::replayOperationName(change.operation);
        change.held = platform::iequals(rows.field("FState").toString(), "held");
        change.refusals = static_cast<int>(rows.field("FAttempts").toInt());
        change.lastError = rows.field("FLastError").toString();
        change.heldDate = rows.field("FHeldDate").toString();
        changes.push_back(std::move(change));
    }
    for (QueuedChange& change : changes)
        for (auto cards = db.query("select FCardId from t_HqOutboxCard where FSeq=" +
                                   std::to_string(change.seq) + " order by FCardId");
             !cards.atEnd(); cards.moveNext())
            change.cards.push_back(cards.field("FCardId").toString());
    return changes;
}

void retryHeldChange(Database& db, long long seq, const OutboxOperator& who)
{
    const QueuedChange change = heldChange(db, seq);
    db.execute("update t_HqOutbox set FState='waiting', FAttempts=0, FHeldDate=NULL where FSeq=" +
               std::to_string(seq) + "\r\n" + logRow(change, who, "重新上传总部拒收的变更"));
}

void discardHeldChange(Database& db, long long seq, const OutboxOperator& who)
{
    const QueuedChange change = heldChange(db, seq);
    const std::string batch = db.query("select FBatch from t_HqOutbox where FSeq=" + std::to_string(seq))
                                  .field("FBatch")
                                  .toString();
    const std::string number = std::to_string(seq);
    db.execute("delete from t_HqOutboxCheck where FSeq=" + number +
               "\r\ndelete from t_HqOutboxCard where FSeq=" + number +
               "\r\ndelete from t_HqOutbox where FSeq=" + number + "\r\n" +
               logRow(change, who, "放弃总部拒收的变更（语句指纹 " + fingerprint(batch) + "）"));
}

} // namespace ormex::db

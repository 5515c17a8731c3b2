#include "DataExchange.h"

#include <algorithm>
#include <vector>

#include "HqLink.h"
#include "ReplayOutbox.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::hq {

namespace {

using platform::quoted;

constexpr const char* kCrLf = "\r\n";
// Movements sent in one transaction at headquarters.
constexpr std::size_t kMovementsAtOnce = 200;

// A number column as a statement writes it; a missing number is 0.
std::string number(const platform::FieldMap& row, const char* field)
{
    const platform::Value value = row.value(field);
    return value.isNumeric() ? platform::formatNumber(value.toDouble()) : "0";
}

} // namespace

std::string ExchangedMovementStatements(const platform::FieldMap& movement)
{
    const std::string card = quoted(movement.text("FCardId"));
    const std::string branchId = number(movement, "Fbranchid");
    const std::string branchNo = quoted(movement.text("FBranchno"));
    const std::string points = number(movement, "FVipNum");
    std::string batch =
        "insert into T_Pos_VipGiftList (Fbranchid,FBranchno,FCardId,flag,Fitemid,FItemNum,FVipNum,"
        "FVipPlusAmt,fuserid,FOperDate,FAuxPropID,memo,FComFlag) values (" +
        branchId + "," + branchNo + "," + card + "," + quoted(movement.text("flag")) + "," +
        number(movement, "Fitemid") + "," + number(movement, "FItemNum") + "," + points + "," +
        number(movement, "FVipPlusAmt") + "," + number(movement, "fuserid") + "," +
        quoted(movement.text("FOperDate")) + "," + number(movement, "FAuxPropID") + "," +
        quoted(movement.text("memo")) + ",1)";
    if (platform::trim(movement.text("flag")) != "3") return batch;
    // A reward: the card's accumulated points and this branch's totals, as the reward changed them
    // here.
    const std::string thisBranch = " where FCardId=" + card + " and FBranchID=" + branchId;
    return batch + kCrLf + "If Not Exists(select 1 from T_Pos_VipConsume" + thisBranch + ")" + kCrLf +
           " insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipCurAccNum,FVipAccNum,FComFlag)"
           " select " +
           card + "," + branchId + "," + branchNo + "," + points + "," + points + ",'1'" + kCrLf + "Else" +
           kCrLf + " update T_Pos_VipConsume set FVipCurAccNum=isnull(FVipCurAccNum,0)+" + points +
           ",FVipAccNum=isnull(FVipAccNum,0)+" + points + thisBranch + kCrLf +
           "update T_Pos_VipRecord set FAccNum=isnull(FAccNum,0)+" + points + " where FCardId=" + card;
}

int PendingExchange()
{
    try {
        if (!frame::IsHQLinkedBranch()) return 0;
        return static_cast<int>(
            frame::GetFieldValue("select count(*) as n from T_Pos_VipGiftList where FComFlag=0", "n")
                .toInt());
    } catch (const std::exception& error) {
        qCWarning(lcHq, "counting the points movements to exchange failed: %s", error.what());
        return 0;
    }
}

void ExchangeWithHQ()
{
    try {
        if (!frame::IsHQLinkedBranch() || PendingExchange() == 0) return;
        // Headquarters knows the exchange's movements by the branch's replay origin with "/exchange",
        // beside its replays' sequence numbers.
        const std::string origin = quoted(ReplayOrigin() + "/exchange");
        const std::string branchNo = quoted(frame::GetBranchNum());
        platform::Recordset pending = frame::ExecQuery(
            "select "
            "FID,Fbranchid,FBranchno,FCardId,flag,Fitemid,FItemNum,FVipNum,FVipPlusAmt,fuserid,FOperDate,"
            "FAuxPropID,memo from T_Pos_VipGiftList where FComFlag=0 order by FID");
        while (!pending.atEnd()) {
            std::vector<platform::FieldMap> rows;
            for (; !pending.atEnd() && rows.size() < kMovementsAtOnce; pending.moveNext())
                rows.push_back(pending.currentRecord());
            std::string numbers;
            for (const platform::FieldMap& row : rows)
                numbers += (numbers.empty() ? "" : ",") + row.value("FID").toString();
            auto connection = OpenHQ();
            if (!connection) return;
            // Those headquarters holds already (sent before, not yet marked here) are not sent again.
            std::vector<std::string> held;
            for (auto rs = connection->openRecordset("select FSeq from t_HqReplay where FOrigin=" + origin +
                                                     " and FSeq in (" + numbers + ")");
                 !rs.atEnd(); rs.moveNext())
                held.push_back(rs.field("FSeq").toString());
            std::string batch;
            for (const platform::FieldMap& row : rows) {
                const std::string id = row.value("FID").toString();
                if (std::find(held.begin(), held.end(), id) != held.end()) continue;
                batch += std::string(batch.empty() ? "" : kCrLf) +
                         "insert into t_HqReplay (FOrigin,FSeq,FBranchNo,FDigest,FDate) values (" + origin +
                         "," + id + "," + branchNo + ",'exchange',getdate())" + kCrLf +
                         ExchangedMovementStatements(row);
            }
            if (!batch.empty()) connection->execute(batch);
            connection->close();
            frame::ExecuteSQL("update T_Pos_VipGiftList set FComFlag=1 where FID in (" + numbers + ")");
        }
        // The totals rows of cards nothing waits for any more: headquarters' copies took every
        // change of them by now.
        frame::ExecuteSQL("update T_Pos_VipConsume set FComFlag='1' where FComFlag='0' and FCardId not in"
                          " (select FCardId from T_Pos_VipGiftList where FComFlag=0) and FCardId not in"
                          " (select c.FCardId from t_HqOutboxCard c join t_HqOutbox o on o.FSeq=c.FSeq"
                          " where o.FState='waiting')");
    } catch (const std::exception& error) {
        // What was not sent waits; headquarters' replay record keeps what was from being sent twice.
        qCWarning(lcHq, "exchanging points movements with headquarters failed: %s", error.what());
    }
}

} // namespace ormex::module::hq

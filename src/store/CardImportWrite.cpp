#include <sqlite3.h>

#include "CardImport.h"
#include "CardSeal.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/NumberText.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

using platform::Value;

std::string databaseBranchNo(Database& db)
{
    SqliteStatement setting(db.handle(), "SELECT FValue FROM t_SystemProfile"
                                         " WHERE lower(FCategory) = 'ic' AND lower(FKey) = 'g_branch_no'");
    return setting.step() ? setting.column(0).toString() : std::string();
}

// Runs a statement once with the given values, leaving it ready for the next card.
void run(SqliteStatement& statement, const std::vector<Value>& values)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        statement.bind(static_cast<int>(i + 1), values[i]);
    statement.step();
    statement.reset();
}

class ImportWriter
{
public:
    ImportWriter(Database& db, const CardImportSession& session)
        : m_db(db), m_session(session),
          m_branchNo(session.branchNo.empty() ? databaseBranchNo(db) : session.branchNo),
          m_today(platform::today().toString()), m_now(platform::now().toString()),
          m_newCard(
              db.handle(),
              "INSERT INTO T_Pos_VipRecord (FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus,"
              " FVipStartDate, FVipEndDate, FAccNum, FDecNum, FResidualAmt, FPlusAmt, FSavingFlag, FAccFlag,"
              " FDeleted, password, FBranchno, FOperDate, FModifyDate, FUserName)"
              " VALUES (?1, ?2, ?3, ?4, ?5, '0', ?6, ?7, ?8, 0, ?9, ?10, ?11, ?12, 0, '', ?13, ?14, ?14, "
              "?15)"),
          // An unused card keeps what it was printed with where the file leaves a column empty.
          m_unusedCard(
              db.handle(),
              "UPDATE T_Pos_VipRecord SET FCardFlowno = coalesce(nullif(?2, ''), FCardFlowno),"
              " FVipName = coalesce(nullif(?3, ''), FVipName), mobile = coalesce(nullif(?4, ''), mobile),"
              " FCardType = ?5, FCardStatus = '0', FVipStartDate = ?6,"
              " FVipEndDate = coalesce(nullif(?7, ''), FVipEndDate), FAccNum = ?8, FDecNum = 0,"
              " FResidualAmt = ?9, FPlusAmt = ?10, FSavingFlag = ?11, FAccFlag = ?12,"
              " FBranchno = coalesce(nullif(FBranchno, ''), ?13), FOperDate = ?14, FModifyDate = ?14,"
              " FUserName = ?15" +
                  // A connection that seals writes the card's new seal, checking its old one.
                  std::string(sealsCards(db)
                                  ? ", FSeal = ormex_seal_next(FSeal, FCardId, FResidualAmt, FAccNum, "
                                    "FDecNum, FLedgerSeq, FLedgerHash, FCardId, ?9, ?8, 0, FLedgerSeq, "
                                    "FLedgerHash)"
                                  : "") +
                  " WHERE FCardId = ?1 AND FCardStatus = '9' AND FDeleted = 0"),
          // The initial amount of the card, as the stored-value screen reads it back: FPlusAmt
          // encoded. No payment method took the money here (it was paid to the former system), so
          // FBalanceStyle is 0, as a recharge writes it without one.
          m_initialAmount(db.handle(),
                          "INSERT INTO T_Pos_AddMoneyList (FCardId, FPlusAmt, fuserid, FOperDate,"
                          " FOldAmt, Fbranchid, FBranchno, other1, FPlusRealAmt, FResidualAmt,"
                          " FBalanceStyle, FComFlag)"
                          " VALUES (?, ?, ?, ?, 0, ?, ?, '初始金额', ?, ?, 0, '1')"),
          // Opening points are a reward movement (flag 3), in the columns and with the FComFlag of
          // the points screen's reward: like a reward they add to the card's accumulated points
          // (FAccNum) and leave its used points alone. The memo tells them from an operator's
          // reward ('积分奖励'), as '初始金额' tells the initial amount from a recharge. No totals
          // row of a branch (T_Pos_VipConsume) is written: the points were not earned at one.
          m_openingPoints(db.handle(), "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag,"
                                       " FItemNum, FVipNum, fuserid, FOperDate, memo, FComFlag)"
                                       " VALUES (?, ?, ?, '3', 0, ?, ?, ?, '初始积分', 0)")
    {
    }

    void write(const ImportedCard& card)
    {
        const std::string balance = platform::formatNumber(card.balance);
        const std::vector<Value> values = {card.cardId,
                                           card.faceNumber,
                                           card.name,
                                           card.mobile,
                                           card.typeId,
                                           m_today,
                                           card.endDate,
                                           card.points,
                                           card.saving ? platform::encodeBalance(balance) : std::string("0"),
                                           card.balance,
                                           card.saving ? 1 : 0,
                                           card.accumulates ? 1 : 0,
                                           m_branchNo,
                                           m_today,
                                           m_session.userName};
        if (card.unused) {
            run(m_unusedCard, values);
            if (sqlite3_changes(m_db.handle()) != 1)
                throw DbError("会员卡【" + card.cardId + "】已不是未使用的卡，没有导入任何会员卡");
        } else {
            run(m_newCard, values);
        }
        if (card.balance > 0)
            run(m_initialAmount, {card.cardId, platform::encodeBalance(balance), m_session.userId, m_now,
                                  m_session.branchId, m_branchNo, card.balance, balance});
        if (card.points > 0)
            run(m_openingPoints,
                {m_session.branchId, m_branchNo, card.cardId, card.points, m_session.userId, m_now});
    }

private:
    Database& m_db;
    const CardImportSession& m_session;
    std::string m_branchNo, m_today, m_now;
    SqliteStatement m_newCard, m_unusedCard, m_initialAmount, m_openingPoints;
};

} // namespace

void writeCardImport(Database& db, const CardImportPlan& plan, const CardImportSession& session)
{
    if (!plan.ok()) throw DbError("the file has bad lines: " + plan.problems.front().text());
    Database::Transaction transaction(db);
    ImportWriter writer(db, session);
    for (const ImportedCard& card : plan.cards)
        writer.write(card);
    transaction.commit();
}

CardImportPlan importCards(Database& db, std::string_view csv, bool dryRun, const CardImportSession& session)
{
    if (dryRun) return planCardImport(db, csv);
    Database::Transaction transaction(db);
    CardImportPlan plan = planCardImport(db, csv);
    if (!plan.ok()) return plan; // rolled back: nothing was written
    writeCardImport(db, plan, session);
    transaction.commit();
    return plan;
}

} // namespace ormex::db

#include "RowComparison.h"

#include <tuple>
#include <utility>

#include "NativeSqlite.h"
#include "sql/Database.h"
#include "store/CardLedger.h"
#include "store/CardSeal.h"

namespace ormex::bench {

namespace {

// Totals of every table the shapes change, one line per table.
constexpr const char* kTotals[] = {
    "SELECT 'T_Pos_VipRecord', count(*), total(FAccNum), total(FDecNum), total(length(FResidualAmt)), "
    "total(FCardStatus) FROM {}.T_Pos_VipRecord",
    "SELECT 'T_Pos_VipGiftList', count(*), total(FVipNum), total(FVipPlusAmt), total(FItemNum) "
    "FROM {}.T_Pos_VipGiftList",
    "SELECT 'T_Pos_VipConsume', count(*), total(FVipCurAccNum), total(FVipAccNum), total(FVipMinusTotalNum) "
    "FROM {}.T_Pos_VipConsume",
    "SELECT 'T_Pos_AddMoneyList', count(*), total(FOldAmt), total(FPlusAmt), total(FPlusRealAmt) "
    "FROM {}.T_Pos_AddMoneyList",
    "SELECT 'T_Pos_VipPointClear', count(*) FROM {}.T_Pos_VipPointClear",
    "SELECT 'T_Pos_VipGift', count(*), total(FItemId), total(FItemNum), total(FVipNum), "
    "total(length(FCardType)), total(length(FBeginDate) + length(FEndDate)) FROM {}.T_Pos_VipGift",
    "SELECT 't_SystemProfile', count(*), total(FValue), total(length(FValue)) FROM {}.t_SystemProfile",
};

// The columns compared row by row: every column, the storage class where the column has no type,
// and no date-time written by getdate() (the executor asks the clock for each statement).
constexpr const char* kRows[][2] = {
    // Every column but the seal and the ledger head's link, which cover the movements' date-times;
    // the head's sequence number is compared.
    {"T_Pos_VipRecord",
     "FLedgerSeq, FFlowId, FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus, FVipStartDate, "
     "FVipEndDate, "
     "FAccNum, FDecNum, FResidualAmt, FPlusAmt, FSavingFlag, FAccFlag, FDeleted, password, FBranchno, "
     "FOperDate, FModifyDate, FUserName, FVipTax, limit_use, salesman, FVipSex, birthday, marriage, FVipTel, "
     "company, FVipEmail, FSocialId, FVipAdd, FVipZip, FSalaryLevel, degree, favor, memo, nation"},
    {"T_Pos_VipGiftList",
     "FID, FSeq, Fbranchid, typeof(Fbranchid), FBranchno, FCardId, flag, Fitemid, typeof(Fitemid), "
     "FItemNum, FVipNum, FVipPlusAmt, fuserid, FAuxPropID, memo, FComFlag, typeof(FComFlag)"},
    {"T_Pos_VipConsume", "*, typeof(FComFlag)"},
    // Every column but the ledger's link, which covers the row's date-time.
    {"T_Pos_AddMoneyList",
     "FID, FSeq, FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid, FBranchno, other1, FPlusRealAmt, "
     "FResidualAmt, FBalanceStyle, FComFlag, typeof(FPlusAmt), typeof(FResidualAmt)"},
    {"T_Pos_VipPointClear", "FID, hostip, hostname, fuserid, FClearDesc, memo"},
    {"T_Pos_VipGift", "*, typeof(FItemId), typeof(FBranchID), typeof(FItemNum), typeof(FVipNum)"},
    {"t_SystemProfile", "*"},
};

std::string withSchema(std::string sql, const std::string& schema)
{
    const auto at = sql.find("{}");
    return sql.replace(at, 2, schema);
}

std::string rowText(sqlite3_stmt* s)
{
    std::string line;
    for (int c = 0; c < sqlite3_column_count(s); ++c) {
        if (c) line += '|';
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, c));
        line += text ? text : "NULL";
    }
    return line;
}

std::string totals(sqlite3* db, const std::string& schema)
{
    std::string out;
    for (const char* sql : kTotals) {
        const std::string text = withSchema(sql, schema);
        Statement q(db, text.c_str());
        if (q.step()) out += rowText(q.handle()) + "\n";
        sqlite3_reset(q.handle());
    }
    return out;
}

} // namespace

std::string compare(const std::filesystem::path& executed, const std::filesystem::path& floor, bool rowByRow)
{
    Connection db(executed);
    exec(db.handle(), "ATTACH DATABASE '" + floor.string() + "' AS floor");
    const std::string mine = totals(db.handle(), "main");
    const std::string theirs = totals(db.handle(), "floor");
    if (mine != theirs) return "totals differ\nexecutor:\n" + mine + "floor:\n" + theirs;
    if (!rowByRow) return {};
    for (const auto& [table, columns] : kRows) {
        for (const auto& [from, other, label] :
             {std::tuple{"main", "floor", "executor"}, std::tuple{"floor", "main", "floor"}}) {
            const std::string sql = std::string("SELECT ") + columns + " FROM " + from + "." + table +
                                    " EXCEPT SELECT " + columns + " FROM " + other + "." + table + " LIMIT 1";
            Statement q(db.handle(), sql.c_str());
            if (q.step()) {
                const std::string row = rowText(q.handle());
                sqlite3_reset(q.handle());
                return std::string(table) + ": a row only the " + label + " wrote: " + row;
            }
            sqlite3_reset(q.handle());
        }
    }
    if (const auto& key = ormex::db::sealKey()) {
        // Both sides sealed every card they wrote and chained every movement.
        for (const auto& [path, label] : {std::pair{executed, "executor"}, std::pair{floor, "floor"}}) {
            auto sealed = ormex::db::Database::open(path.string());
            const auto broken = ormex::db::sealMismatches(*sealed, *key);
            if (!broken.empty())
                return std::string(label) + ": " + std::to_string(broken.size()) +
                       " cards no longer match their seal, the first " + broken.front().card;
            // The made-up cards hold what no movement explains, and a deduction past a card's
            // points takes what is left: the chains are checked, not the values they explain.
            const auto chains = ormex::db::ledgerFindings(*sealed, ormex::db::LedgerCheck::ChainsOnly);
            if (!chains.empty())
                return std::string(label) + ": " + std::to_string(chains.size()) +
                       " findings of the movement ledger, the first " + chains.front().card + ": " +
                       chains.front().text;
        }
    }
    return {};
}

} // namespace ormex::bench

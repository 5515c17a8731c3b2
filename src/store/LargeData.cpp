#include "LargeData.h"

#include <sqlite3.h>

#include <cstdio>
#include <optional>
#include <string>

#include "CardSeal.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/NumberText.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

void generateCards(Database& db, std::size_t count, const GenerateProgress& progress)
{
    Database::Transaction transaction(db);
    long long first = 0;
    {
        SqliteStatement last(db.handle(),
                             "SELECT ifnull(max(CAST(FCardId AS INTEGER)), 8999999999) FROM T_Pos_VipRecord "
                             "WHERE FCardId >= '9000000000' AND length(FCardId) = 10");
        if (last.step()) first = last.column(0).toInt() + 1;
    }
    // Made-up cards hold values no movement explains: on a connection that seals, each card's
    // ledger starts from them, as an older card's does when the ledger comes to its database.
    const bool ledger = sealsCards(db);
    SqliteStatement insert(
        db.handle(),
        std::string(
            "INSERT INTO T_Pos_VipRecord (FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus,"
            " FVipStartDate, FVipEndDate, FAccNum, FDecNum, FResidualAmt, FSavingFlag, FAccFlag, FBranchno,"
            " FOperDate, FModifyDate") +
            (ledger ? ", FLedgerHash) VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,"
                      "ormex_ledger_start(?1,0,?11,?9,?10,''))"
                    : ") VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"));
    std::optional<SqliteStatement> started;
    if (ledger)
        started.emplace(
            db.handle(),
            "INSERT INTO t_CardLedgerStart (FCardId, FSeq, FResidualAmt, FAccNum, FDecNum, FDate,"
            " FReason, FHash) SELECT FCardId, 0, FResidualAmt, FAccNum, FDecNum, FOperDate, '生成的卡',"
            " FLedgerHash FROM T_Pos_VipRecord WHERE FCardId=?");
    const platform::Date today = platform::today();
    const std::string start = today.addDays(-365).toString();
    const std::string end = today.addDays(365).toString();
    const char* const statuses = "00000000012349";
    std::uint32_t seed = 12345;
    char number[24];
    for (std::size_t i = 0; i < count; ++i) {
        seed = seed * 1103515245u + 12345u;
        const long long id = first + static_cast<long long>(i);
        std::snprintf(number, sizeof number, "%lld", id);
        const bool saving = (i % 3) != 0;
        const double balance = static_cast<double>(seed % 100000) / 100.0;
        insert.bind(1, std::string(number));
        insert.bind(2, "L" + std::string(number));
        insert.bind(3, "会员" + std::to_string(i % 100000));
        insert.bind(4, "15" + std::to_string(100000000 + (id % 900000000)));
        insert.bind(5, saving ? "03" : "01");
        insert.bind(6, std::string(1, statuses[i % 14]));
        insert.bind(7, start);
        insert.bind(8, end);
        insert.bind(9, static_cast<double>(seed % 5000));
        insert.bind(10, static_cast<double>(seed % 1000));
        insert.bind(11, saving ? platform::encodeBalance(balance) : std::string("0"));
        insert.bind(12, saving ? 1 : 0);
        insert.bind(13, 1);
        insert.bind(14, "01");
        insert.bind(15, start);
        insert.bind(16, start);
        insert.step();
        sqlite3_reset(insert.handle());
        if (started) {
            started->bind(1, std::string(number));
            started->step();
            started->reset();
        }
        if (progress && (i + 1) % 100000 == 0) progress(i + 1, count);
    }
    transaction.commit();
    if (progress) progress(count, count);
}

} // namespace ormex::db

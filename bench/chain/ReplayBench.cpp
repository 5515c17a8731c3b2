// A branch's points deduction over many cards replayed at a PostgreSQL headquarters, next to its
// floor: the same row changes sent by libpq directly, each statement prepared once, pipelined, in
// one transaction. Both sides start from identical databases and must end with identical rows.
#include "ReplayBench.h"

#include <libpq-fe.h>

#include <future>
#include <stdexcept>
#include <thread>

#include "module/points/PointsStatements.h"
#include "platform/Clock.h"
#include "store/CardSeal.h"

namespace ormex::bench {

namespace {

namespace points = ormex::module::points;

constexpr double kPoints = 5;

std::string deductionBatch(long first, long count)
{
    const points::PointsSession session{kBranchId, kBranchNo, kUserId};
    std::string batch;
    batch.reserve(static_cast<std::size_t>(count) * 900);
    for (long i = 0; i < count; ++i)
        batch += points::DeductionGroup(session, static_cast<int>(i + 1), cardId(first + i), kPoints,
                                        kOpeningPoints, 0);
    return batch;
}

void check(PGresult* result, PGconn* conn, const char* what)
{
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_FATAL_ERROR;
    const bool ok = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_PIPELINE_SYNC;
    const std::string message = ok ? "" : (result ? PQresultErrorMessage(result) : PQerrorMessage(conn));
    PQclear(result);
    if (!ok) throw std::runtime_error(std::string("floor: ") + what + ": " + message);
}

// The floor: the deduction's row changes, written by libpq itself. The totals rows exist, so each
// card takes a movement, a totals update and a card update.
double floorDeduction(const std::string& url, long count)
{
    PGconn* conn = PQconnectdb(url.c_str());
    if (PQstatus(conn) != CONNECTION_OK) throw std::runtime_error("floor: cannot connect");
    PQsetNoticeProcessor(
        conn, [](void*, const char*) {}, nullptr);
    // The same session as the system's: seals written, and the batch's date.
    const std::string key = db::sealKey() ? db::sealKeyText(*db::sealKey()) : "";
    const std::string now = platform::now().toString();
    const char* settings[] = {key.c_str(), now.c_str()};
    check(PQexecParams(conn,
                       "SELECT set_config('ormex.seal_key', $1, false), set_config('ormex.now', $2, false)",
                       2, nullptr, settings, nullptr, nullptr, 0),
          conn, "settings");
    check(PQprepare(
              conn, "movement",
              "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, FItemNum, FVipNum, "
              "fuserid, FOperDate, memo, FComFlag) VALUES ($1, $2, $3, '1', 0, $4, $5, $6, '积分冲减', 1)",
              0, nullptr),
          conn, "prepare");
    check(PQprepare(conn, "totals",
                    "UPDATE T_Pos_VipConsume SET FVipMinusTotalNum = coalesce(FVipMinusTotalNum, 0) + $1 "
                    "WHERE FCardId = $2 AND Fbranchid = $3",
                    0, nullptr),
          conn, "prepare");
    check(PQprepare(conn, "card", "UPDATE T_Pos_VipRecord SET FDecNum = $1, FAccNum = $2 WHERE FCardId = $3",
                    0, nullptr),
          conn, "prepare");
    const std::string pointsText = "5";
    const std::string accumulated = "100000";
    const auto start = std::chrono::steady_clock::now();
    check(PQexec(conn, "BEGIN"), conn, "BEGIN");
    if (PQenterPipelineMode(conn) != 1) throw std::runtime_error("floor: no pipeline mode");
    for (long i = 1; i <= count; ++i) {
        const std::string card = cardId(i);
        const char* movement[] = {kBranchId,          kBranchNo, card.c_str(),
                                  pointsText.c_str(), kUserId,   now.c_str()};
        const char* totals[] = {pointsText.c_str(), card.c_str(), kBranchId};
        const char* row[] = {pointsText.c_str(), accumulated.c_str(), card.c_str()};
        if (PQsendQueryPrepared(conn, "movement", 6, movement, nullptr, nullptr, 0) != 1 ||
            PQsendQueryPrepared(conn, "totals", 3, totals, nullptr, nullptr, 0) != 1 ||
            PQsendQueryPrepared(conn, "card", 3, row, nullptr, nullptr, 0) != 1)
            throw std::runtime_error("floor: cannot send");
        // Read what came back now and then, so neither side's buffers fill up.
        if (i % 128 == 0 || i == count) {
            if (PQpipelineSync(conn) != 1) throw std::runtime_error("floor: cannot sync");
            for (;;) {
                PGresult* result = PQgetResult(conn);
                if (!result) continue;
                const bool synced = PQresultStatus(result) == PGRES_PIPELINE_SYNC;
                check(result, conn, "statement");
                if (synced) break;
            }
        }
    }
    PQexitPipelineMode(conn);
    check(PQexec(conn, "COMMIT"), conn, "COMMIT");
    const double seconds = secondsSince(start);
    PQfinish(conn);
    return seconds;
}

// A fingerprint of every row the deduction writes, dates and keys left out: for the seals and the
// ledger's links, which cover the dates, the number of movements each card's ledger holds.
std::string rowsWritten(db::PgDatabase& db)
{
    return db
        .queryNative(
            "SELECT md5((SELECT string_agg(FCardId || '|' || FAccNum || '|' || FDecNum || '|' || "
            "FLedgerSeq,"
            " ',' ORDER BY FCardId) FROM T_Pos_VipRecord) || (SELECT string_agg(FCardId || '|' || Fbranchid "
            "|| '|'"
            " || FVipMinusTotalNum, ',' ORDER BY FCardId, Fbranchid) FROM T_Pos_VipConsume) || (SELECT"
            " coalesce(string_agg(FCardId || '|' || flag || '|' || FVipNum || '|' || memo || '|' || FComFlag "
            "|| '|'"
            " || fuserid || '|' || Fbranchid || FBranchno || '|' || FSeq, ',' ORDER BY FCardId), '') FROM "
            "T_Pos_VipGiftList))")
        .field(std::size_t{0})
        .toString();
}

// The time a one-card deduction of another card takes while `batch` replays on its cards.
double otherCardWhileReplaying(const HqDatabase& hq, const std::string& batch, long otherCard)
{
    auto batchConnection = hq.connect();
    auto watcher = hq.connect();
    auto replay = std::async(std::launch::async, [&] { batchConnection->execute(batch); });
    // The batch holds its cards once it has locked their rows, which gives its transaction an id.
    const std::string held =
        "SELECT count(*) FROM pg_locks WHERE locktype = 'transactionid' AND granted AND pid = " +
        std::to_string(batchConnection->backendPid());
    while (watcher->queryNative(held).field(std::size_t{0}).toInt() < 1)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    auto branch = hq.connect();
    const std::string card = cardId(otherCard);
    const auto start = std::chrono::steady_clock::now();
    const std::string acc = "select FAccNum from T_Pos_VipRecord where FCardId='" + card + "'";
    const std::string dec = "select FDecNum from T_Pos_VipRecord where FCardId='" + card + "'";
    const platform::Value accumulated = branch->query(acc).field("FAccNum");
    const platform::Value used = branch->query(dec).field("FDecNum");
    branch->executeChecked(points::DeductionGroup({kBranchId, kBranchNo, kUserId}, 1, card, kPoints,
                                                  accumulated.toDouble(), used.toDouble()),
                           {{acc, "FAccNum", accumulated}, {dec, "FDecNum", used}});
    const double seconds = secondsSince(start);
    const bool stillReplaying = replay.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    replay.get();
    if (!stillReplaying) throw std::runtime_error("the batch ended before the other card's write: no figure");
    return seconds;
}

} // namespace

ReplayFigures replayBench(const BenchCluster& cluster, long cards, bool otherCard)
{
    ReplayFigures figures;
    figures.cards = cards;
    const std::string batch = deductionBatch(1, cards);
    figures.batchMb = static_cast<double>(batch.size()) / 1e6;
    {
        HqDatabase system(cluster, "ormex_replay_system", cards + 1, 1);
        HqDatabase floor(cluster, "ormex_replay_floor", cards + 1, 1);
        auto branch = system.connect();
        const auto start = std::chrono::steady_clock::now();
        branch->execute(batch);
        figures.systemSeconds = secondsSince(start);
        figures.floorSeconds = floorDeduction(floor.url(), cards);
        if (rowsWritten(system.admin()) != rowsWritten(floor.admin()))
            throw std::runtime_error("the floor did not write the rows the system wrote");
        if (otherCard) figures.otherCardSeconds = otherCardWhileReplaying(system, batch, cards + 1);
    }
    return figures;
}

} // namespace ormex::bench

// Importing N member cards from a CSV file, as `ormex-db import-cards` does: every line read and
// checked against the database, then the card rows, initial amount rows and opening points rows
// written in one transaction. Next to it the floor: the same rows inserted by native SQLite, each
// statement compiled once and bound, in one transaction, on a connection with the same settings,
// its values made before the clock starts. The ratio is the price of reading, checking and
// encoding the file on top of writing its rows.
//
// Every iteration starts both from a copy of the same empty database (card types, branch number).
// After every run the two databases are compared (totals of every table, and row by row after the
// first run), so the floor cannot get cheaper by writing less.
//
// The reported time is the import's; the counters give both sides:
//   import_ms, floor_ms                mean time of one run over all N cards
//   ratio                              import time / floor time, over all runs
//   per_card_us, floor_per_card_us     time per card of each side: flat across sizes is linear
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "DatabaseFiles.h"
#include "NativeSqlite.h"
#include "RowComparison.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/NumberText.h"
#include "sql/Database.h"
#include "store/CardImport.h"
#include "store/Schema.h"

namespace {

namespace fs = std::filesystem;
using namespace ormex::bench;
using ormex::db::Database;
using SteadyClock = std::chrono::steady_clock;

const ormex::platform::DateTime kNow{{2026, 11, 23}, 10, 0, 0};

fs::path tempFile(const std::string& name)
{
    return fs::temp_directory_path() / ("ormex-import-" + name + "-" + std::to_string(::getpid()) + ".db");
}

// The database both sides start from, made once.
const fs::path& emptyTemplate()
{
    static const struct Template
    {
        fs::path path = tempFile("template");
        Template()
        {
            removeDatabase(path);
            auto db = Database::open(path.string(), Database::OpenMode::Create);
            ormex::db::applySchema(*db);
            db->executeNative("INSERT INTO T_Pos_VipType VALUES ('01', '普通卡', 0, 1), ('03', '金卡', 1, 1);"
                              "INSERT INTO t_SystemProfile VALUES ('ic', 'g_branch_no', '01');");
        }
        ~Template() { removeDatabase(path); }
    } made;
    return made.path;
}

// A card of the file, with the values the floor binds.
struct Row
{
    std::string id, face, name, mobile, balanceText, encodedBalance;
    double balance = 0;
    double points = 0;
};

// Gold cards (stored value and points); three in four with a balance, two in three with points.
std::vector<Row> makeRows(long count)
{
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (long i = 0; i < count; ++i) {
        Row r;
        r.id = "I" + std::to_string(1000000 + i);
        r.face = "F" + std::to_string(1000000 + i);
        r.name = "会员" + std::to_string(i);
        r.mobile = std::to_string(13900000000LL + i);
        r.balance = i % 4 ? static_cast<double>((i * 7919) % 100000) / 100.0 : 0;
        r.points = i % 3 ? static_cast<double>(i % 5000) : 0;
        r.balanceText = ormex::platform::formatNumber(r.balance);
        r.encodedBalance = ormex::platform::encodeBalance(r.balanceText);
        rows.push_back(std::move(r));
    }
    return rows;
}

std::string csvOf(const std::vector<Row>& rows)
{
    std::string csv = "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n";
    for (const Row& r : rows)
        csv += r.id + "," + r.face + "," + r.name + "," + r.mobile + ",03,2028-06-30," +
               (r.balance > 0 ? r.balanceText : "") + "," +
               (r.points > 0 ? ormex::platform::formatNumber(r.points) : "") + "\r\n";
    return csv;
}

// The rows the import writes, by native SQLite.
void floor(sqlite3* db, const std::vector<Row>& rows)
{
    const std::string today = kNow.date.toString(), now = kNow.toString();
    Statement card(
        db, "INSERT INTO T_Pos_VipRecord (FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus,"
            " FVipStartDate, FVipEndDate, FAccNum, FDecNum, FResidualAmt, FPlusAmt, FSavingFlag,"
            " FAccFlag, FDeleted, password, FBranchno, FOperDate, FModifyDate, FUserName)"
            " VALUES (?, ?, ?, ?, '03', '0', ?, '2028-06-30', ?, 0, ?, ?, 1, 1, 0, '', '01', ?, ?,"
            " '管理员')");
    Statement money(
        db, "INSERT INTO T_Pos_AddMoneyList (FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,"
            " FBranchno, other1, FPlusRealAmt, FResidualAmt, FBalanceStyle, FComFlag)"
            " VALUES (?, ?, 1, ?, 0, 0, '01', '初始金额', ?, ?, 0, '1')");
    Statement points(
        db, "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, FItemNum, FVipNum,"
            " fuserid, FOperDate, memo, FComFlag) VALUES (0, '01', ?, '3', 0, ?, 1, ?, '初始积分', 0)");
    inTransaction(db, [&] {
        for (const Row& r : rows) {
            card.text(1, r.id)
                .text(2, r.face)
                .text(3, r.name)
                .text(4, r.mobile)
                .text(5, today)
                .real(6, r.points)
                .text(7, r.encodedBalance)
                .real(8, r.balance)
                .text(9, today)
                .text(10, today)
                .run();
            if (r.balance > 0)
                money.text(1, r.id)
                    .text(2, r.encodedBalance)
                    .text(3, now)
                    .real(4, r.balance)
                    .text(5, r.balanceText)
                    .run();
            if (r.points > 0) points.text(1, r.id).real(2, r.points).text(3, now).run();
        }
    });
}

double seconds(SteadyClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

void freshCopy(const fs::path& path)
{
    removeDatabase(path);
    fs::copy_file(emptyTemplate(), path);
}

} // namespace

static void ImportCards(benchmark::State& state)
{
    ormex::platform::setClock(std::make_shared<ormex::platform::FixedClock>(kNow));
    const long cards = static_cast<long>(state.range(0));
    const std::vector<Row> rows = makeRows(cards);
    const std::string csv = csvOf(rows);
    const fs::path imported = tempFile(std::to_string(cards) + "-import");
    const fs::path floored = tempFile(std::to_string(cards) + "-floor");
    double importTotal = 0, floorTotal = 0;
    long runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        try {
            freshCopy(imported);
            freshCopy(floored);
            double floorSeconds = 0;
            {
                Connection native(floored);
                const auto start = SteadyClock::now();
                floor(native.handle(), rows);
                floorSeconds = seconds(SteadyClock::now() - start);
            }
            auto db = Database::open(imported.string());
            state.ResumeTiming();
            const auto start = SteadyClock::now();
            const ormex::db::CardImportPlan plan = ormex::db::importCards(*db, csv);
            const double importSeconds = seconds(SteadyClock::now() - start);
            state.PauseTiming();
            db.reset();
            if (!plan.ok())
                throw std::runtime_error("the import refused the file: " + plan.problems.front().text());
            if (plan.cards.size() != rows.size()) throw std::runtime_error("the import planned other cards");
            const std::string difference = compare(imported, floored, runs == 0);
            if (!difference.empty()) throw std::runtime_error("the floor's rows differ: " + difference);
            importTotal += importSeconds;
            floorTotal += floorSeconds;
            ++runs;
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            break;
        }
        state.ResumeTiming();
    }
    for (const auto& path : {imported, floored})
        removeDatabase(path);
    ormex::platform::setClock(nullptr);
    if (runs == 0) return;
    const double n = static_cast<double>(cards);
    const double r = static_cast<double>(runs);
    state.counters["cards"] = n;
    state.counters["import_ms"] = importTotal * 1e3 / r;
    state.counters["floor_ms"] = floorTotal * 1e3 / r;
    state.counters["ratio"] = floorTotal > 0 ? importTotal / floorTotal : 0;
    state.counters["per_card_us"] = importTotal * 1e6 / r / n;
    state.counters["floor_per_card_us"] = floorTotal * 1e6 / r / n;
}
BENCHMARK(ImportCards)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

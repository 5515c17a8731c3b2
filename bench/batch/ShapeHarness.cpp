#include "ShapeHarness.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "DatabaseFiles.h"
#include "RowComparison.h"
#include "SealedCardUpdate.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "sql/Database.h"
#include "store/CardSeal.h"
#include "store/LargeData.h"
#include "store/Schema.h"

namespace ormex::bench {

namespace {

namespace fs = std::filesystem;
using ormex::db::Database;
using SteadyClock = std::chrono::steady_clock;

constexpr double kMiB = 1024.0 * 1024.0;

// ---------------------------------------------------------------------------------------------
// The databases: a template of N cards per size and fixture, copied for every run.

struct Template
{
    fs::path path;
    std::vector<Card> cards;
};

fs::path tempFile(const std::string& name)
{
    return fs::temp_directory_path() / ("ormex-shapes-" + name + "-" + std::to_string(::getpid()) + ".db");
}

// Files of this process, removed when it ends.
struct Files
{
    std::vector<fs::path> paths;
    ~Files()
    {
        for (const auto& path : paths)
            removeDatabase(path);
    }
};

Files& files()
{
    static Files instance;
    return instance;
}

const Template& templateFor(long cards, const Fixture* fixture)
{
    // The executor's connections seal every card they write, as the system's do; the floor's
    // native connections do not. ORMEX_BENCH_SEAL=0 leaves sealing out, to see what it costs.
    static const bool sealing = [] {
        const char* setting = std::getenv("ORMEX_BENCH_SEAL");
        const bool on = !setting || std::string(setting) != "0";
        if (on) ormex::db::setSealKey(ormex::db::newSealKey());
        return on;
    }();
    (void)sealing;
    static std::map<std::pair<long, std::string>, Template> made;
    const std::string name = fixture ? fixture->name : "";
    auto found = made.find({cards, name});
    if (found != made.end()) return found->second;

    Template t;
    t.path = tempFile(std::to_string(cards) + name);
    files().paths.push_back(t.path);
    removeDatabase(t.path);
    if (fixture) {
        // The cards' template with the fixture added.
        const Template& cardsOnly = templateFor(cards, nullptr);
        fs::copy_file(cardsOnly.path, t.path);
        {
            auto db = Database::open(t.path.string());
            db->executeNative(fixture->sql(cards));
        }
        t.cards = cardsOnly.cards;
        return made.emplace(std::pair{cards, name}, std::move(t)).first->second;
    }
    {
        auto db = Database::open(t.path.string(), Database::OpenMode::Create);
        ormex::db::applySchema(*db);
        ormex::db::generateCards(*db, static_cast<std::size_t>(cards));
        db->executeNative(
            "INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('IC', 'g_branch_no', '01')");
    } // the last connection closing folds the WAL into the file: one file to copy

    Connection db(t.path);
    Statement read(db.handle(), "SELECT FCardId, FAccNum, FDecNum, FResidualAmt FROM T_Pos_VipRecord "
                                "WHERE FCardId >= '9000000000' ORDER BY FCardId");
    t.cards.reserve(static_cast<std::size_t>(cards));
    while (read.step()) {
        sqlite3_stmt* s = read.handle();
        const auto* residual = reinterpret_cast<const char*>(sqlite3_column_text(s, 3));
        t.cards.push_back({reinterpret_cast<const char*>(sqlite3_column_text(s, 0)),
                           sqlite3_column_double(s, 1), sqlite3_column_double(s, 2),
                           ormex::platform::decodeBalanceValue(residual ? residual : "")});
    }
    sqlite3_reset(read.handle());
    if (t.cards.size() != static_cast<std::size_t>(cards))
        throw std::runtime_error("the template holds " + std::to_string(t.cards.size()) + " cards, not " +
                                 std::to_string(cards));
    return made.emplace(std::pair{cards, name}, std::move(t)).first->second;
}

// ---------------------------------------------------------------------------------------------
// Resident memory of the process (Linux).

// Resets the peak resident size to the current one.
void resetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// A line of /proc/self/status in bytes ("VmRSS", "VmHWM"); 0 when it cannot be read.
double statusBytes(const char* key)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(key) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0) {
            std::istringstream fields(line.substr(prefix.size()));
            double kb = 0;
            fields >> kb;
            return kb * 1024.0;
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------

double seconds(SteadyClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// The batches of the last shape and size asked for: benchmark calls a function several times
// while it settles the number of iterations, and a batch over 100,000 cards takes a while to build.
const std::vector<std::string>& batchesFor(const Shape& shape, long cards, const Template& t)
{
    static const Shape* lastShape = nullptr;
    static long lastCards = 0;
    static std::vector<std::string> batches;
    if (lastCards != cards || lastShape != &shape) {
        batches.clear();
        batches.shrink_to_fit();
        batches = shape.batches(t.cards);
        lastShape = &shape;
        lastCards = cards;
    }
    return batches;
}

// A floor's connection. With the ledger, a connection of the system's kind (the seal functions and
// the ledger's triggers when the process has a seal key), whose card updates write the seal in the
// statement (SealedCardUpdate.h); without, a bare native connection.
struct FloorConnection
{
    virtual ~FloorConnection() = default;
    virtual sqlite3* handle() const = 0;
};

std::unique_ptr<FloorConnection> openFloor(const fs::path& path, bool ledger)
{
    struct Sealing : FloorConnection
    {
        std::unique_ptr<Database> db;
        sqlite3* handle() const override { return db->handle(); }
    };
    struct Plain : FloorConnection
    {
        explicit Plain(const fs::path& path) : db(path) {}
        Connection db;
        sqlite3* handle() const override { return db.handle(); }
    };
    setFloorSeals(ledger && ormex::db::sealKey().has_value());
    if (!ledger) return std::make_unique<Plain>(path);
    auto sealing = std::make_unique<Sealing>();
    sealing->db = Database::open(path.string());
    return sealing;
}

void runFloor(const Shape& shape, const Floor& floor, sqlite3* db)
{
    if (shape.perCard) {
        floor(db, {});
        return;
    }
    inTransaction(db, [&] {
        // getdate() of the batch: one date-time for the whole run.
        const std::string now = ormex::platform::now().toString();
        floor(db, now);
    });
}

// Both sides start from a copy of the template.
void freshCopies(const Template& t, std::initializer_list<fs::path> paths)
{
    for (const auto& path : paths) {
        removeDatabase(path);
        fs::copy_file(t.path, path, fs::copy_options::overwrite_existing);
    }
}

void runShape(benchmark::State& state, const Shape* shape)
{
    const long cards = static_cast<long>(state.range(0));
    const Template* t = nullptr;
    try {
        t = &templateFor(cards, shape->fixture);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    const std::vector<std::string>& batches = batchesFor(*shape, cards, *t);
    std::size_t batchBytes = 0;
    for (const std::string& batch : batches)
        batchBytes += batch.size();
    const Floor floorRun = shape->floor(t->cards);
    const fs::path executed = tempFile(std::to_string(cards) + "-exec");
    const fs::path floor = tempFile(std::to_string(cards) + "-floor");
    const fs::path plain = tempFile(std::to_string(cards) + "-plain");
    files().paths.push_back(executed);
    files().paths.push_back(floor);
    files().paths.push_back(plain);

    double execTotal = 0;
    double floorTotal = 0;
    double plainTotal = 0;
    double peak = 0;
    long runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        try {
            freshCopies(*t, {executed, floor, plain});
            auto db = Database::open(executed.string());
            // The floor writes the rows the executor writes, seals and ledger included; the plain
            // floor writes them without the seals and the ledger, for what those cost.
            double floorSeconds = 0;
            double plainSeconds = 0;
            for (const bool ledger : {true, false}) {
                const auto native = openFloor(ledger ? floor : plain, ledger);
                const auto start = SteadyClock::now();
                runFloor(*shape, floorRun, native->handle());
                (ledger ? floorSeconds : plainSeconds) = seconds(SteadyClock::now() - start);
            }

            resetPeakMemory();
            const double before = statusBytes("VmRSS");
            state.ResumeTiming();
            const auto start = SteadyClock::now();
            for (const std::string& batch : batches)
                db->execute(batch);
            const double execSeconds = seconds(SteadyClock::now() - start);
            state.PauseTiming();
            peak = std::max(peak, statusBytes("VmHWM") - before);
            db.reset();

            const std::string difference = compare(executed, floor, runs == 0);
            if (!difference.empty()) {
                state.SkipWithError(("the floor's rows differ from the executor's: " + difference).c_str());
                break;
            }
            execTotal += execSeconds;
            floorTotal += floorSeconds;
            plainTotal += plainSeconds;
            ++runs;
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            break;
        }
        state.ResumeTiming();
    }
    for (const auto& path : {executed, floor, plain})
        removeDatabase(path);
    if (runs == 0) return;

    const double n = static_cast<double>(cards);
    state.counters["cards"] = n;
    state.counters["exec_ms"] = execTotal * 1e3 / static_cast<double>(runs);
    state.counters["floor_ms"] = floorTotal * 1e3 / static_cast<double>(runs);
    state.counters["ratio"] = floorTotal > 0 ? execTotal / floorTotal : 0;
    state.counters["per_card_us"] = execTotal * 1e6 / static_cast<double>(runs) / n;
    state.counters["floor_per_card_us"] = floorTotal * 1e6 / static_cast<double>(runs) / n;
    // The plain floor: the same row changes without seals or ledger; the difference to the floor
    // is what the seals and the ledger cost per card when nothing else is in the way.
    state.counters["plain_ms"] = plainTotal * 1e3 / static_cast<double>(runs);
    state.counters["ratio_plain"] = plainTotal > 0 ? execTotal / plainTotal : 0;
    state.counters["ledger_per_card_us"] = (floorTotal - plainTotal) * 1e6 / static_cast<double>(runs) / n;
    state.counters["batch_mb"] = static_cast<double>(batchBytes) / kMiB;
    state.counters["peak_extra_mb"] = peak / kMiB;
}

// The time of one synchronous setting: the executor's and the floor's over all runs.
struct SyncTimes
{
    double exec = 0;
    double floor = 0;
};

// A shape sent one card at a time, run under synchronous=NORMAL and under FULL (the system's
// setting) by the executor and by the floor, one after the other in every iteration: what syncing
// the write-ahead log at every commit costs, next to what it costs raw SQLite. The reported time
// is the executor's under FULL.
void runCommitSync(benchmark::State& state, const Shape* shape)
{
    const long cards = static_cast<long>(state.range(0));
    const Template* t = nullptr;
    try {
        t = &templateFor(cards, shape->fixture);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    const std::vector<std::string>& batches = batchesFor(*shape, cards, *t);
    const Floor floorRun = shape->floor(t->cards);
    const fs::path executed = tempFile(std::to_string(cards) + "-sync-exec");
    const fs::path floor = tempFile(std::to_string(cards) + "-sync-floor");
    files().paths.push_back(executed);
    files().paths.push_back(floor);

    SyncTimes normal, full;
    long runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        try {
            for (SyncTimes* times : {&normal, &full}) {
                const std::string pragma =
                    std::string("PRAGMA synchronous=") + (times == &full ? "FULL" : "NORMAL");
                freshCopies(*t, {executed, floor});
                {
                    const auto native = openFloor(floor, true);
                    exec(native->handle(), pragma);
                    const auto start = SteadyClock::now();
                    runFloor(*shape, floorRun, native->handle());
                    times->floor += seconds(SteadyClock::now() - start);
                }
                auto db = Database::open(executed.string());
                db->executeNative(pragma);
                if (times == &full) state.ResumeTiming();
                const auto start = SteadyClock::now();
                for (const std::string& batch : batches)
                    db->execute(batch);
                times->exec += seconds(SteadyClock::now() - start);
                if (times == &full) state.PauseTiming();
                db.reset();
                const std::string difference = compare(executed, floor, runs == 0);
                if (!difference.empty())
                    throw std::runtime_error("the floor's rows differ from the executor's: " + difference);
            }
            ++runs;
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            break;
        }
        state.ResumeTiming();
    }
    for (const auto& path : {executed, floor})
        removeDatabase(path);
    if (runs == 0) return;

    const double commits = static_cast<double>(batches.size()) * static_cast<double>(runs);
    state.counters["commits"] = static_cast<double>(batches.size());
    state.counters["normal_us"] = normal.exec * 1e6 / commits;
    state.counters["full_us"] = full.exec * 1e6 / commits;
    state.counters["floor_normal_us"] = normal.floor * 1e6 / commits;
    state.counters["floor_full_us"] = full.floor * 1e6 / commits;
    state.counters["full_vs_normal"] = normal.exec > 0 ? full.exec / normal.exec : 0;
    state.counters["floor_full_vs_normal"] = normal.floor > 0 ? full.floor / normal.floor : 0;
    state.counters["ratio_normal"] = normal.floor > 0 ? normal.exec / normal.floor : 0;
    state.counters["ratio_full"] = full.floor > 0 ? full.exec / full.floor : 0;
}

} // namespace

bool isOwnBranch(sqlite3* db)
{
    Statement q(
        db,
        "SELECT FValue FROM t_SystemProfile WHERE lower(FCategory) = 'ic' AND lower(FKey) = 'g_branch_no'");
    bool own = false;
    if (q.step()) {
        const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(q.handle(), 0));
        own = value && sqlite3_stricmp(value, kBranchNo) == 0;
    }
    sqlite3_reset(q.handle());
    return own;
}

void registerShape(const char* name, const Shape& shape)
{
    // The reported time is the executor's alone (the copies, the floor and the comparison run
    // with the clock paused). No MinTime or Iterations here: either would add a suffix to the
    // names, and the sizes are selected by names ending in "/<cards>".
    benchmark::internal::Benchmark* b = benchmark::RegisterBenchmark(name, runShape, &shape);
    b->Arg(1000)->Arg(10000);
    // One batch and one commit per card: 100,000 commits would take too long for what they add.
    if (!shape.perCard) b->Arg(100000);
    b->Unit(benchmark::kMillisecond);
}

void registerCommitSync(const char* name, const Shape& shape)
{
    // 1,000 commits per setting: enough to average the disk's syncs, few enough to run in seconds.
    benchmark::RegisterBenchmark(name, runCommitSync, &shape)->Arg(1000)->Unit(benchmark::kMillisecond);
}

} // namespace ormex::bench

// Finding one card in the host's member list (list 50), by card number, by mobile and by face
// number, the way the screens ask the host: MemberLists::getListRecordset with a condition whose
// literal is the searched value. Next to it the floor: the same list query in native SQLite,
// compiled once, the value bound, every column of the row read into a value.
//
// Each iteration searches a different existing card on each side (pseudo-random, from separate
// sequences, so that neither side finds the pages of its card warm from the other's search). The
// reported time is the executor's; the counters give both sides per search:
//   exec_us, floor_us                  mean time of one search
//   median_us, floor_median_us         median time of one search
//   ratio                              executor mean / floor mean
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "DatabaseFiles.h"
#include "host/core/MemberLists.h"
#include "platform/Value.h"
#include "sql/Database.h"
#include "store/LargeData.h"
#include "store/Schema.h"

namespace {

namespace fs = std::filesystem;
using ormex::bench::removeDatabase;
using ormex::db::Database;
using ormex::platform::Value;
using SteadyClock = std::chrono::steady_clock;

// The databases of this process, removed when it ends.
struct Files
{
    std::map<long, fs::path> bySize;
    ~Files()
    {
        for (const auto& [size, path] : bySize)
            removeDatabase(path);
    }
};

// A database of `cards` generated cards, made once per size.
const fs::path& databaseFor(long cards)
{
    static Files files;
    auto found = files.bySize.find(cards);
    if (found != files.bySize.end()) return found->second;
    const fs::path path = fs::temp_directory_path() / ("ormex-search-" + std::to_string(cards) + "-" +
                                                       std::to_string(::getpid()) + ".db");
    removeDatabase(path);
    {
        auto db = Database::open(path.string(), Database::OpenMode::Create);
        ormex::db::applySchema(*db);
        ormex::db::generateCards(*db, static_cast<std::size_t>(cards));
        db->executeNative(
            "INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('IC', 'g_branch_no', '01')");
    }
    return files.bySize.emplace(cards, path).first->second;
}

enum class Key { CardId, Mobile, FaceNumber };

const char* column(Key key)
{
    switch (key) {
    case Key::CardId:
        return "FCardId";
    case Key::Mobile:
        return "mobile";
    case Key::FaceNumber:
        return "FCardFlowno";
    }
    return "";
}

// The floor's connection: the executor's settings (Database::open).
class Native
{
public:
    explicit Native(const fs::path& path)
    {
        if (sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            const std::string reason = m_db ? sqlite3_errmsg(m_db) : "out of memory";
            sqlite3_close(m_db);
            throw std::runtime_error("cannot open " + path.string() + ": " + reason);
        }
        sqlite3_busy_timeout(m_db, static_cast<int>(Database::kBusyTimeout.count()));
        if (sqlite3_exec(m_db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;",
                         nullptr, nullptr, nullptr) != SQLITE_OK)
            fail("cannot set up the connection");
    }
    ~Native()
    {
        for (sqlite3_stmt* s : m_statements)
            sqlite3_finalize(s);
        sqlite3_close(m_db);
    }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    sqlite3_stmt* prepare(const std::string& sql)
    {
        sqlite3_stmt* s = nullptr;
        if (sqlite3_prepare_v3(m_db, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr) != SQLITE_OK)
            fail("cannot compile " + sql);
        m_statements.push_back(s);
        return s;
    }
    [[noreturn]] void fail(const std::string& what) const
    {
        throw std::runtime_error(what + ": " + sqlite3_errmsg(m_db));
    }

private:
    sqlite3* m_db = nullptr;
    std::vector<sqlite3_stmt*> m_statements;
};

// The searched values of every card, in card order.
std::vector<std::string> keysOf(const fs::path& path, Key key)
{
    Native db(path);
    sqlite3_stmt* s = db.prepare(std::string("SELECT ") + column(key) +
                                 " FROM T_Pos_VipRecord WHERE FCardId >= '9000000000' "
                                 "ORDER BY FCardId");
    std::vector<std::string> keys;
    while (sqlite3_step(s) == SQLITE_ROW)
        keys.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)));
    sqlite3_reset(s);
    return keys;
}

// The keys of the last size and kind asked for: benchmark calls a function several times while it
// settles the number of iterations, and reading a million keys takes a while.
const std::vector<std::string>& keysFor(long cards, Key key)
{
    static long lastCards = 0;
    static Key lastKey{};
    static std::vector<std::string> keys;
    if (lastCards != cards || lastKey != key) {
        keys = keysOf(databaseFor(cards), key);
        lastCards = cards;
        lastKey = key;
    }
    return keys;
}

// The floor's search: binds the value, reads every column of every row into `row`. Returns the
// number of rows.
std::size_t nativeSearch(sqlite3_stmt* s, const std::string& value, std::vector<Value>& row)
{
    sqlite3_bind_text(s, 1, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
    std::size_t rows = 0;
    const int count = sqlite3_column_count(s);
    while (sqlite3_step(s) == SQLITE_ROW) {
        ++rows;
        row.clear();
        for (int c = 0; c < count; ++c) {
            switch (sqlite3_column_type(s, c)) {
            case SQLITE_INTEGER:
                row.emplace_back(static_cast<long long>(sqlite3_column_int64(s, c)));
                break;
            case SQLITE_FLOAT:
                row.emplace_back(sqlite3_column_double(s, c));
                break;
            case SQLITE_NULL:
                row.emplace_back();
                break;
            default:
                row.emplace_back(std::string(reinterpret_cast<const char*>(sqlite3_column_text(s, c)),
                                             static_cast<std::size_t>(sqlite3_column_bytes(s, c))));
                break;
            }
        }
    }
    sqlite3_reset(s);
    return rows;
}

// A pseudo-random card index in [0, size).
struct Picker
{
    std::uint64_t state;
    std::size_t next(std::size_t size)
    {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::size_t>((state >> 33) % size);
    }
};

double median(std::vector<double>& values)
{
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

double seconds(SteadyClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

void search(benchmark::State& state, Key key)
{
    const long cards = static_cast<long>(state.range(0));
    const fs::path* path = nullptr;
    const std::vector<std::string>* keys = nullptr;
    try {
        path = &databaseFor(cards);
        keys = &keysFor(cards, key);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    if (keys->size() != static_cast<std::size_t>(cards)) {
        state.SkipWithError("the database does not hold the generated cards");
        return;
    }
    const std::string name = column(key);
    const auto condition = [&](const std::string& value) { return name + "='" + value + "'"; };

    ormex::host::MemberLists lists(path->string());
    lists.setBaseNumber(50);
    Native native(*path);
    sqlite3_stmt* floorQuery = native.prepare(ormex::host::memberListSql(50, name + "=?1"));
    std::vector<Value> row;

    // Both sides find the same row for the same card.
    try {
        const std::string& probe = (*keys)[keys->size() / 2];
        const auto listed = lists.getListRecordset(condition(probe), "");
        if (nativeSearch(floorQuery, probe, row) != 1 || listed.recordCount() != 1 ||
            listed.columns().size() != row.size()) {
            state.SkipWithError("the floor's query does not return the list's row");
            return;
        }
        for (std::size_t c = 0; c < row.size(); ++c) {
            if (!(listed.cell(0, c) == row[c])) {
                state.SkipWithError(
                    ("the floor reads another " + listed.columns()[c] + " than the list").c_str());
                return;
            }
        }
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }

    Picker forExecutor{0x243F6A8885A308D3ull};
    Picker forFloor{0x13198A2E03707344ull};
    std::vector<double> execTimes;
    std::vector<double> floorTimes;
    execTimes.reserve(static_cast<std::size_t>(state.max_iterations));
    floorTimes.reserve(static_cast<std::size_t>(state.max_iterations));
    for (auto _ : state) {
        const std::string sought = condition((*keys)[forExecutor.next(keys->size())]);
        const std::string& bound = (*keys)[forFloor.next(keys->size())];
        try {
            const auto start = SteadyClock::now();
            const auto listed = lists.getListRecordset(sought, "");
            const double execSeconds = seconds(SteadyClock::now() - start);

            const auto floorStart = SteadyClock::now();
            const std::size_t found = nativeSearch(floorQuery, bound, row);
            const double floorSeconds = seconds(SteadyClock::now() - floorStart);
            benchmark::DoNotOptimize(row.data());

            if (listed.recordCount() != 1 || found != 1) {
                state.SkipWithError(("a search did not find its one card: " + sought).c_str());
                break;
            }
            state.SetIterationTime(execSeconds);
            execTimes.push_back(execSeconds);
            floorTimes.push_back(floorSeconds);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            break;
        }
    }
    if (execTimes.empty()) return;

    double execTotal = 0;
    double floorTotal = 0;
    for (std::size_t i = 0; i < execTimes.size(); ++i) {
        execTotal += execTimes[i];
        floorTotal += floorTimes[i];
    }
    const double n = static_cast<double>(execTimes.size());
    state.counters["cards"] = static_cast<double>(cards);
    state.counters["exec_us"] = execTotal * 1e6 / n;
    state.counters["floor_us"] = floorTotal * 1e6 / n;
    state.counters["ratio"] = floorTotal > 0 ? execTotal / floorTotal : 0;
    state.counters["median_us"] = median(execTimes) * 1e6;
    state.counters["floor_median_us"] = median(floorTimes) * 1e6;
}

} // namespace

static void SearchByCardNumber(benchmark::State& state)
{
    search(state, Key::CardId);
}
static void SearchByMobile(benchmark::State& state)
{
    search(state, Key::Mobile);
}
static void SearchByFaceNumber(benchmark::State& state)
{
    search(state, Key::FaceNumber);
}

// The time reported is the executor's alone (SetIterationTime), per search.
BENCHMARK(SearchByCardNumber)->Arg(10000)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SearchByMobile)->Arg(10000)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SearchByFaceNumber)->Arg(10000)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMicrosecond);

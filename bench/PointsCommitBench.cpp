// A points commit from the screen, as an operator makes it: the member list of tab 0 filled by the
// query, points in every row, OK. Reports the time per card of the whole commit next to the
// executor running the same batch alone, and prints the two side by side at the end.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include <QApplication>
#include <QPushButton>
#include <QRadioButton>
#include <QtConcurrent/QtConcurrentRun>

#include "module/frame/Grid.h"
#include "module/points/frmPointManage.h"
#include "store/SharedDatabases.h"
#include "support/RecordingCardMaintain.h"
#include "support/TestHost.h"

using namespace ormex;

namespace {

void seed(test::TestDatabase& db, long cards)
{
    db.exec("insert into T_Pos_VipType values ('01','普通卡',0,1);"
            "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
            std::to_string(cards) +
            ") insert into T_Pos_VipRecord "
            "(FCardId,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag)"
            " select 'B'||(100000+i),'会员'||i,'139'||(10000000+i),'01','0',1000000,0,1 from n");
}

// One size of one operation: the screen's OK and, in the same run, its parts. Times are medians
// over the iterations, each µs per card; the ratios are the medians of each iteration's own ratio,
// as a screen and the floor run right after it see the same state of a busy machine.
struct Row
{
    const char* operation;
    long cards;
    double screenUs;    // OK to the commit's end
    double refreshUs;   // the member list read again after the commit (the grid fill)
    double floorUs;     // the executor alone running the batch the screen ran
    double workerUs;    // the same on a worker of the thread pool the screen's commit runs on
    double ratio;       // the screen without its refresh over the executor alone
    double workerRatio; // the same over the executor on a worker
    double fullRatio;   // the screen with its refresh over the executor alone
    int iterations;
};
std::vector<Row>& table()
{
    static std::vector<Row> rows;
    return rows;
}

double seconds(const std::chrono::steady_clock::time_point& start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Points in every row of the member list, then OK; the question is answered yes. Next to it the
// floor: the batch the screen handed to the database, run again by the executor alone on the
// connection the screen used (parse, compile, bind, seal the cards, one transaction), on this thread
// and on a pool worker as the screen runs it, and the refresh the screen does
// after a commit (the member query filling the grid), timed on its own.
void commit(benchmark::State& state, module::points::frmPointManage::Operation operation, const char* name)
{
    const long cards = state.range(0);
    test::TestHost host;
    seed(host.branch(), cards);
    test::RecordingCardMaintain::Log log;
    test::RecordingCardMaintain::install(host.config().databasePath(), log);
    module::points::frmPointManage screen;
    screen.loadForm();
    screen.option(operation)->click();
    screen.queryMembers();
    auto& grid = *screen.grid(0);
    const int points = grid.columnOf("FVipNum");
    std::vector<double> okUs, refreshUs, floorUs, workerUs, ratio, workerRatio, fullRatio;
    for (auto _ : state) {
        grid.setActiveCell(0, points);
        grid.setCellText(0, points, "1");
        screen.onBatchFill(0); // the operator's batch fill from the first row down
        host.messages().answer(true);
        auto start = std::chrono::steady_clock::now();
        screen.onOk();
        const double ok = seconds(start);
        state.SetIterationTime(ok);

        state.PauseTiming();
        start = std::chrono::steady_clock::now();
        screen.queryMembers();
        const double refreshed = seconds(start);
        if (log.batches.empty()) {
            state.SkipWithError("the screen ran no batch");
            break;
        }
        const std::string batch = log.batches.back();
        start = std::chrono::steady_clock::now();
        db::Database& connection = db::sharedDatabase(host.config().databasePath());
        connection.execute(batch);
        const double alone = seconds(start);
        start = std::chrono::steady_clock::now();
        QtConcurrent::run([&] { connection.execute(batch); }).waitForFinished();
        const double onWorker = seconds(start);
        const double perCard = 1e6 / static_cast<double>(cards);
        okUs.push_back(ok * perCard);
        refreshUs.push_back(refreshed * perCard);
        floorUs.push_back(alone * perCard);
        workerUs.push_back(onWorker * perCard);
        ratio.push_back((ok - refreshed) / alone);
        workerRatio.push_back((ok - refreshed) / onWorker);
        fullRatio.push_back(ok / alone);
        state.ResumeTiming();
    }
    if (okUs.empty()) return;
    const Row row{name,
                  cards,
                  median(okUs),
                  median(refreshUs),
                  median(floorUs),
                  median(workerUs),
                  median(ratio),
                  median(workerRatio),
                  median(fullRatio),
                  static_cast<int>(okUs.size())};
    state.counters["cards"] = static_cast<double>(cards);
    state.counters["screen_us"] = row.screenUs;
    state.counters["refresh_us"] = row.refreshUs;
    state.counters["floor_us"] = row.floorUs;
    state.counters["worker_us"] = row.workerUs;
    state.counters["ratio"] = row.ratio;
    table().push_back(row);
    if (host.messages().texts().size() != static_cast<std::size_t>(state.iterations()))
        state.SkipWithError(("the commit showed more than its question: " + host.messages().last()).c_str());
}

void printTable()
{
    if (table().empty()) return;
    // µs per card, medians. ratio: the screen without its refresh over the executor alone;
    // worker_ratio: the same over the executor alone on a pool worker, where the screen runs its batch.
    std::printf("\n%-10s %7s %5s %10s %10s %15s %12s %10s %7s %13s %15s\n", "operation", "cards", "runs",
                "screen", "refresh", "screen-refresh", "executor", "ex_worker", "ratio", "worker_ratio",
                "ratio_w_refresh");
    for (const Row& r : table())
        std::printf("%-10s %7ld %5d %10.1f %10.1f %15.1f %12.1f %10.1f %7.2f %13.2f %15.2f\n", r.operation,
                    r.cards, r.iterations, r.screenUs, r.refreshUs, r.screenUs - r.refreshUs, r.floorUs,
                    r.workerUs, r.ratio, r.workerRatio, r.fullRatio);
}

void timing(benchmark::internal::Benchmark* b)
{
    b->Unit(benchmark::kMillisecond)->UseManualTime();
}

} // namespace

// Fewer runs as the sizes grow: a run of 100,000 cards takes a quarter of a minute.
static void PointsRewardFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Reward, "reward");
}
BENCHMARK(PointsRewardFromTheScreen)->Apply(timing)->Arg(1000)->Iterations(7);
BENCHMARK(PointsRewardFromTheScreen)->Apply(timing)->Arg(10000)->Iterations(5);
BENCHMARK(PointsRewardFromTheScreen)->Apply(timing)->Arg(100000)->Iterations(3);

static void PointsDeductionFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Deduction, "deduction");
}
BENCHMARK(PointsDeductionFromTheScreen)->Apply(timing)->Arg(1000)->Iterations(7);
BENCHMARK(PointsDeductionFromTheScreen)->Apply(timing)->Arg(10000)->Iterations(5);
BENCHMARK(PointsDeductionFromTheScreen)->Apply(timing)->Arg(100000)->Iterations(3);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    printTable();
    benchmark::Shutdown();
    return 0;
}

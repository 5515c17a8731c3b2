// A points commit from the screen, as an operator makes it: the member list of tab 0 filled by the
// query, points in every row, OK. Reports the time per card of the whole commit next to the
// executor running the same batch alone, and prints the two side by side at the end.
#include <benchmark/benchmark.h>

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

// One size of one operation: the screen's OK and, in the same run, its parts.
struct Row
{
    const char* operation;
    long cards;
    double screenUs;  // OK to the commit's end, per card
    double refreshUs; // the member list read again after the commit (the grid fill), per card
    double floorUs;   // the executor alone running the batch the screen ran, per card
    double workerUs;  // the same on a worker of the thread pool the screen's commit runs on
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
    double screenS = 0, refreshS = 0, floorS = 0, workerS = 0;
    for (auto _ : state) {
        grid.setActiveCell(0, points);
        grid.setCellText(0, points, "1");
        screen.onBatchFill(0); // the operator's batch fill from the first row down
        host.messages().answer(true);
        auto start = std::chrono::steady_clock::now();
        screen.onOk();
        const double ok = seconds(start);
        state.SetIterationTime(ok);
        screenS += ok;

        state.PauseTiming();
        start = std::chrono::steady_clock::now();
        screen.queryMembers();
        refreshS += seconds(start);
        if (log.batches.empty()) {
            state.SkipWithError("the screen ran no batch");
            break;
        }
        const std::string batch = log.batches.back();
        start = std::chrono::steady_clock::now();
        db::Database& connection = db::sharedDatabase(host.config().databasePath());
        connection.execute(batch);
        floorS += seconds(start);
        start = std::chrono::steady_clock::now();
        QtConcurrent::run([&] { connection.execute(batch); }).waitForFinished();
        workerS += seconds(start);
        state.ResumeTiming();
    }
    const double n = static_cast<double>(state.iterations()) * static_cast<double>(cards) / 1e6;
    state.counters["cards"] = static_cast<double>(cards);
    state.counters["screen_us"] = screenS / n;
    state.counters["refresh_us"] = refreshS / n;
    state.counters["floor_us"] = floorS / n;
    state.counters["worker_us"] = workerS / n;
    state.counters["ratio"] = (screenS - refreshS) / floorS;
    table().push_back({name, cards, screenS / n, refreshS / n, floorS / n, workerS / n});
    if (host.messages().texts().size() != static_cast<std::size_t>(state.iterations()))
        state.SkipWithError(("the commit showed more than its question: " + host.messages().last()).c_str());
}

void printTable()
{
    if (table().empty()) return;
    // µs per card. ratio: the screen without its refresh over the executor alone; worker_ratio: the
    // same over the executor alone on a pool worker, where the screen runs its batch.
    std::printf("\n%-10s %7s %10s %10s %15s %12s %10s %7s %13s %15s\n", "operation", "cards", "screen",
                "refresh", "screen-refresh", "executor", "ex_worker", "ratio", "worker_ratio",
                "ratio_w_refresh");
    for (const Row& r : table()) {
        const double own = r.screenUs - r.refreshUs;
        std::printf("%-10s %7ld %10.1f %10.1f %15.1f %12.1f %10.1f %7.2f %13.2f %15.2f\n", r.operation,
                    r.cards, r.screenUs, r.refreshUs, own, r.floorUs, r.workerUs, own / r.floorUs,
                    own / r.workerUs, r.screenUs / r.floorUs);
    }
}

void sizes(benchmark::internal::Benchmark* b)
{
    b->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1)->UseManualTime();
}

} // namespace

static void PointsRewardFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Reward, "reward");
}
BENCHMARK(PointsRewardFromTheScreen)->Apply(sizes);

static void PointsDeductionFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Deduction, "deduction");
}
BENCHMARK(PointsDeductionFromTheScreen)->Apply(sizes);

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

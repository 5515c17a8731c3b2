// A points commit from the screen, as an operator makes it: the member list of tab 0 filled by the
// query, points in every row, OK. Reports the time per card next to the whole commit.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QPushButton>
#include <QRadioButton>

#include "module/frame/Grid.h"
#include "module/points/frmPointManage.h"
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

// Points in every row of the member list, then OK; the question is answered yes.
void commit(benchmark::State& state, module::points::frmPointManage::Operation operation)
{
    const long cards = state.range(0);
    test::TestHost host;
    seed(host.branch(), cards);
    module::points::frmPointManage screen;
    screen.loadForm();
    screen.option(operation)->click();
    screen.queryMembers();
    auto& grid = *screen.grid(0);
    const int points = grid.columnOf("FVipNum");
    for (auto _ : state) {
        grid.setActiveCell(0, points);
        grid.setCellText(0, points, "1");
        screen.onBatchFill(0); // the operator's batch fill from the first row down
        host.messages().answer(true);
        screen.onOk();
    }
    state.counters["cards"] = static_cast<double>(cards);
    state.counters["per_card_us"] =
        benchmark::Counter(static_cast<double>(cards),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    if (host.messages().texts().size() != static_cast<std::size_t>(state.iterations()))
        state.SkipWithError(("the commit showed more than its question: " + host.messages().last()).c_str());
}

} // namespace

static void PointsRewardFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Reward);
}
BENCHMARK(PointsRewardFromTheScreen)
    ->Arg(1000)
    ->Arg(5000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->UseRealTime();

static void PointsDeductionFromTheScreen(benchmark::State& state)
{
    commit(state, module::points::frmPointManage::Deduction);
}
BENCHMARK(PointsDeductionFromTheScreen)
    ->Arg(1000)
    ->Arg(5000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->UseRealTime();

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

#include <benchmark/benchmark.h>

#include <filesystem>

#include "sql/Database.h"
#include "store/LargeData.h"
#include "store/Schema.h"

// Cards generated per run of 10,000 into a fresh database file.
static void GenerateCards(benchmark::State& state)
{
    const auto path = std::filesystem::temp_directory_path() / "ormex-bench-generate.db";
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::remove(path);
        auto db = ormex::db::Database::open(path.string(), ormex::db::Database::OpenMode::Create);
        ormex::db::applySchema(*db);
        state.ResumeTiming();
        ormex::db::generateCards(*db, static_cast<std::size_t>(state.range(0)));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    std::filesystem::remove(path);
}
BENCHMARK(GenerateCards)->Arg(10000)->Unit(benchmark::kMillisecond);

#include <benchmark/benchmark.h>

#include <filesystem>

#include "sql/Database.h"
#include "store/LargeData.h"
#include "store/Schema.h"

namespace {

// A database of 100,000 cards shared by the query benchmarks.
ormex::db::Database& cards()
{
    static const auto path = std::filesystem::temp_directory_path() / "ormex-bench-cards.db";
    static std::unique_ptr<ormex::db::Database> db = [] {
        std::filesystem::remove(path);
        auto created = ormex::db::Database::open(path.string(), ormex::db::Database::OpenMode::Create);
        ormex::db::applySchema(*created);
        ormex::db::generateCards(*created, 100000);
        return created;
    }();
    return *db;
}

} // namespace

// The card screen's search: by card number or mobile.
static void SearchCardByNumberOrMobile(benchmark::State& state)
{
    auto& db = cards();
    for (auto _ : state)
        benchmark::DoNotOptimize(db.query("select * from T_Pos_VipRecord where (FCardId='9000050000' or "
                                          "mobile='9000050000') and FDeleted=0 "));
}
BENCHMARK(SearchCardByNumberOrMobile);

// The stored-value screen's balance condition, decoding every stored-value card.
static void FilterByDecodedBalance(benchmark::State& state)
{
    auto& db = cards();
    for (auto _ : state)
        benchmark::DoNotOptimize(db.query("select count(*) from T_Pos_VipRecord where FSavingFlag='1' and "
                                          " convert(float,dbo.f_decrypt(FResidualAmt)) >= 500"));
}
BENCHMARK(FilterByDecodedBalance)->Unit(benchmark::kMillisecond);

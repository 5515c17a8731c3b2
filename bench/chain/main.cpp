// ormex_chain_bench: a PostgreSQL headquarters under the replays of its branches.
//
//   ormex_chain_bench [--replay=1000,10000,100000] [--chain=1,4,16,64] [--seconds=10] [--cards=30000]
//                     [--no-big-batch]
//   ormex_chain_bench --smoke        the smallest replay and a short chain of 1 and 4 branches (CI)
//
// The replay table sets one branch's points deduction over N cards next to its floor (the same
// rows written by libpq itself, pipelined, in one transaction); the chain table runs N branches at
// once for a while and gives the changes per second and each kind's times. It uses the cluster
// named by ORMEX_PG_CLUSTER, or starts a throwaway one (scripts/pg-test-cluster.sh). Exits 1 when
// a floor wrote other rows or a card no longer matches its movements.
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "ChainLoad.h"
#include "ReplayBench.h"
#include "store/CardSeal.h"

using namespace ormex::bench;

namespace {

std::vector<long> numbers(const std::string& list)
{
    std::vector<long> out;
    std::stringstream in(list);
    for (std::string item; std::getline(in, item, ',');)
        if (!item.empty()) out.push_back(std::stol(item));
    return out;
}

std::string ms(double seconds)
{
    return fixed(seconds * 1000, seconds < 0.01 ? 2 : 1);
}

void replayTable(const BenchCluster& cluster, const std::vector<long>& sizes)
{
    std::vector<std::vector<std::string>> rows;
    std::string otherCard;
    for (long size : sizes) {
        const ReplayFigures f = replayBench(cluster, size, size == 10000);
        if (f.otherCardSeconds >= 0) otherCard = ms(f.otherCardSeconds);
        rows.push_back({std::to_string(size), fixed(f.batchMb, 1), ms(f.systemSeconds), ms(f.floorSeconds),
                        fixed(f.systemSeconds / f.floorSeconds, 2),
                        fixed(f.systemSeconds / static_cast<double>(size) * 1e6, 1),
                        fixed(f.floorSeconds / static_cast<double>(size) * 1e6, 1)});
        std::cerr << "replay of " << size << " cards done\n";
    }
    printTable(
        "Points deduction replayed at headquarters, next to libpq writing the same rows (pipelined, one "
        "transaction)",
        {"cards", "batch MB", "system ms", "floor ms", "ratio", "µs/card", "floor µs/card"}, rows);
    if (!otherCard.empty())
        std::cout << "A one-card deduction of another card while the 10,000-card batch replays: " << otherCard
                  << " ms\n";
}

// False when a card no longer matches its movements.
bool chainTables(const BenchCluster& cluster, const std::vector<long>& chains, double seconds, long cards,
                 bool bigBatch)
{
    long most = 0;
    for (long n : chains)
        most = std::max(most, n);
    HqDatabase hq(cluster, "ormex_chain", cards, static_cast<int>(most));
    std::vector<std::vector<std::string>> chainRows;
    std::vector<std::vector<std::string>> kindRows;
    double oneBranch = 0;
    bool consistent = true;
    for (long n : chains) {
        const ChainFigures f = chainLoad(hq, static_cast<int>(n), seconds, cards, bigBatch && n >= 4);
        const double rate = static_cast<double>(f.changes()) / f.seconds;
        if (n == 1) oneBranch = rate;
        long rereads = 0;
        for (const KindFigures& kind : f.kinds) {
            rereads += kind.rereads;
            if (kind.seconds.empty()) continue;
            kindRows.push_back({std::to_string(n), kind.kind, std::to_string(kind.seconds.size()),
                                ms(percentile(kind.seconds, 0.5)), ms(percentile(kind.seconds, 0.99)),
                                std::to_string(kind.rereads)});
        }
        chainRows.push_back({std::to_string(n), fixed(f.seconds, 1), std::to_string(f.changes()),
                             fixed(rate, 0), oneBranch > 0 ? fixed(rate / oneBranch, 2) : "-",
                             std::to_string(rereads), f.problem.empty() ? "0 lost, 0 doubled" : f.problem});
        consistent = consistent && f.problem.empty();
        std::cerr << "chain of " << n << " branches done\n";
    }
    printTable("A chain replaying at one headquarters (" + std::to_string(cards) +
                   " cards; branches and server share the machine's 2 cores)",
               {"branches", "s", "changes", "changes/s", "vs 1 branch", "re-read", "cards vs movements"},
               chainRows);
    printTable("Each kind of change (time from the branch's first read to the commit)",
               {"branches", "kind", "count", "p50 ms", "p99 ms", "re-read"}, kindRows);
    return consistent;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<long> replaySizes{1000, 10000, 100000};
    std::vector<long> chains{1, 4, 16, 64};
    double seconds = 10;
    long cards = 30000;
    bool bigBatch = true;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](const char* name) { return arg.substr(std::string(name).size()); };
        if (arg == "--smoke") {
            replaySizes = {1000};
            chains = {1, 4};
            seconds = 2;
            cards = 12000;
        } else if (arg == "--no-big-batch") {
            bigBatch = false;
        } else if (arg.rfind("--replay=", 0) == 0) {
            replaySizes = numbers(value("--replay="));
        } else if (arg.rfind("--chain=", 0) == 0) {
            chains = numbers(value("--chain="));
        } else if (arg.rfind("--seconds=", 0) == 0) {
            seconds = std::stod(value("--seconds="));
        } else if (arg.rfind("--cards=", 0) == 0) {
            cards = std::stol(value("--cards="));
        } else {
            std::cerr
                << "usage: " << argv[0]
                << " [--smoke] [--replay=N,…] [--chain=N,…] [--seconds=S] [--cards=N] [--no-big-batch]\n";
            return 2;
        }
    }
    try {
        ormex::db::setSealKey(ormex::db::newSealKey()); // headquarters seals its cards
        BenchCluster cluster;
        if (!replaySizes.empty()) replayTable(cluster, replaySizes);
        if (!chains.empty() && !chainTables(cluster, chains, seconds, cards, bigBatch)) return 1;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "ormex_chain_bench: " << error.what() << "\n";
        return 1;
    }
}

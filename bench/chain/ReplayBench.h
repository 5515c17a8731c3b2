#pragma once

#include "HqBench.h"

namespace ormex::bench {

struct ReplayFigures
{
    long cards = 0;
    double batchMb = 0;
    double systemSeconds = 0;     // PgDatabase::execute of the batch text: parse, locks, pipelined run
    double floorSeconds = 0;      // the same row changes by libpq itself
    double otherCardSeconds = -1; // a one-card write of another card while the batch replays
};

// The deduction of `cards` cards replayed at headquarters next to its floor, on fresh databases;
// with `otherCard`, also a one-card write of a card outside the batch while it replays. Throws
// when the floor's rows differ from the system's.
ReplayFigures replayBench(const BenchCluster& cluster, long cards, bool otherCard);

} // namespace ormex::bench

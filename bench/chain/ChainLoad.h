#pragma once

#include <string>
#include <vector>

#include "HqBench.h"

namespace ormex::bench {

// One kind of change the branches replay at headquarters, with the time each took (from the
// branch's first read to the commit) and how often a read it was computed from had changed before
// it committed (it was read again and sent again, as a branch does).
struct KindFigures
{
    std::string kind;
    std::vector<double> seconds;
    long rereads = 0;
};

struct ChainFigures
{
    int branches = 0;
    double seconds = 0; // how long the branches ran (the big batch may have gone on after them)
    std::vector<KindFigures> kinds;
    // The branches' changes (the big batch not counted).
    long changes() const;
    // Empty when every card holds its opening values plus its movement rows and every change was
    // recorded once; otherwise what differs.
    std::string problem;
};

// A chain of `branches` branches, each on a connection of its own in a thread of its own, replaying
// at one headquarters of `cards` cards for `seconds`: mostly one-card changes (recharges, points
// deductions, gift exchanges, card status changes) and some batch recharges of 10 to 100 cards;
// with `bigBatch`, one more branch replays one points deduction of 10,000 cards meanwhile. Then
// every card is checked against its movements.
ChainFigures chainLoad(HqDatabase& hq, int branches, double seconds, long cards, bool bigBatch);

} // namespace ormex::bench

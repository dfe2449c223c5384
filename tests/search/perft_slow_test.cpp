// Leaf counts of the whole collection up to 20 million leaves a line: minutes, so not part of the
// default run.
#include "search/perft_lines.h"

namespace {

TEST(PerftSlow, CountsOfTheCollectionUpTo20MillionLeaves) {
    ExpectPerftCounts(20'000'000, 20'000'000);
}

}  // namespace

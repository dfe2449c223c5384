// The benchmark leaves the options as they were; what it prints is compared in sessions, its node
// total with the history.
#include "frontend/benchmark.h"

#include <gtest/gtest.h>

#include <string>

#include "frontend/rows.h"

namespace {

TEST(Benchmark, PutsTheOptionsBackAndEndsTheProgram) {
    ResetEngine();
    const SearchPool pool;
    PBlock.limits.max_depth = 3;
    PBlock.options.noise = 1.5;
    const std::string changes = ChangesOf([] { RunBenchmark(2); });
    EXPECT_TRUE(changes.starts_with("quit 1, stop 1, kept ")) << changes;
}

}  // namespace

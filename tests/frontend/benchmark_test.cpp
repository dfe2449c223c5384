// The benchmark; its node total is compared with the history.
#include "frontend/benchmark.h"

#include <gtest/gtest.h>

#include <string>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Benchmark : public EngineTest {};

TEST_F(Benchmark, SearchesSoManyPositionsAndPutsTheOptionsBack) {
    const SearchPool pool;
    PBlock.limits.max_depth = 3;
    PBlock.options.noise = 1.5;
    const std::string output = OutputOf([] { RunBenchmark(2); });
    EXPECT_NE(output.find("running benchmark\npos  0: "), std::string::npos) << output;
    EXPECT_NE(output.find("\npos  1: "), std::string::npos) << output;
    EXPECT_EQ(output.find("\npos  2: "), std::string::npos) << output;
    EXPECT_EQ(PBlock.control.quit, 1);
    EXPECT_EQ(PBlock.time.base_time, 5.0);
    EXPECT_EQ(PBlock.options.noise, 1.5);
}

}  // namespace

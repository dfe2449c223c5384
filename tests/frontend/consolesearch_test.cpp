// Console commands whose effect does not show in their answer; what they print is compared in whole
// sessions.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "frontend/console.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class ConsoleSearch : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        PBlock.options.protocol = PROTOCOL_CONSOLE;
    }
    void TearDown() override { ResetEngine(); }

    static std::string Run(const std::string& line) {
        testing::internal::CaptureStdout();
        ConsoleCommand(line.c_str());
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(ConsoleSearch, NumbersAreTakenWithinTheirLimits) {
    const auto depth = [] { return PBlock.limits.max_depth.Get() * 1.0; };
    const auto noise = [] { return PBlock.options.noise.Get(); };
    const struct {
        const char* line;
        double got;
        double (*value)();
    } cases[] = {
        {"depth 100", 66, depth},
        {"sd -3", 0, depth},
        {"depth 99999999999999999999", 66, depth},
        {"sd", 0, depth},
        {"go 12", 12, depth},
        {"go 65", 65, depth},
        {"go 80", 66, depth},
        {"go -1", 66, depth},
        {"go", 0, depth},
        {"an", 66, depth},
        {"noise 2.5", 2.5, noise},
        {"noise nan", 0, noise},
        {"noise  7", 0, noise},  // the second word is empty
        {"hash 2", 2, [] { return PBlock.options.hash_mode * 1.0; }},
        {"trace 3", 3, [] { return PBlock.options.trace * 1.0; }},
        {"ponder 0", 0, [] { return PBlock.options.ponder * 1.0; }},
        {"time 7", 5, [] { return PBlock.time.clock[0]; }},  // the engine plays no side
    };
    for (const auto& c : cases) {
        Run(c.line);
        EXPECT_EQ(c.value(), c.got) << c.line;
        PBlock.options.trace = 0;
        PBlock.control.start_request = SEARCH_IDLE;  // or the next one waits
    }
    Run("go 1");
    EXPECT_EQ(PBlock.control.start_request, SEARCH_ANALYSE);
    EXPECT_EQ(PBlock.time.base_time, 99999.0);
    EXPECT_EQ(PBlock.time.moves_per_control, 1);
}

TEST_F(ConsoleSearch, ToolsLeaveTheWaitingRequestAlone) {
    PBlock.control.start_request = SEARCH_THINK;
    Run("perft 1");
    Run("ev");
    EXPECT_EQ(PBlock.control.search_state, SEARCH_IDLE) << "no search runs";
    EXPECT_EQ(PBlock.control.start_request, SEARCH_THINK) << "the request still waits";
}

TEST_F(ConsoleSearch, SwapListsEveryExchangeThatGains) {
    for (const auto& row : ReadTable("keys.tsv")) {
        SetGame(row[0]);
        if (WhyUnplayable(game_position) != nullptr) { continue; }
        std::string expected;
        std::istringstream values(row[10]);
        for (std::string value; values >> value;) {
            expected += "sq= " + value.substr(0, 2) + ", swap= " + value.substr(3) + "\n";
        }
        EXPECT_EQ(Run("swap"), expected) << row[0];
    }
}

}  // namespace

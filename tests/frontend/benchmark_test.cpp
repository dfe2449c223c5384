// The benchmark's output, and that its node total is the same in every run.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/engine.h"
#include "support/session.h"

namespace {

TEST(Benchmark, PrintsItsPositionsAndARepeatableNodeTotal) {
    const ScratchFolder folder;
    const struct {
        std::vector<std::string> options;
        int positions;
    } runs[] = {{{"-bench", "-d", "5"}, 10}, {{"-d", "5", "-pbench", "-bench2"}, 20}};
    for (const auto& run : runs) {
        std::string nodes[2];
        for (std::string& total : nodes) {
            const RunResult result = RunVesk(run.options, "");
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.errors, "") << "no status line without a terminal";
            const std::vector<std::string> lines = SplitLines(result.output);
            ASSERT_EQ(lines.size(), static_cast<std::size_t>(run.positions) + 2) << result.output;
            EXPECT_EQ(lines[0], "running benchmark");
            for (int i = 0; i < run.positions; ++i)
                EXPECT_TRUE(std::regex_match(
                    lines[static_cast<std::size_t>(i) + 1],
                    std::regex("pos +" + std::to_string(i) + ": +\\d+\\.\\d\\d seconds")));
            std::smatch match;
            ASSERT_TRUE(std::regex_match(
                lines.back(), match,
                std::regex("total time= \\d+\\.\\d\\d seconds, nodes= (\\d+), nps= \\d+")));
            total = match[1];
        }
        EXPECT_EQ(nodes[0], nodes[1]);
    }
}

TEST(Benchmark, QuitEndsItAtOnce) {
    const ScratchFolder folder;
    Session bench({"-bench", "-d", "40"});
    bench.Expect("running benchmark");
    bench.Send("position startpos");
    bench.Send("quit");
    EXPECT_EQ(bench.Wait(), 0);
    EXPECT_NE(bench.RestOfOutput().find("total time= "), std::string::npos);
}

}  // namespace

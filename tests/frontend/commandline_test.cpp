// Command lines: what they store and which mode they choose.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frontend/commandline.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class CommandLine : public testing::Test {
protected:
    StartOptions options;

    RunMode Read(std::vector<std::string> words) {
        ResetEngine();
        PBlock.Reset();
        options = StartOptions{};
        words.insert(words.begin(), "vesk");
        std::vector<char*> argv;
        for (std::string& word : words) { argv.push_back(word.data()); }
        ReadCommandLine(static_cast<int>(argv.size()), argv.data(), &options);
        return options.mode;
    }
};

TEST_F(CommandLine, ValuesAreStoredWithinTheirLimits) {
    struct {
        const char* value;
        int threads, hash_mb, depth;
        double seconds;
    } const cases[] = {
        {"-7", 1, 0, 0, -7.0}, {"2.5", 2, 2, 2, 2.5}, {"80", 64, 80, 66, 80.0},
        {"nan", 1, 0, 0, 0.0}, {"abc", 1, 0, 0, 0.0}, {"99999999999999999999", 64, 8192, 66, 1e12},
    };
    for (const auto& c : cases) {
        Read({"-threads", c.value, "-hash", c.value, "-d", c.value, "-t", c.value, "-c", "-C"});
        EXPECT_EQ(PBlock.options.threads, c.threads) << c.value;
        EXPECT_EQ(PBlock.options.hash_mb, c.hash_mb) << c.value;
        EXPECT_EQ(PBlock.limits.max_depth, c.depth) << c.value;
        EXPECT_EQ(PBlock.options.go_limits.max_depth, c.depth) << c.value;
        EXPECT_EQ(PBlock.time.base_time, c.seconds) << c.value;
        EXPECT_EQ(PBlock.options.protocol, PROTOCOL_CONSOLE);
    }
    Read({"-d", "300", "-quiet"});
    EXPECT_EQ(PBlock.time.base_time, 10000.0);
    EXPECT_EQ(PBlock.options.noise, NOISE_NEVER);
    EXPECT_EQ(PBlock.options.log, 0);
}

TEST_F(CommandLine, ModesHaveAnOrder) {
    EXPECT_EQ(Read({"-tune", "x", "-pbench", "-bench2"}), RunMode::Benchmark);
    EXPECT_EQ(options.benchmark_positions, 20);
    EXPECT_EQ(PBlock.tool.profile, 0);
    Read({"-bench", "-pbench"});
    EXPECT_EQ(options.benchmark_positions, 5);
    EXPECT_EQ(PBlock.tool.profile, 1);
    EXPECT_EQ(Read({"-bench", "-match", "m.pgn"}), RunMode::Match);
    EXPECT_EQ(Read({"-match", "m", "-scan_pgn3", "a", "-scan_pgn9", "b"}), RunMode::PgnScan);
    EXPECT_EQ(options.scan_mode, 3);
    EXPECT_STREQ(options.scan_file, "b");
    EXPECT_EQ(Read({"-scan_pgn1", "-c", "-anepd", "e.epd"}), RunMode::EpdAnalysis);
    EXPECT_EQ(PBlock.options.protocol, PROTOCOL_UCI);
}

}  // namespace

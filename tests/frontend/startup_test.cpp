// Start-up: what is there after it, and what is gone after the clean-up.
#include "frontend/startup.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "frontend/output.h"
#include "frontend/rows.h"

namespace {

TEST(StartUp, BuildsWhatTheOptionsAskForAndCleansItUp) {
    const ScratchFolder folder;
    FreeThreadBlock(0);
    FreeThreadBlock(1);
    CommandWords words("-c -hash 1 -threads 2");
    StartOptions options;
    OutputOf([&] { EXPECT_EQ(StartUp(words.Count(), words.argv.data(), &options), 0); });
    EXPECT_EQ(game_position, &ThreadData[0]->pos);
    EXPECT_NE(ThreadData[2], nullptr);
    EXPECT_EQ(ThreadData[3], nullptr);
    EXPECT_TRUE(std::filesystem::exists(LOG_FILE_NAME));
    CleanUp();
    for (const ThreadBlock* tb : ThreadData) { EXPECT_EQ(tb, nullptr); }
    ResetEngine();
}

TEST(StartUp, EndsBeforeTheThreadsWhereAnOptionCannotBeObeyed) {
    const ScratchFolder folder;
    FreeThreadBlock(0);
    FreeThreadBlock(1);
    CommandWords words("-nolog -bench -selfplay games.pgn -sprt 5 0");
    StartOptions options;
    OutputOf([&] { EXPECT_EQ(StartUp(words.Count(), words.argv.data(), &options), 0); });
    EXPECT_EQ(options.mode, RunMode::Nothing);
    EXPECT_TRUE(PBlock.tool.failed) << "for the exit status";
    EXPECT_EQ(ThreadData[1], nullptr);
    FreeThreadBlock(0);
    ResetEngine();
}

}  // namespace

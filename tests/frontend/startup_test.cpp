// Start-up: what is there after it, and what is gone after the clean-up.
#include "frontend/startup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class StartUpTest : public EngineTest {
protected:
    void TearDown() override { ResetEngine(); }
    int Start(std::vector<std::string> words) {
        std::vector<char*> argv;
        words.insert(words.begin(), "vesk");
        for (std::string& word : words) { argv.push_back(word.data()); }
        return StartUp(static_cast<int>(argv.size()), argv.data(), &options_);
    }
    ScratchFolder folder_;
    StartOptions options_;
};

TEST_F(StartUpTest, BuildsWhatTheOptionsAskForOnTopOfTheParameterFile) {
    std::ofstream("vesk.rc") << "rook_value_op 777\n";
    FreeThreadBlock(1);
    testing::internal::CaptureStdout();
    ASSERT_EQ(Start({"-c", "-hash", "1", "-threads", "2"}), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(options_.mode, RunMode::CommandLoop);
    EXPECT_EQ(Personality.rook_value_op, 777);
    EXPECT_EQ(DefaultPersonality.rook_value_op, 777);
    EXPECT_EQ(PBlock.options.protocol, PROTOCOL_CONSOLE);
    EXPECT_EQ(game_position, &ThreadData[0]->pos);
    EXPECT_NE(ThreadData[2], nullptr);
    EXPECT_EQ(ThreadData[3], nullptr);
    EXPECT_TRUE(std::filesystem::exists(LOG_FILE_NAME));
    CleanUp();
    for (const ThreadBlock* tb : ThreadData) { EXPECT_EQ(tb, nullptr); }
}

TEST_F(StartUpTest, StopsAfterACommandLineThatAsksForNothingPossible) {
    std::string said = OutputOf([this] { EXPECT_EQ(Start({"-match"}), 0); });
    EXPECT_EQ(options_.mode, RunMode::Nothing);
    EXPECT_EQ(said, "option -match needs a file name after it\n");
}

}  // namespace

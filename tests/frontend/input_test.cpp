// From bytes to lines. The echo of the lines shows which of them were handled.
#include <gtest/gtest.h>

#include <string>

#include "frontend/input.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Input : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        PBlock.options.log = 1;  // lines are echoed
    }
    void TearDown() override { ResetInput(); }

    static void Feed(const std::string& bytes) {
        FeedInput(bytes.data(), static_cast<int>(bytes.size()));
    }
    static std::string Poll(int calls = 1) {
        testing::internal::CaptureStdout();
        while (calls-- > 0) { UserInput(); }
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(Input, LineArrivesInPieces) {
    Feed("isre");
    EXPECT_EQ(Poll(), "");
    EXPECT_FALSE(InputPending());
    Feed("ady\nx");
    EXPECT_TRUE(InputPending());
    EXPECT_EQ(Poll(), "CMD: isready\nreadyok\n");
    EXPECT_EQ(Poll(3), "");
}

TEST_F(Input, OneLinePerCallWhateverEndsIt) {
    Feed(std::string("a\n\nb@c\0d\r\n\r\ne\rignored\n", 23));
    EXPECT_EQ(Poll(), "CMD: a\n");
    EXPECT_EQ(Poll(), "CMD: b@c\n");
    EXPECT_EQ(Poll(), "CMD: d\n");
    EXPECT_EQ(Poll(2), "CMD: e\n");
    EXPECT_FALSE(InputPending());
}

TEST_F(Input, ToolsOwnTheGamePosition) {
    SetToolInput(true);
    Feed("position startpos moves e2e4\nisready\nquit\n");
    EXPECT_EQ(Poll(), "");
    EXPECT_EQ(game_position->hist_count, 0);
    EXPECT_EQ(Poll(), "CMD: isready\nreadyok\n");
    Poll();
    EXPECT_EQ(PBlock.control.quit, 1);
}

}  // namespace

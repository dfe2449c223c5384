// From bytes to lines. The echo of the lines shows which of them were handled.
#include <gtest/gtest.h>

#include <string>

#include "frontend/input.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Input : public EngineTest {
protected:
    // What so many looks at the input echo and answer once these bytes have arrived. The echo tells
    // the lines that are handled.
    static std::string Feed(const std::string& bytes, int looks = 1) {
        PBlock.options.log = 1;
        FeedInput(bytes.data(), static_cast<int>(bytes.size()));
        return OutputOf([looks] {
            for (int i = 0; i < looks; ++i) { UserInput(); }
        });
    }
};

TEST_F(Input, LineArrivesInPieces) {
    EXPECT_EQ(Feed("isre"), "");
    EXPECT_FALSE(InputPending());
    EXPECT_EQ(Feed("ady\nx"), "CMD: isready\nreadyok\n");
    EXPECT_EQ(Feed("", 3), "");
}

TEST_F(Input, OneLinePerCallWhateverEndsIt) {
    EXPECT_EQ(Feed(std::string("a\n\nb@c\0d\r\n\r\ne\rignored\n", 23)), "CMD: a\n");
    EXPECT_EQ(Feed(""), "CMD: b@c\n");
    EXPECT_EQ(Feed(""), "CMD: d\n");
    EXPECT_EQ(Feed("", 2), "CMD: e\n");
    EXPECT_FALSE(InputPending());
}

TEST_F(Input, ToolsOwnTheGamePosition) {
    SetToolInput(true);
    EXPECT_EQ(Feed("position startpos moves e2e4\nisready depth 2\n.\nstop\nnew\nquit\n", 6),
              "CMD: isready\nreadyok\nCMD: stop\nCMD: stop\nCMD: quit\n");
    EXPECT_EQ(PBlock.limits.max_depth, MAX_DEPTH) << "limits are not the tool's";
    EXPECT_EQ(game_position->hist_count, 0);
    EXPECT_EQ(PBlock.control.quit, 1);
}

}  // namespace

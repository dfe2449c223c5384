// Searches of the tools: on the calling thread, apart from what the command loop waits for.
#include "search/toolsearch.h"

#include "search/searching.h"

namespace {

class ToolSearch : public SearchingTest {};

TEST_F(ToolSearch, DropsARequestAndPublishesTheScoreAtAnyDepth) {
    SetGame("4k3/8/8/3q4/4P3/8/PPP5/4K3 w - -");
    for (const int depth : {0, 3}) {
        PBlock.control.start_request = SEARCH_ANALYSE;
        PBlock.limits.max_depth = static_cast<i8>(depth);
        PrepareToolSearch();
        EXPECT_EQ(PBlock.control.start_request, SEARCH_IDLE);
        const int score = ScoreGamePosition();
        EXPECT_GT(score, 0) << "the queen is taken";
        EXPECT_EQ(PBlock.result.Score(), score);
        EXPECT_EQ(PBlock.result.DepthDone(), depth);
    }
}

}  // namespace

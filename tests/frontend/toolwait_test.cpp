// Hearing the user while a tool works.
#include "frontend/toolwait.h"

#include <gtest/gtest.h>

#include "frontend/rows.h"

namespace {

TEST(ToolWait, InputIsHeardAtEverySixteenthSearch) {
    ResetEngine();
    FeedInput("quit\n", 5);
    for (unsigned searches = 17; searches < 32; ++searches) { LookAtInput(searches); }
    EXPECT_EQ(PBlock.control.quit, 0);
    LookAtInput(32);
    EXPECT_EQ(PBlock.control.quit, 1);
}

}  // namespace

// Lines stay whole, and keep their order, whichever threads write them.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

TEST(OutputThreads, LinesStayWholeAndInOrder) {
    constexpr int LINES = 200;
    const std::string tail(200, '=');
    ResetEngine();
    PBlock.noise = 0.0;
    testing::internal::CaptureStdout();
    std::thread messages([&] {
        for (int i = 0; i < LINES; ++i) ShowMessageF("message %d %s", i, tail.c_str());
    });
    std::thread information([] {
        const Move pv[3] = {NO_MOVE, MakeMoveWord(12, 28), NO_MOVE};
        for (int i = 0; i < LINES; ++i) DisplaySearchInfo(1, 0, 1, i, pv);
    });
    messages.join();
    information.join();
    int next[2] = {};
    for (const std::string& line : SplitLines(testing::internal::GetCapturedStdout())) {
        if (line[0] == 'm')
            ASSERT_EQ(line, "message " + std::to_string(next[0]++) + " " + tail);
        else
            ASSERT_EQ(line, "info depth 1 time 0 score cp " + std::to_string(next[1]++) +
                                " nodes 0 nps 0 pv e2e4");
    }
    EXPECT_EQ(next[0] + next[1], 2 * LINES);
}

// Search lines with their times, which sessions do not compare, and when they are held back.
#include <gtest/gtest.h>

#include <string>

#include "frontend/pblock.h"
#include "search/searchinfo.h"
#include "support/engine.h"

namespace {

class SearchInfo : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        PBlock.options.noise = 0.0;
        PBlock.time.elapsed = 1.5;
        ThreadData[1]->nodes = 12345;
    }

    // The information line for a variation of so many moves, knights there and back.
    static std::string SearchLine(int line_index, int depth, int moves) {
        const Move word[4] = {MakeMoveWord(45, 62), MakeMoveWord(6, 21), MakeMoveWord(62, 45),
                              MakeMoveWord(21, 6)};
        Move pv[PV_SIZE] = {};
        for (int i = 1; i <= moves; ++i) { pv[i] = word[i % 4]; }
        return OutputOf([&] { DisplaySearchInfo(1, line_index, depth, -34, pv); });
    }
};

TEST_F(SearchInfo, SearchLinesShowTimeNodesAndRate) {
    EXPECT_EQ(SearchLine(0, 7, 2),
              "info depth 7 time 1500 score cp -34 nodes 12345 nps 8230 pv g1f3 g8f6\n");
    EXPECT_EQ(OutputOf([] { DisplayIterationStart(12); }),
              "info depth 12 time 1500 nodes 12345 nps 8230 hashfull 0\n");
    EXPECT_EQ(OutputOf([] { DisplayCurrentMove(MakeMoveWord(48, 56, PROMOTE_QUEEN), 3); }),
              "info currmove a7a8 currmovenumber 3\n");
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    EXPECT_EQ(SearchLine(-1, 7, 2), "01] 07    1.5      12K   -34  g1f3 g8f6\n");
}

TEST_F(SearchInfo, ConsoleLineIsReflowed) {
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    const std::string head = "01] 07.   1.5      12K   -34  ";
    const std::string eight = "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8\n";
    const std::string indent(head.size(), ' ');
    EXPECT_EQ(SearchLine(0, 7, 40), head + eight);
    PBlock.control.stop = STOP_FINISH;
    EXPECT_EQ(SearchLine(0, 7, 40),
              head + eight + indent + eight + indent + eight + indent + eight);
}

TEST_F(SearchInfo, SearchLineIsHeldBack) {
    struct {
        double noise, elapsed;
        u8 stop;
        int depth, moves;
        bool printed;
    } const cases[] = {
        {2.0, 1.99, STOP_NONE, 5, 1, false}, {2.0, 2.0, STOP_NONE, 5, 1, true},
        {2.0, 0.1, STOP_FINISH, 5, 1, true}, {NOISE_NEVER, 99999.0, STOP_FINISH, 5, 1, false},
        {0.0, 0.0, STOP_NONE, 0, 1, false},  {0.0, 0.0, STOP_NONE, 5, 0, false},
    };
    for (const auto& c : cases) {
        PBlock.options.noise = c.noise;
        PBlock.time.elapsed = c.elapsed;
        PBlock.control.stop = c.stop;
        EXPECT_EQ(!SearchLine(0, c.depth, c.moves).empty(), c.printed) << c.noise << c.elapsed;
    }
}

}  // namespace

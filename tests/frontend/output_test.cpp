// Search lines with their times, which sessions do not compare, and when they are held back; the
// log file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

template <typename Action>
std::string OutputOf(const Action& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

class Output : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        PBlock.noise = 0.0;
        PBlock.elapsed = 1.5;
        ThreadData[1]->nodes = 12345;
    }

    // The information line for a variation of so many moves, knights there and back.
    static std::string SearchLine(int line_index, int depth, int moves) {
        const Move word[4] = {MakeMoveWord(45, 62), MakeMoveWord(6, 21), MakeMoveWord(62, 45),
                              MakeMoveWord(21, 6)};
        Move pv[PV_SIZE] = {};
        for (int i = 1; i <= moves; ++i) pv[i] = word[i % 4];
        return OutputOf([&] { DisplaySearchInfo(1, line_index, depth, -34, pv); });
    }
};

TEST_F(Output, SearchLinesShowTimeNodesAndRate) {
    EXPECT_EQ(SearchLine(0, 7, 2),
              "info depth 7 time 1500 score cp -34 nodes 12345 nps 8230 pv g1f3 g8f6\n");
    EXPECT_EQ(OutputOf([] { DisplayIterationStart(12); }),
              "info depth 12 time 1500 nodes 12345 nps 8230 hashfull 0\n");
    EXPECT_EQ(OutputOf([] { DisplayCurrentMove(MakeMoveWord(48, 56, PROMOTE_QUEEN), 3); }),
              "info currmove a7a8 currmovenumber 3\n");
    PBlock.protocol = PROTOCOL_CONSOLE;
    EXPECT_EQ(SearchLine(-1, 7, 2), "01] 07    1.5      12K   -34  g1f3 g8f6\n");
}

TEST_F(Output, ConsoleLineIsReflowed) {
    PBlock.protocol = PROTOCOL_CONSOLE;
    const std::string head = "01] 07.   1.5      12K   -34  ";
    const std::string eight = "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8\n";
    const std::string indent(head.size(), ' ');
    EXPECT_EQ(SearchLine(0, 7, 40), head + eight);
    PBlock.stop = STOP_FINISH;
    EXPECT_EQ(SearchLine(0, 7, 40),
              head + eight + indent + eight + indent + eight + indent + eight);
}

TEST_F(Output, SearchLineIsHeldBack) {
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
        PBlock.noise = c.noise;
        PBlock.elapsed = c.elapsed;
        PBlock.stop = c.stop;
        EXPECT_EQ(!SearchLine(0, c.depth, c.moves).empty(), c.printed) << c.noise << c.elapsed;
    }
}

TEST_F(Output, LogIsWrittenAnewAndCompleteWhileItIsOpen) {
    const ScratchFolder folder;
    const std::string long_text(100000, 'x');
    std::ofstream(LOG_FILE_NAME) << "old\n";
    OpenLog();
    PBlock.log = 1;
    EXPECT_EQ(OutputOf([&] { ShowMessageF("%s %d", long_text.c_str(), 7); }), long_text + " 7\n");
    EXPECT_EQ(FileText(LOG_FILE_NAME), long_text + " 7\n");
    CloseLog();
    std::filesystem::remove(LOG_FILE_NAME);
    std::filesystem::create_directories(LOG_FILE_NAME);
    EXPECT_EQ(OutputOf(OpenLog), "log file in use\n\n");
}

}  // namespace

// The expected move of a line, and how a run ends; what it prints is compared in sessions.
#include "frontend/epd.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "frontend/rows.h"
#include "support/session.h"

namespace {

TEST(EpdLine, NamesTheFirstLegalMoveOfItsText) {
    SetGame("4k3/8/8/8/8/2N5/8/4KQ2 w - -");
    const Move queen = MakeMoveWord(5, 53), knight = MakeMoveWord(18, 33);
    const std::pair<const char*, int> cases[] = {
        {"Qf7+", queen},   {"Qf7 + ", queen}, {"f1f7", queen}, {"Qa9 Nb5 Qf7", knight},
        {"  Nb5", knight}, {"Qe8", 0},        {"", 0},         {"   ", 0}};
    for (const auto& [text, move] : cases) { EXPECT_EQ(ExpectedMove(text), move) << text; }
}

TEST(EpdRun, EndsAtQuitAndWithoutItsFile) {
    ResetEngine();
    const ScratchFolder folder;
    PBlock.limits.max_depth = 1;
    PBlock.tool.epd_file = "missing.epd";
    EXPECT_EQ(Analyze_EPD_File(0), 1.0) << "the greatest error";
    const std::string suite = DataFile("bratko-kopec.epd");
    PBlock.tool.epd_file = suite;
    FeedInput("quit\n", 5);
    Analyze_EPD_File(0);
    EXPECT_EQ(SplitLines(FileContent("unsolved.epd")).size(), 15u) << "heard after 16 positions";
    std::ofstream("unsolved.epd") << FileContent(suite);
    PBlock.tool.epd_file = "./unsolved.epd";
    PBlock.control.quit = 1;
    Analyze_EPD_File(0);
    EXPECT_EQ(FileContent("unsolved.epd"), FileContent(suite)) << "its own input, not read";
    ResetEngine();
}

}  // namespace

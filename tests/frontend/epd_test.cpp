// The expected move of a line, and how a run ends; what it prints is compared in sessions.
#include "frontend/epd.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "frontend/epdgoal.h"
#include "frontend/rows.h"
#include "search/search.h"
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

TEST(EpdGoal, IsReachedByAnyBestMoveByNoBadOneByAMateOrByMostPoints) {
    const std::string board = "4k3/8/8/8/8/2N5/8/4KQ2 w - - ";
    SetGame(board.c_str());
    constexpr int mate_in_2 = INFINITE_SCORE - 4;
    struct Case {
        const char* operations;
        const char* move;
        int score;
        bool solved;
        int points;
    };
    const Case cases[] = {{"bm Nb5 Qf7+;", "Qf7", 0, true, 0},
                          {"bm Nb5 Qf7+;", "Nd5", 0, false, 0},
                          {"bm Qe8 +;", "Nd5", 0, false, 0},
                          {"bm 1.Qf7#!, Nb5;", "Qf7", 0, true, 0},
                          {"am Qf7# Nd5;", "Qf7", 0, false, 0},
                          {"bm Qh9; dm 1;", "Qf7", MATE_IN_ONE, false, 0},
                          {"c0 \"Nb5? = 1000,Nd5= 4\";", "Nb5", 0, true, 1000},
                          {"c0 Nb5=7 Nd5 =4;", "Nd5", 0, false, 4},
                          {"am Qf7 Nb5;", "Nb5", 0, false, 0},
                          {"am Qf7 Nb5;", "Nd5", 0, true, 0},
                          {"bm Nd5 Nb5; am Nb5;", "Nb5", 0, false, 0},
                          {"dm 2;", "Nb5", mate_in_2, true, 0},
                          {"dm 2;", "Nb5", mate_in_2 - 1, false, 0},
                          {"bm Nd5; dm 2;", "Nb5", mate_in_2, false, 0},
                          {"c0 \"Nb5=10, Nd5=4,Qe8=20\";", "Nb5", 0, true, 10},
                          {"c0 \"Nb5=10, Nd5=4,Qe8=20\";", "Nd5", 0, false, 4},
                          {"bm Nd5; c0 \"Nb5=10, Nd5=4\";", "Nd5", 0, true, 4},
                          {"c0 \"Nb5\";", "Nb5", 0, false, 0},
                          {"id \"none\";", "Nb5", 0, false, 0}};
    for (const Case& c : cases) {
        const EpdGoal goal = GoalOfLine(board + c.operations);
        const auto m = static_cast<Move>(ExpectedMove(c.move));
        EXPECT_EQ(goal.SolvedBy(m, c.score), c.solved) << c.operations << ' ' << c.move;
        EXPECT_EQ(goal.PointsOf(m), c.points) << c.operations << ' ' << c.move;
    }
}

TEST(EpdGoal, IsSolvedSinceTheDepthFromWhichOnTheMoveStays) {
    SetGame("4k3/8/8/8/8/2N5/8/4KQ2 w - -");
    EpdGoal goal;
    goal.best = {MakeMoveWord(18, 33), MakeMoveWord(18, 35)};
    ResultSnapshot result;
    result.depth_done = 5;
    const int to[] = {0, 33, 20, 35, 33, 35};
    for (int d = 1; d <= 5; ++d) { result.best_move_by_depth[d] = MakeMoveWord(18, to[d]); }
    EXPECT_EQ(SolvedSince(goal, result), 3);
    result.best_move_by_depth[5] = MakeMoveWord(18, 20);
    EXPECT_EQ(SolvedSince(goal, result), 0);
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

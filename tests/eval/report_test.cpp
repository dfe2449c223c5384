// The evaluation report as a whole text, and the listing of a piece-square table.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "eval/personality.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class ReportTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    static std::string Report(const std::string& fen) {
        InitEval();
        SetGame(fen);
        testing::internal::CaptureStdout();
        ShowEvalInfo();
        return testing::internal::GetCapturedStdout();
    }
};

std::string FileText(const std::string& name) {
    std::ifstream in(DataFile(name));
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST_F(ReportTest, WholeTextWithEveryOptionalLine) {
    PBlock.max_depth = 9;
    EXPECT_EQ(Report("2r1q2k/1P5p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -"),
              FileText("reports/middlegame.txt"));
    EXPECT_EQ(PBlock.max_depth, 9);
}

TEST_F(ReportTest, SpecialEndingShowsItsScoreOnTheStrongKing) {
    EXPECT_EQ(Report("8/8/8/2k5/2B5/8/4N3/4K3 b - -"), FileText("reports/bishop_and_knight.txt"));
}

TEST_F(ReportTest, SquareTableHasRankEightFirst) {
    i16 table[64];
    for (int i = 0; i < 64; i++) table[i] = static_cast<i16>(i - 9);
    testing::internal::CaptureStdout();
    PrintPSQTable(table, "Title");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Title\n"
              " 47 48 49 50 51 52 53 54\n"
              " 39 40 41 42 43 44 45 46\n"
              " 31 32 33 34 35 36 37 38\n"
              " 23 24 25 26 27 28 29 30\n"
              " 15 16 17 18 19 20 21 22\n"
              "  7  8  9 10 11 12 13 14\n"
              " -1  0  1  2  3  4  5  6\n"
              " -9 -8 -7 -6 -5 -4 -3 -2\n"
              "\n");
}

}  // namespace

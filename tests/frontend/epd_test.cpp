// The expected move of a line, and the prediction error of whole files; what a run prints is
// compared in sessions.
#include "frontend/epd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "frontend/input.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

TEST(EpdLine, NamesTheFirstLegalMoveOfItsText) {
    SetGame("4k3/8/8/8/8/2N5/8/4KQ2 w - -");
    const Move queen = MakeMoveWord(5, 53), knight = MakeMoveWord(18, 33);
    const std::pair<const char*, int> cases[] = {
        {"Qf7+", queen},   {"Qf7 + ", queen}, {"f1f7", queen}, {"Qa9 Nb5 Qf7", knight},
        {"  Nb5", knight}, {"Qe8", 0},        {"", 0},         {"   ", 0}};
    for (const auto& [text, move] : cases) { EXPECT_EQ(ExpectedMove(text), move) << text; }
}

class EpdRunTest : public testing::Test {
protected:
    void TearDown() override { ResetEngine(); }
    static double Error(const std::string& path, int depth, const std::string& input = "") {
        ResetEngine(64);
        FeedInput(input.data(), static_cast<int>(input.size()));
        PBlock.limits.max_depth = static_cast<i8>(depth);
        std::snprintf(PBlock.tool.epd_file, FILE_NAME_SIZE, "%s", path.c_str());
        return Analyze_EPD_File(0);
    }
    ScratchFolder folder_;
};

TEST_F(EpdRunTest, MeasuresTheKnownPredictionErrors) {
    const std::pair<int, double> errors[] = {
        {0, 0.111654987}, {1, 0.101823455}, {3, 0.108600402}, {5, 0.131453788}};
    for (const auto& [depth, error] : errors) {
        EXPECT_NEAR(Error(DataFile("bratko-kopec.epd"), depth), error, 5e-10) << depth;
    }
    std::ofstream("empty.epd") << "# nothing\n";
    EXPECT_EQ(Error("empty.epd", 0), 0.0);
    EXPECT_EQ(Error("missing.epd", 0), 1.0);
}

TEST_F(EpdRunTest, QuitEndsTheRunAfterTheCurrentPosition) {
    Error(DataFile("bratko-kopec.epd"), 1, "quit\n");
    std::ifstream unsolved("unsolved.epd");
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(unsolved), {}, '\n'), 15);
}

}  // namespace

// EPD lines, and the prediction error of whole files; what a run prints is compared in sessions.
#include "frontend/epd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "frontend/frontend.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

constexpr const char* SMALL_BOARD = "4k3/8/8/8/8/8/8/4KQ2 w - - ";

TEST(EpdLine, IsTakenApart) {
    const struct {
        std::string line;
        bool usable;
        const char* best_move;
        double result;
    } cases[] = {
        {"", false, "", 0},
        {"8/8/8/8/8", false, "", 0},
        {"# a comment line", false, "", 0},
        {"; a comment line", false, "", 0},
        {" indented line", false, "", 0},
        {"123456789\r", false, "", 0},
        {"1234567890", true, "", 0.5},
        {std::string(SMALL_BOARD) + "; bm Qd1 + ; id BK.01 ", true, "Qd1 + ", 0.5},
        {std::string(SMALL_BOARD) + "bm Qf7", true, "Qf7", 0.5},
        {std::string(SMALL_BOARD) + "bm", true, "", 0.5},
        {std::string(SMALL_BOARD) + "bm Qf7; tune 0.125;\r", true, "Qf7", 0.125},
        {std::string(SMALL_BOARD) + "tune 0.12345678; bm Qf7;", true, "Qf7", 0.12345},
        {std::string(SMALL_BOARD) + "tune nan", true, "", 0.5},
        {std::string(SMALL_BOARD) + std::string(5000, ' ') + "bm Qf7; tune 1;", true, "Qf7", 1.0},
    };
    for (const auto& c : cases) {
        EpdRecord record;
        ASSERT_EQ(ParseEpdLine(c.line, &record), c.usable) << c.line.substr(0, 80);
        if (!c.usable) continue;
        EXPECT_EQ(record.best_move, c.best_move) << c.line.substr(0, 80);
        EXPECT_EQ(record.result, c.result) << c.line.substr(0, 80);
    }
}

TEST(EpdLine, NamesTheFirstLegalMoveOfItsText) {
    SetGame("4k3/8/8/8/8/2N5/8/4KQ2 w - -");
    const Move queen = MakeMoveWord(5, 53), knight = MakeMoveWord(18, 33);
    const std::pair<const char*, int> cases[] = {
        {"Qf7+", queen},   {"Qf7 + ", queen}, {"f1f7", queen}, {"Qa9 Nb5 Qf7", knight},
        {"  Nb5", knight}, {"Qe8", 0},        {"", 0},         {"   ", 0}};
    for (const auto& [text, move] : cases) EXPECT_EQ(ExpectedMove(text), move) << text;
}

class EpdRunTest : public testing::Test {
protected:
    void TearDown() override { ResetEngine(); }
    static double Error(const std::string& path, int depth, const std::string& input = "") {
        ResetEngine(64);
        FeedInput(input.data(), static_cast<int>(input.size()));
        PBlock.max_depth = static_cast<i8>(depth);
        std::snprintf(PBlock.epd_file, FILE_NAME_SIZE, "%s", path.c_str());
        return Analyze_EPD_File(0);
    }
    ScratchFolder folder_;
};

TEST_F(EpdRunTest, MeasuresTheKnownPredictionErrors) {
    const std::pair<int, double> errors[] = {
        {0, 0.111654987}, {1, 0.101823455}, {3, 0.108600402}, {5, 0.131453788}};
    for (const auto& [depth, error] : errors)
        EXPECT_NEAR(Error(DataFile("bratko-kopec.epd"), depth), error, 5e-10) << depth;
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

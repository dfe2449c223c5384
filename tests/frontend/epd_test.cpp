// EPD lines and runs over whole files.
#include "frontend/epd.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "frontend/frontend.h"
#include "frontend/pblock.h"
#include "search/threads.h"
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
    void SetUp() override {
        ResetEngine(64);
        PBlock.noise = NOISE_NEVER;
    }
    void TearDown() override { ResetEngine(); }
    static void Use(const std::string& path) {
        std::snprintf(PBlock.epd_file, FILE_NAME_SIZE, "%s", path.c_str());
    }
    static std::string Analyze() {
        testing::internal::CaptureStdout();
        Analyze_EPD_File(1);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    ScratchFolder folder_;
};

TEST_F(EpdRunTest, ShallowRunsGiveTheirKnownTotals) {
    const struct {
        int depth, correct;
        double error;
        const char* nodes;
    } runs[] = {{0, 0, 0.111654987, "68"},
                {1, 1, 0.101823455, "1893"},
                {3, 4, 0.108600402, "20927"},
                {5, 9, 0.131453788, "93158"}};
    for (const auto& r : runs) {
        ResetEngine(64);
        PBlock.noise = NOISE_NEVER;
        PBlock.max_depth = static_cast<i8>(r.depth);
        Use(DataFile("bratko-kopec.epd"));
        const std::string shown = Analyze();
        EXPECT_NE(shown.find(std::to_string(r.correct) + " / 24 correct best moves\n"),
                  std::string::npos)
            << shown;
        EXPECT_NE(shown.find(std::string("total nodes= ") + r.nodes + "\n"), std::string::npos)
            << shown;
        EXPECT_EQ(std::filesystem::exists("unsolved.epd"), r.depth > 0);
        ResetEngine(64);
        PBlock.noise = NOISE_NEVER;
        PBlock.max_depth = static_cast<i8>(r.depth);
        Use(DataFile("bratko-kopec.epd"));
        EXPECT_NEAR(Analyze_EPD_File(0), r.error, 5e-10) << r.depth;
    }
}

TEST_F(EpdRunTest, UnsolvedLinesAreKeptUnchanged) {
    const std::string solved = "6k1/5ppp/8/8/8/8/8/R5K1 w - - bm Ra8; id \"mate\";";
    const std::string no_move = "7k/5Q2/6K1/8/8/8/8/8 b - - bm Kh7; id \"stalemate\";";
    const std::string unplayable = "8/8/8/8/8/8/8/K7 w - - bm Kb1;";
    const std::string without =
        "6k1/5ppp/8/8/8/8/8/R5K1 w - - id \"" + std::string(1000, 'z') + "\";";
    std::ofstream("suite.epd", std::ios::binary) << "\xEF\xBB\xBF# head\n"
                                                 << solved << "\r\n"
                                                 << no_move << "\n\n"
                                                 << unplayable << "\n"
                                                 << without;
    Use("suite.epd");
    PBlock.max_depth = 3;
    const std::string shown = Analyze();
    EXPECT_EQ(shown.find("Analyzing suite.epd...\n"), 0u);
    EXPECT_NE(shown.find("\n1 / 4 correct best moves\n"), std::string::npos) << shown;
    std::ifstream in("unsolved.epd", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}),
              no_move + "\n" + unplayable + "\n" + without + "\n");
}

TEST_F(EpdRunTest, FileWithoutPositionsGivesZeroAndAMissingOneGivesOne) {
    std::ofstream("empty.epd") << "# nothing\n";
    Use("empty.epd");
    PBlock.max_depth = 0;
    EXPECT_EQ(
        Analyze(),
        "Analyzing empty.epd...\n0 / 0 correct best moves\ntotal nodes= 0\n"
        "total time= 0.00 seconds\navg depth= 0.0\navg nodes= 0.0\nnode_rate= 0\navg bf= 0.00\n"
        "avg error= 0.00000\n\n");
    EXPECT_EQ(Analyze_EPD_File(0), 0.0);
    Use("missing.epd");
    EXPECT_EQ(Analyze(), "");
    EXPECT_EQ(Analyze_EPD_File(0), 1.0);
}

TEST_F(EpdRunTest, QuitEndsTheRunAfterTheCurrentPosition) {
    SetToolInput(true);
    FeedInput("quit\n", 5);
    Use(DataFile("bratko-kopec.epd"));
    PBlock.max_depth = 1;
    EXPECT_NE(Analyze().find(" / 16 correct"), std::string::npos);
    SetToolInput(false);
}

}  // namespace

// EPD lines: what is usable, and what is read out of a line.
#include "board/epdline.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

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
        if (!c.usable) { continue; }
        EXPECT_EQ(record.best_move, c.best_move) << c.line.substr(0, 80);
        EXPECT_EQ(record.result, c.result) << c.line.substr(0, 80);
    }
}

TEST(EpdLine, UsableLinesOfAFileAreHandedOutAsTheyStand) {
    const ScratchFolder folder;
    const std::string first = std::string(SMALL_BOARD) + "bm Qf7;\r";
    // Parts after the first would pass for positions.
    const std::string longest = SMALL_BOARD + std::string(2 * LINE_BUFFER_SIZE, 'x') + SMALL_BOARD;
    const std::string cut = "4k3/8/8/8/8/8/8/4KQ2 w - -";
    const std::string last = std::string(SMALL_BOARD) + "tune 0.25";
    std::ofstream("file", std::ios::binary) << "# head\n\n"
                                            << first << '\n'
                                            << longest << "\n 4k3\n"
                                            << last;
    LineReader reader;
    ASSERT_TRUE(OpenLines(&reader, "file"));
    std::vector<std::string> lines;
    std::string line;
    EpdRecord record;
    while (NextEpdRecord(&reader, &line, &record)) {
        lines.push_back(line);
        EXPECT_EQ(record.position, line.substr(0, line.find('\r')));
    }
    EXPECT_EQ(lines, (std::vector<std::string>{first, cut, last}));
    EXPECT_EQ(record.result, 0.25);
    CloseLines(&reader);
}

}  // namespace

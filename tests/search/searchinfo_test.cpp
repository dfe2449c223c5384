// Search lines with their times, which sessions do not compare, and when they are held back.
#include "search/searchinfo.h"

#include <algorithm>

#include "search/searching.h"

namespace {

class SearchInfo : public SearchingTest {};

// Variations of so many moves, knights there and back; in the table "|" stands for the
// end of a line.
TEST_F(SearchInfo, LinesShowTimeNodesAndRateUnlessTheyAreHeldBack) {
    const Move word[4] = {Word("f6g8"), Word("g1f3"), Word("g8f6"), Word("f3g1")};
    ThreadData[1]->nodes = 12345;
    for (const auto& row : ReadTable("search_lines.tsv")) {
        PBlock.options.protocol = row[0] == "uci" ? PROTOCOL_UCI : PROTOCOL_CONSOLE;
        PBlock.options.noise = std::stod(row[1]);
        PBlock.time.elapsed = std::stod(row[2]);
        PBlock.control.stop = static_cast<u8>(std::stoi(row[3]));
        Move pv[PV_SIZE] = {};
        for (int i = 1; i <= std::stoi(row[6]); ++i) { pv[i] = word[i % 4]; }
        std::string found =
            OutputOf([&] { DisplaySearchInfo(1, std::stoi(row[4]), std::stoi(row[5]), -34, pv); });
        std::replace(found.begin(), found.end(), '\n', '|');
        EXPECT_EQ(found, row[7]);
    }
}

TEST_F(SearchInfo, ProgressShowsIterationAndMove) {
    ThreadData[1]->nodes = 12345;
    PBlock.time.elapsed = 1.5;
    EXPECT_EQ(OutputOf([] { DisplayIterationStart(12); }),
              "info depth 12 time 1500 nodes 12345 nps 8230 hashfull 0\n");
    EXPECT_EQ(OutputOf([] { DisplayCurrentMove(MakeMoveWord(48, 56, PROMOTE_QUEEN), 3); }),
              "info currmove a7a8 currmovenumber 3\n");
}

}  // namespace

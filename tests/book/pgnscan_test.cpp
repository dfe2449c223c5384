// Scanner and move reader: the four modes over real games, scores of comments, oversized input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "book/files.h"
#include "frontend/pblock.h"

namespace {

using testing::HasSubstr;

class PgnScan : public BookTest {
protected:
    static std::string Scan(const std::string& games, int mode) {
        WriteFile("games.pgn", games);
        testing::internal::CaptureStdout();
        Scan_PGN_File("games.pgn", mode);
        output = testing::internal::GetCapturedStdout();
        return FileContent(mode == 1 ? "tmp.pgn" : "tmp.epd");
    }
    static inline std::string output;
};

TEST_F(PgnScan, TheFourModesOverEngineGames) {
    const struct {
        int mode;
        const char* golden;
        const char* summary;
    } cases[] = {{1, "scan1.pgn", "games= 72, positions= 0\n\n"},
                 {2, "scan2.epd", "games= 72, positions= 2888\n\n"},
                 {3, "scan3.epd", "games= 72, positions= 4088\n\n"},
                 {4, "scan4.epd", "games= 72, positions= 0\n\n"}};
    const std::string games = FileContent(DataFile("engine-games.pgn"));
    for (const auto& c : cases) {
        EXPECT_EQ(Scan(games, c.mode), FileContent(DataFile(c.golden))) << c.mode;
        EXPECT_EQ(output, c.summary) << c.mode;
    }
    EXPECT_EQ(Scan("\xEF\xBB\xBF" + games, 2), FileContent(DataFile("scan2.epd")));
}

TEST_F(PgnScan, CommentsGiveTheScoreOfTheirMove) {
    for (const auto& row : ReadTable("comments.tsv")) {
        const std::string comment = Lines(row[0]);
        const std::string white = Scan("1. e4 " + comment + "\n e5 2. Nf3\n", 3);
        EXPECT_THAT(white, HasSubstr(" bm e4; ce " + row[1] + ";\n")) << comment;
        const std::string black = Scan("1. e4 {0.10/1} e5 " + comment + " 2. Nf3{0.1/1}\n", 3);
        EXPECT_THAT(black, HasSubstr(" bm e5; ce " + row[2] + ";\n")) << comment;
    }
}

TEST_F(PgnScan, RookEndingsAreLabelledWithTheResult) {
    const std::string game = FileContent(DataFile("rook-ending.pgn"));
    const std::string line = "8/k7/3R3r/6K1/4P3/8/8/8 b - - bm h6d6; ce 123; tune ";
    const std::size_t at = game.find("0-1");
    ASSERT_NE(at, std::string::npos);
    for (const auto& [result, label] :
         {std::pair("0-1", "1.00000"), std::pair("1-0", "0.00000"), std::pair("***", "0.50000")}) {
        const std::string changed = game.substr(0, at) + result + game.substr(at + 3);
        EXPECT_EQ(Scan(changed, 4), line + label + ";\n\n") << result;
    }
}

TEST_F(PgnScan, OversizedInputIsCutOffCleanly) {
    std::string knights;
    for (int i = 0; i < 500; ++i) {
        knights += "Nf3 {0.00/1} Nf6 {0.00/1} Ng1 {0.00/1} Ng8 {0.00/1}\n";
    }
    std::string text = Scan("[Event \"long\"]\n" + knights + "{9.00/1}\n", 1);
    EXPECT_EQ(std::count(text.begin(), text.end(), '{'), 800);
    EXPECT_EQ(text.find("9.00"), std::string::npos) << "a dropped move's comment went to another";
    text = Scan("1. e4 {0.1/1} " + std::string(100000, 'x') + " {0.2/1} Nf3\n", 3);
    EXPECT_EQ(std::count(text.begin(), text.end(), ';'), 2);
    text = Scan("1. e4 {" + std::string(3000000, 'x') + "} e5 {book}\n", 1);
    EXPECT_NE(text.find("e5      {  0.00}"), std::string::npos) << text;
}

TEST_F(PgnScan, AMissingInputCreatesNoOutput) {
    Scan_PGN_File("missing.pgn", 2);
    EXPECT_FALSE(std::filesystem::exists("tmp.epd"));
}

// Result and edited text of a reader.

}  // namespace

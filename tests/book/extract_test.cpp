// Labelled positions: which positions of which games, their scores, results and games.
#include "book/extract.h"

#include <fstream>
#include <sstream>

#include "book/files.h"
#include "book/pgngame.h"
#include "search/toolsearch.h"

namespace {

using Extract = BookTest;

std::string Extracted(const std::string& games) {
    WriteFile("games.pgn", games);
    return OutputOf([] { ExtractPositions("games.pgn", POSITIONS_FILE); });
}

// Game 1: ten plies that are left out, a book move, a mate score, a comment of words, a bishop that
// stands to be taken. Game 2 repeats the
// positions of the first. Game 3 begins elsewhere and ends in a check. Then games without result,
// with a move that cannot be, and in the end a good one again, which brings what the bad one would
// have brought.
constexpr const char* GAMES = R"([Event "one"]
[Result "1-0"]

1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7
6. Re1 {book} b5 {-0.20/7 0.1s} 7. Bb3 {+0.31/8
0.1s} d6 {-M5/12 0.1s} 8. c3 (8. h3 O-O) O-O $1 {a good move} 9. h3 {+0.30/9 eval} Bg4
{0.10/9} 10. hxg4 {+3.00/9} 1-0

[Event "two"]
[Result "1/2-1/2"]

1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6 8. d4 {+0.11/5} 1/2-1/2

[Event "three"]
[Result "0-1"]
[FEN "4k3/8/8/8/8/8/4P3/4K2R b K - 0 1"]

1... Kd7 2. e3 Kd6 3. e4 Ke6 4. Rh5 Kd6 5. Rh4 Ke6 6. Rg4 {+7.5/3} Kf6 {-7.50/3} 7. Rg6+ Kxg6
{+99/1} 0-1

[Event "four"]
[Result "*"]

1. d4 d5 2. c4 e6 3. Nc3 Nf6 4. Bg5 Be7 5. e3 O-O 6. Nf3 h6 *

[Event "five"]
[Result "1-0"]

1. d4 d5 2. c4 e6 3. Nc3 Nf6 4. Bg5 Be7 5. e3 O-O 6. Nf3 Qh3 7. Bh4 1-0

[Event "six"]
[Result "0-1"]

1. d4 d5 2. c4 e6 3. Nc3 Nf6 4. Bg5 Be7 5. e3 O-O 6. Nf3 {+0.2/6} h6 {0.00/6} 7. Bh4 0-1
)";

// Of the first game: after Re1 up to h3; the bishop that stands to be taken is not quiet.
constexpr const char* POSITIONS =
    "r1bqk2r/1pppbppp/p1n2n2/4p3/B3P3/5N2/PPPP1PPP/RNBQR1K1 b kq - ce -20; tune 0.0; id \"1\";\n"
    "r1bqk2r/2ppbppp/p1n2n2/1p2p3/B3P3/5N2/PPPP1PPP/RNBQR1K1 w kq b6 ce 31; tune 1.0; id \"1\";\n"
    "r1bqk2r/2ppbppp/p1n2n2/1p2p3/4P3/1B3N2/PPPP1PPP/RNBQR1K1 b kq - ce -9994; tune 0.0; id "
    "\"1\";\n"
    "r1bqk2r/2p1bppp/p1np1n2/1p2p3/4P3/1B3N2/PPPP1PPP/RNBQR1K1 w kq - tune 1.0; id \"1\";\n"
    "r1bqk2r/2p1bppp/p1np1n2/1p2p3/4P3/1BP2N2/PP1P1PPP/RNBQR1K1 b kq - tune 0.0; id \"1\";\n"
    "r1bq1rk1/2p1bppp/p1np1n2/1p2p3/4P3/1BP2N2/PP1P1PPP/RNBQR1K1 w - - ce 30; tune 1.0; id \"1\";\n"
    "r1bq1rk1/2p1bppp/p1np1n2/1p2p3/4P3/1BP2N1P/PP1P1PP1/RNBQR1K1 b - - ce 10; tune 0.0; id "
    "\"1\";\n"
    "r1bqk2r/1pppbppp/p1n2n2/4p3/B3P3/5N2/PPPP1PPP/RNBQ1RK1 w kq - tune 0.5; id \"2\";\n"
    "8/8/4k3/8/4P1R1/8/8/4K3 b - - ce -750; tune 1.0; id \"3\";\n"
    "8/8/5k2/8/4P1R1/8/8/4K3 w - - tune 0.0; id \"3\";\n"
    "rnbq1rk1/ppp1bppp/4pn2/3p2B1/2PP4/2N1P3/PP3PPP/R2QKBNR w KQ - ce 20; tune 0.0; id \"6\";\n"
    "rnbq1rk1/ppp1bppp/4pn2/3p2B1/2PP4/2N1PN2/PP3PPP/R2QKB1R b KQ - ce 0; tune 1.0; id \"6\";\n"
    "rnbq1rk1/ppp1bpp1/4pn1p/3p2B1/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - tune 0.0; id \"6\";\n";

TEST_F(Extract, QuietPositionsOfFinishedGamesComeOnceWithScoreAndResult) {
    testing::internal::CaptureStderr();
    const std::string output = Extracted(GAMES);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "games.pgn, game 5: cannot read move 12 of the game: Qh3\n");
    EXPECT_EQ(output, "games= 6, without result= 1, unreadable= 1, looked at= 19, positions= 13\n");
    EXPECT_EQ(FileContent(POSITIONS_FILE), POSITIONS);
}

// What a reader of the file finds: the tool at depth 0 scores each position as the evaluation does.
TEST_F(Extract, EveryPositionIsQuietToWhoReadsTheFile) {
    Extracted(FileContent(DataFile("engine-games.pgn")));
    PBlock.limits.max_depth = 0;
    std::istringstream lines(FileContent(POSITIONS_FILE));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        SetGame(line);
        PrepareToolSearch();
        ASSERT_EQ(ScoreGamePosition(), ThreadData[1]->root_eval) << line;
    }
    EXPECT_GT(count, 1000);
}

TEST_F(Extract, ScoresOfCommentsAreReadAsEnginesWriteThem) {
    const std::pair<const char*, std::optional<int>> comments[] = {{"+0.25/7 0.013s", 25},
                                                                   {"-1.5/20", -150},
                                                                   {"0.00/1 0s", 0},
                                                                   {"+M5/12 0.1s", 9994},
                                                                   {"-M2/3", -9997},
                                                                   {"12/3", 1200},
                                                                   {"book", {}},
                                                                   {"", {}},
                                                                   {"+/7", {}},
                                                                   {"-", {}},
                                                                   {"+0.25", {}},
                                                                   {"Mate/3", {}},
                                                                   {"99999999/1", 10000},
                                                                   {"-99999999/1", -10000}};
    for (const auto& [comment, score] : comments) {
        EXPECT_EQ(ScoreOfComment(comment), score) << comment;
    }
}

TEST_F(Extract, TheUserEndsItAndTheGamesAreNotLostToTheirOwnPositions) {
    const auto end = [] { PBlock.control.quit = 1; };
    WriteFile("games.pgn", GAMES);
    OutputOf([&] { ExtractPositions("games.pgn", "games.pgn", end); });
    EXPECT_EQ(FileContent("games.pgn"), GAMES);
    PBlock.control.quit = 0;
    const std::string output =
        OutputOf([&] { ExtractPositions("games.pgn", POSITIONS_FILE, end); });
    EXPECT_EQ(output, "games= 1, without result= 0, unreadable= 0, looked at= 8, positions= 7\n");
    EXPECT_FALSE(PBlock.tool.failed);
    PBlock.control.quit = 0;
}

TEST_F(Extract, FilesThatCannotBeReadOrWrittenAreToldAndNothingIsLost) {
    WriteFile(POSITIONS_FILE, "old\n");
    OutputOf([] { ExtractPositions("missing.pgn", POSITIONS_FILE); });
    EXPECT_TRUE(PBlock.tool.failed);
    EXPECT_EQ(FileContent(POSITIONS_FILE), "old\n");
    PBlock.tool.failed = false;
    WriteFile("games.pgn", GAMES);
    OutputOf([] { ExtractPositions("games.pgn", "missing/positions.epd"); });
    EXPECT_TRUE(PBlock.tool.failed);
}

}  // namespace

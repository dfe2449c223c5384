// The scanner: the four modes over real games, scores of comments, limits, oversized input.
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

#include "book/files.h"

namespace {

using testing::HasSubstr;

class PgnScan : public BookTest {
protected:
    static std::string Scan(const std::string& games, int mode) {
        WriteFile("games.pgn", games);
        output = OutputOf([&] { Scan_PGN_File("games.pgn", mode); });
        return FileContent(mode == 1 ? "tmp.pgn" : "tmp.epd");
    }
    static inline std::string output;
};

// A game in which the knights go to and fro, with these scores for the sides to move.
std::string KnightGame(const std::string& result, const std::vector<int>& scores) {
    std::string game = "[Result \"" + result + "\"]\n";
    for (std::size_t ply = 0; ply < scores.size(); ++ply) {
        const char* const moves[] = {"Nf3", "Nf6", "Ng1", "Ng8"};
        const int white = ply % 2 == 0 ? scores[ply] : -scores[ply];
        game += moves[ply % 4] + (" {eval " + std::to_string(white) + "}\n");
    }
    return game;
}

TEST_F(PgnScan, TheFourModesOverEngineGamesLeaveTheOptionsAlone) {
    PBlock.limits.max_depth = 9;
    std::string games = FileContent(DataFile("engine-games.pgn"));
    std::size_t end = 0;
    for (int i = 0; i < 6; ++i) { end = games.find("[Event ", end + 1); }
    games.resize(end);
    EXPECT_EQ(Scan(games, 1), FileContent(DataFile("scan1.pgn")));
    EXPECT_EQ(Scan("\xEF\xBB\xBF" + games, 2), FileContent(DataFile("scan2.epd")));
    EXPECT_EQ(Scan(games, 3), FileContent(DataFile("scan3.epd")));
    EXPECT_EQ(output, "games= 6, positions= 399\n\n");
    games += FileContent(DataFile("rook-ending.pgn"));
    EXPECT_EQ(Scan(games, 4), FileContent(DataFile("scan4.epd")));
    EXPECT_EQ(PBlock.limits.max_depth, 9);
}

TEST_F(PgnScan, GamesAndScoresAreTakenFromEveryKindOfText) {
    const std::regex line("[^ ]+ [wb] [^ ]+ [^ ]+ bm ([^;]+); ce (-?\\d+);\n");
    for (const auto& row : ReadTable("scantexts.tsv")) {
        const std::string found = std::regex_replace(Scan(Lines(row[1]), 3), line, "$1 $2 ");
        EXPECT_EQ(found, row[2].empty() ? "\n" : row[2] + " \n") << row[0] << ": " << row[1];
    }
    Scan(Repeat("[Event x]\n", 250), 3);
    EXPECT_EQ(output, "game 100\n\ngame 200\n\ngames= 250, positions= 0\n\n");
}

TEST_F(PgnScan, BoundariesOfTuningAndTestPositions) {
    // The fifty-move counter is the ply: only the position at ply 20 is neither early nor stale.
    for (const auto& row : ReadTable("labels.tsv")) {
        const std::string text = Scan(KnightGame(row[0], std::vector(30, std::stoi(row[1]))), 2);
        const std::size_t at = text.find("tune ");
        EXPECT_EQ(at == std::string::npos ? "" : text.substr(at + 5, 5), row[2]) << row[0] + row[1];
        EXPECT_LE(std::count(text.begin(), text.end(), 'w'), 1);
    }
    // The pawn's move clears the counter: of the plies after it, 249 and 250 are not too late.
    const std::string game =
        KnightGame("*", std::vector<int>(248)) + "e4 {0/1} Nf6 {0/1} Nf3 {0/1} Ng8 {0/1}";
    Scan(game, 2);
    EXPECT_THAT(output, HasSubstr("positions= 3\n"));
    Scan(game, 3);
    EXPECT_THAT(output, HasSubstr("positions= 201\n"));
}

TEST_F(PgnScan, SuspectedMistakes) {
    const std::string mark = " ? rnbqkb1r/pppppppp/5n2/8/8/5N2/PPPPPPPP/RNBQKB1R w KQkq -}\n";
    for (const auto& row : ReadTable("mistakes.tsv")) {
        std::istringstream scores(row[1]);
        const std::string game = KnightGame(row[0], {std::istream_iterator<int>(scores), {}});
        const std::string text = Scan(game, 1);
        EXPECT_EQ(text.find(mark) != std::string::npos, row[2] == "1") << row[3];
        EXPECT_EQ(std::to_string(std::count(text.begin(), text.end(), '?')), row[2]) << row[3];
    }
}

TEST_F(PgnScan, OversizedInputIsCutOffCleanlyAndAMissingOneCreatesNoOutput) {
    Scan_PGN_File("missing.pgn", 2);
    EXPECT_FALSE(std::filesystem::exists("tmp.epd"));
    std::string text = Scan(KnightGame("*", std::vector<int>(800)) + "Nf3 {9.00/1}\n", 1);
    EXPECT_EQ(std::count(text.begin(), text.end(), '{'), 800);
    EXPECT_EQ(text.find("9.00"), std::string::npos) << "a dropped move's comment went to another";
    text = Scan("1. e4 {0.1/1} " + std::string(100000, 'x') + " {0.2/1} Nf3\n", 3);
    EXPECT_EQ(std::count(text.begin(), text.end(), ';'), 2);
    text = Scan("1. e4 {" + std::string(3000000, 'x') + "} e5 {book}\n", 1);
    EXPECT_THAT(text, HasSubstr("e5      {  0.00}"));
}

}  // namespace

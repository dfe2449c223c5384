// The scanner: the four modes over real games, scores of comments, limits, oversized input.
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
        output = OutputOf([&] { Scan_PGN_File("games.pgn", mode); });
        return FileContent(mode == 1 ? "tmp.pgn" : "tmp.epd");
    }
    static inline std::string output;
};

// The first games of the collection.
std::string SixGames() {
    const std::string games = FileContent(DataFile("engine-games.pgn"));
    std::size_t at = 0;
    for (int i = 0; i < 6; ++i) { at = games.find("[Event ", at + 1); }
    return games.substr(0, at);
}

TEST_F(PgnScan, TheFourModesOverEngineGamesLeaveTheOptionsAlone) {
    PBlock.options.log = 1;
    PBlock.options.hash_mode = 2;
    PBlock.limits.max_depth = 9;
    const std::string games = SixGames();
    const std::pair<const char*, int> cases[] = {
        {"scan1.pgn", 0}, {"scan2.epd", 290}, {"scan3.epd", 399}};
    for (int mode = 1; const auto& [golden, positions] : cases) {
        EXPECT_EQ(Scan(games, mode++), FileContent(DataFile(golden)));
        EXPECT_EQ(output, "games= 6, positions= " + std::to_string(positions) + "\n\n") << golden;
    }
    EXPECT_EQ(Scan("\xEF\xBB\xBF" + games, 2), FileContent(DataFile("scan2.epd")));
    EXPECT_EQ(Scan(games, 4), "\n") << "no rook ending";
    EXPECT_EQ(PBlock.options.log, 1);
    EXPECT_EQ(PBlock.options.hash_mode, 2);
    EXPECT_EQ(PBlock.limits.max_depth, 9);
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

TEST_F(PgnScan, GamesAreTakenFromEveryKindOfText) {
    for (const auto& row : ReadTable("scantexts.tsv")) {
        std::istringstream text(Scan(Lines(row[1]), 3));
        std::string found;
        for (std::string line; std::getline(text, line);) {
            const std::size_t at = line.find(" bm ");
            if (at != std::string::npos) { found += line.substr(at + 4); }
        }
        std::istringstream words(row[2]);
        std::string wanted;
        for (std::string m, score; words >> m >> score;) { wanted += m + "; ce " + score + ";"; }
        EXPECT_EQ(found, wanted) << row[0];
    }
    Scan(Repeat("[Event x]\n", 250), 3);
    EXPECT_EQ(output, "game 100\n\ngame 200\n\ngames= 250, positions= 0\n\n");
}

// A move of a game in which the knights go to and fro.
std::string KnightMove(int ply) {
    const char* const moves[] = {"Nf3 ", "Nf6 ", "Ng1 ", "Ng8 "};
    return moves[ply % 4];
}

// The first moves of that game, each with the comment.
std::string KnightMoves(int plies, const std::string& comment) {
    std::string text;
    for (int i = 0; i < plies; ++i) { text += KnightMove(i) + comment + '\n'; }
    return text;
}

TEST_F(PgnScan, BoundariesOfTuningAndTestPositions) {
    // The fifty-move counter is the ply: only the position at ply 20 is neither early nor stale.
    for (const auto& row : ReadTable("labels.tsv")) {
        const std::string tag = "[Result \"" + row[0] + "\"]\n";
        const std::string text = Scan(tag + KnightMoves(30, row[1]), 2);
        const std::size_t at = text.find("tune ");
        EXPECT_EQ(at == std::string::npos ? "" : text.substr(at + 5, 5), row[2]) << row[0] + row[1];
        EXPECT_LE(std::count(text.begin(), text.end(), 'w'), 1);
    }
    // The pawn's move clears the counter: of the plies after it, 249 and 250 are not too late.
    const std::string game =
        KnightMoves(248, "{0/1}") + "e4 {0/1} " + "Nf6 {0/1} Nf3 {0/1} Ng8 {0/1}";
    Scan(game, 2);
    EXPECT_THAT(output, HasSubstr("positions= 3\n"));
    Scan(game, 3);
    EXPECT_THAT(output, HasSubstr("positions= 201\n"));
}

TEST_F(PgnScan, SuspectedMistakes) {
    const std::string mark = " ? rnbqkb1r/pppppppp/5n2/8/8/5N2/PPPPPPPP/RNBQKB1R w KQkq -}\n";
    for (const auto& row : ReadTable("mistakes.tsv")) {
        std::string game = "[Result \"" + row[0] + "\"]\n";
        std::istringstream scores(row[1]);
        // The score of an "eval" is White's.
        for (int ply = 0, score; scores >> score; ++ply) {
            const int white = ply % 2 == 0 ? score : -score;
            game += KnightMove(ply) + "{eval " + std::to_string(white) + "} ";
        }
        const std::string text = Scan(game, 1);
        EXPECT_EQ(text.find(mark) != std::string::npos, row[2] == "1") << row[3];
        EXPECT_EQ(std::to_string(std::count(text.begin(), text.end(), '?')), row[2]) << row[3];
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
    std::string text = Scan(KnightMoves(800, "{0.00/1}") + "Nf3 {9.00/1}\n", 1);
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

}  // namespace

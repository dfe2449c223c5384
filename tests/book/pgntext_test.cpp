// Game text with all that its standard allows: the same games as without it.
#include "book/pgntext.h"

#include <gmock/gmock.h>

#include <random>
#include <sstream>

#include "book/files.h"

namespace {

class Pgn : public BookTest {
protected:
    void SetUp() override {
        BookTest::SetUp();
        PBlock.options.conventions = STANDARD_CONVENTIONS;
    }

    // The games as the scanner understands them.
    static std::string Scanned(const std::string& games) {
        WriteFile("games.pgn", games);
        OutputOf([] { Scan_PGN_File("games.pgn", 1); });
        return FileContent("tmp.pgn");
    }
    static std::string BookOfGames(const std::string& games) {
        WriteFile("book.pgn", games);
        OutputOf([] { MakeBook(); });
        return FileContent("book.opn");
    }
};

// Puts in what tells nothing of the moves.
std::string Decorated(const std::string& games) {
    constexpr const char* DECORATIONS[] = {
        "",
        "!",
        "?!",
        " $14",
        "$3 $22",
        " {a comment (with} ",
        " { [%clk 0:10] ; Nf3 $1 } ",
        "#",
        "",
        " ( Qh4 { in } (Kf2 (Ke2) ) d5 ) ",
        " (1. c4 ; Nf6 )\n ) ",
        " ; to the end Qh4 (\n",
        "\n% an escaped line: Nf3\n",
    };
    std::mt19937 random(7);
    std::istringstream lines(games);
    std::string decorated;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        if (line.starts_with('[')) {
            decorated += line;
        } else {
            while (words >> word) {
                const bool castles = word.ends_with("O-O");
                if (castles && random() % 2 == 0) {
                    std::replace(word.begin(), word.end(), 'O', '0');
                }
                const bool move = word.find_first_of("abcdefghO") != std::string::npos || castles;
                decorated += word;
                if (move) { decorated += DECORATIONS[random() % std::size(DECORATIONS)]; }
                decorated += ' ';
            }
        }
        decorated += "\n";
    }
    return decorated;
}

TEST_F(Pgn, CommentsVariationsAndMarksChangeNoGame) {
    const std::string games = FileContent(DataFile("dortmund.pgn"));
    const std::string decorated = Decorated(games);
    EXPECT_EQ(Scanned(decorated), Scanned(games));
    EXPECT_EQ(BookOfGames(decorated), BookOfGames(games));
    PBlock.options.conventions = CLASSIC_CONVENTIONS;
    EXPECT_NE(Scanned(decorated), Scanned(games)) << "the classic form stops at some";
}

TEST_F(Pgn, GamesBeginWhereTheirTagSays) {
    const std::string games =
        "[Result \"1-0\"]\n[FEN \"4k3/8/8/8/8/8/p7/4K2R b K - 0 9\"]\n[Event \"a\"]\n\n"
        "9... Kd7 {eval 30, } 10. 0-0?? { unfinished\n"
        "[Event \"b\"]\n[FEN \"k7/8/8/4pP2/8/8/8/7K w - e6 0 1\"]\n[Result \"*\"]\n\n"
        "1.fxe6e.p.!! {a {brace} Kb8 2.e7# *\n"
        "[Event \"c\"]\n[Result \"1-0\"]\n\n1.e4 e5 2.Qh5? Nc6 3.Bc4 Nf6?? 4.Qxf7# 1-0\n";
    const std::string scanned = Scanned(games);
    EXPECT_THAT(scanned, testing::HasSubstr("      Kd7     {  0.30}\n  2.  o-o"));
    EXPECT_THAT(scanned, testing::HasSubstr("  1.  fxe6    {}\n      Kb8     {}\n  2.  e7 "));
    EXPECT_THAT(scanned, testing::HasSubstr("  4.  Qxf7"));
}

TEST_F(Pgn, BracketsBlanksAndGamesWithoutResultOrMovesDoNotMislead) {
    const std::string games =
        "[Event \"a\"]\n\n{ never closed\n"
        "[Event \"b\"]\n [FEN  \"4k3/8/8/8/8/8/4P3/4K3 b\"]\n\n"
        "1... Kd7 {see\n[Result \"0-1\" of another} 2. e4 {eval 35, d}\n";
    EXPECT_THAT(Scanned(games), testing::HasSubstr("      Kd7     {}\n  2.  e4      {  0.35}"));
    std::string collection = "[Event \"x\"]\n[Result \"0-1\"]\n\n1. zz9\n";
    for (int i = 0; i < 10; ++i) {
        collection += std::string("[Event \"y\"]\n[FEN \"") + fen_opn + "\"]\n\n1. e4 e5 *\n";
        collection += "[Result \"1-0\"]\n[Event \"z\"]\n\n1. e4 e5 1-0\n";
    }
    const std::string book = BookOfGames(collection);
    ASSERT_GE(book.size(), std::size_t{BOOK_RECORD_SIZE});
    const BookRecord r = DecodeBookRecord(reinterpret_cast<const unsigned char*>(book.data()));
    EXPECT_EQ(r.draws, 10) << "each is a game of its own, of unknown result";
    EXPECT_EQ(r.stm_wins + r.prev_wins, 10) << "tags come in any order";
}

}  // namespace

// Book building: the records that games give, every kind of game text, and failing writes.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "book/files.h"
#include "frontend/pblock.h"
#include "platform/interrupt.h"

namespace {

namespace fs = std::filesystem;

class BookBuildTest : public BookTest {
protected:
    // Builds a book from the games and returns what was printed.
    static std::string Build(const std::string& games) {
        WriteFile("book.pgn", games);
        return OutputOf(MakeBook);
    }
    static std::string Game(const std::string& result, const std::string& moves) {
        return "[Result \"" + result + "\"]\n" + moves + '\n';
    }
    // "book.opn" is what it was, one line says why, and nothing is left lying about.
    static void ExpectNothingLost(const std::string& output, const std::string& fault) {
        EXPECT_EQ(FileContent("book.opn"), "old book");
        EXPECT_NE(output.find(fault + ": "), std::string::npos) << output;
        EXPECT_NE(output.find("; book.opn is unchanged\n"), std::string::npos) << output;
        EXPECT_EQ(output.find("done"), std::string::npos) << output;
        for (const char* name : {"tmp__1.opn", "tmp__2.opn", "tmp__0.opn"}) {
            EXPECT_FALSE(fs::is_regular_file(name));
        }
    }

    const std::string collection_ = FileContent(DataFile("dortmund.pgn"));
};

// Drawn games of all records of the new book together.
int Draws() {
    int draws = 0;
    for (const BookRecord& r : DecodeBook(FileContent("book.opn"))) { draws += r.draws; }
    return draws;
}

// Counters of the new book's record of the position after the moves: wins of the side that moved
// last, of the other, draws. Empty without a record.
std::string CountersAfter(const std::string& moves) {
    std::strcpy(PBlock.options.book_file, "book.opn");
    EXPECT_EQ(InitBook(), 0);
    PlayFromStart(moves);
    const std::optional<BookRecord> r = FindPosition(game_position->side);
    if (!r) { return ""; }
    return std::to_string(r->prev_wins) + ' ' + std::to_string(r->stm_wins) + ' ' +
           std::to_string(r->draws);
}

TEST_F(BookBuildTest, ACollectionGivesItsBook) {
    PBlock.options.hash_mode = 2;
    EXPECT_EQ(Build(collection_), "..\nmerging...\npruning...\ndone\n");
    EXPECT_EQ(FileContent("book.opn"), FileContent(DataFile("dortmund.opn")));
    EXPECT_STREQ(PBlock.options.book_file, "");
    EXPECT_EQ(game_position->hist_count, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 2)
        << "temporary files are left";
}

TEST_F(BookBuildTest, ResultsAreCreditedToTheSideThatMovedAndRarePositionsGo) {
    for (const auto& row : ReadTable("credits.tsv")) {
        std::istringstream results(row[0]);
        std::string games;
        for (std::string result; results >> result;) { games += Game(result, "1. e4 e5"); }
        Build(games);
        EXPECT_EQ(CountersAfter("e2e4"), row[1]) << row[0];
        EXPECT_EQ(CountersAfter("e2e4 e7e5"), row[2]) << row[0];
    }
}

TEST_F(BookBuildTest, EveryKindOfGameTextIsReadUpToTheFiftiethPly) {
    std::vector<std::vector<std::string>> rows = ReadTable("gametexts.tsv");
    rows.push_back(
        {"word without end", "1. e4 e5 " + std::string(5000, 'N') + " Nc6", "e2e4 e7e5"});
    rows.push_back(
        {"line of megabytes", "1. e4 {" + Repeat("word ", 500000) + "} e5", "e2e4 e7e5"});
    for (const auto& row : rows) {
        const std::string game = Game("1/2-1/2", "\n" + Lines(row[1]));
        Build("\xEF\xBB\xBF" + Repeat(game + '\n', 5) + game.substr(0, game.size() - 1));
        EXPECT_EQ(Draws(), 6 * (1 + std::count(row[2].begin(), row[2].end(), ' '))) << row[0];
        EXPECT_EQ(CountersAfter(row[2]), "0 0 6") << row[0];
    }
    Build(Repeat(Game("1/2-1/2", Repeat("Nf3 Nf6 Ng1 Ng8 ", 15)), 6));
    EXPECT_EQ(Draws(), 6 * 50);
}

TEST_F(BookBuildTest, RecordsLeftOverJoinTheNextBuildAndCountersStop) {
    const std::string games =
        Repeat(Game("1-0", "1. e4") + Game("0-1", "1. e4") + Game("1/2-1/2", "1. e4"), 3);
    PlayFromStart("e2e4");
    const BookRecord plain = {BookKey1(BLACK), opening_book.hash2, 3, 3, 3, 0};
    for (const int before : {0, 100, 59996, 59997, 59998, 65535}) {
        for (const auto counter :
             {&BookRecord::stm_wins, &BookRecord::prev_wins, &BookRecord::draws}) {
            BookRecord left = {plain.key1, plain.key2, 0, 0, 0, 77};
            left.*counter = static_cast<u16>(before);
            WriteFile("tmp.opn", EncodeBook({left}) + "torn");
            Build(games);
            EXPECT_FALSE(fs::exists("tmp.opn"));
            BookRecord wanted = plain;
            wanted.*counter = static_cast<u16>(std::min(before + 3, 60000));
            EXPECT_EQ(FileContent("book.opn"), EncodeBook({wanted})) << before;
        }
    }
    Build(games);
    EXPECT_EQ(FileContent("book.opn"), EncodeBook({plain})) << "an old book is not added to";
}

TEST_F(BookBuildTest, SpillsAndMergesGiveTheSameBookAsCounting) {
    std::string games;
    for (const char* move : {"e4", "d4", "e4", "c4"}) { games += Game("1/2-1/2", move); }
    const std::string merged = std::string(25, '.') + "\nmerging...\n";
    EXPECT_EQ(Build(Repeat(games, 2500)), merged + merged + ".\nmerging...\npruning...\ndone\n");
    EXPECT_EQ(CountersAfter("e4") + ", " + CountersAfter("c4"), "0 0 5000, 0 0 2500");
}

TEST_F(BookBuildTest, WithoutGamesNothingIsTouched) {
    WriteFile("book.opn", "old book");
    WriteFile("tmp.opn", "left");
    EXPECT_EQ(OutputOf(MakeBook), "");
    EXPECT_EQ(FileContent("book.opn") + FileContent("tmp.opn"), "old bookleft");
}

TEST_F(BookBuildTest, AFullDiskLosesNothing) {
    const std::string left = EncodeBook({{9, 9, 9, 9, 9, 0}});
    WriteFile("book.opn", "old book");
    WriteFile("tmp.opn", left);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    WriteFile("book.pgn", collection_);
    // Room for what is printed, for a part of a spill, and for a spill but not for the whole book.
    for (const rlim_t room : std::initializer_list<rlim_t>{300, 1000, 60000, 100000}) {
        const rlimit limit = {room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string output = OutputOf(MakeBook);
        setrlimit(RLIMIT_FSIZE, &before);
        ExpectNothingLost(output, "cannot write tmp__0.opn");
    }
    EXPECT_EQ(FileContent("tmp.opn"), left);
    Build(collection_);
    EXPECT_NE(FileContent("book.opn"), "old book");
}

// In a process of its own: an interrupt stays noted.
TEST_F(BookBuildTest, ABuildThatIsBrokenOffLosesNothing) {
    WriteFile("book.opn", "old book");
    const auto break_off = [this] {
        CatchInterrupt();
        std::raise(SIGINT);
        ExpectNothingLost(Build(collection_), "cannot finish book.pgn");
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(break_off(), testing::ExitedWithCode(0), "");
}

TEST_F(BookBuildTest, FilesInTheWayLoseNothing) {
    WriteFile("precious", "precious");
    fs::create_symlink("precious", "tmp__0.opn");
    EXPECT_NE(Build(collection_).find("done"), std::string::npos);
    EXPECT_EQ(FileContent("precious"), "precious") << "a link is not written through";
    WriteFile("book.opn", "old book");
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"tmp__0.opn", "", "cannot write "},  // a folder
        {"tmp.opn", "", "cannot read "},
        {"tmp.opn", std::string(1000, '\0'), "cannot use "},
        {"tmp.opn", std::string(1000, '\xFF'), "cannot use "},
    };
    for (const auto& [name, content, fault] : cases) {
        if (content.empty()) {
            fs::create_directories(name + std::string("/x"));
        } else {
            WriteFile(name, content);
        }
        ExpectNothingLost(Build(collection_), std::string(fault) + name);
        EXPECT_TRUE(content.empty() || FileContent(name) == content) << name;
        EXPECT_GT(fs::remove_all(name), 0u);
    }
    fs::remove("book.opn");
    fs::create_directories("book.opn/x");
    EXPECT_NE(Build(collection_).find("cannot replace book.opn: "), std::string::npos);
    EXPECT_TRUE(fs::exists("book.opn/x"));
}

}  // namespace

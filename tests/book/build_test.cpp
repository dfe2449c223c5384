// Book building: the records that games give, every kind of game text, and failing writes.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>

#include "book/files.h"
#include "frontend/pblock.h"

namespace {

namespace fs = std::filesystem;

class BookBuildTest : public BookTest {
protected:
    // Builds a book from the games and returns what was printed.
    static std::string Build(const std::string& games) {
        WriteFile("book.pgn", games);
        return OutputOf(MakeBook);
    }
    static std::vector<BookRecord> Book() { return DecodeBook(FileContent("book.opn")); }
    // Drawn games of all records together.
    static int Draws() {
        int draws = 0;
        for (const BookRecord& r : Book()) { draws += r.draws; }
        return draws;
    }
    static std::string Game(const std::string& result, const std::string& moves) {
        return "[Result \"" + result + "\"]\n" + moves + '\n';
    }

    // "book.opn" is what it was, one line says why, and nothing is left lying about.
    static void ExpectNothingLost(const std::string& output) {
        EXPECT_EQ(FileContent("book.opn"), "old book");
        EXPECT_NE(output.find("book.opn is unchanged\n"), std::string::npos) << output;
        EXPECT_EQ(output.find("done"), std::string::npos) << output;
        for (const char* name : {"tmp__1.opn", "tmp__2.opn", "tmp__0.opn"}) {
            EXPECT_FALSE(fs::exists(name));
        }
    }
};

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
    const std::string output = Build(FileContent(DataFile("dortmund.pgn")));
    EXPECT_EQ(output, "..\nmerging...\npruning...\ndone\n");
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

TEST_F(BookBuildTest, EveryKindOfGameTextIsRead) {
    std::vector<std::vector<std::string>> rows = ReadTable("gametexts.tsv");
    const std::string line = "e2e4 e7e5 g1f3";
    rows.push_back(
        {"a word without end", "1. e4 e5 2. Nf3 " + std::string(5000, 'N') + " Nc6", line});
    rows.push_back(
        {"a line of megabytes", "1. e4 {" + Repeat("word ", 500000) + "} e5 2. Nf3", line});
    for (const auto& row : rows) {
        const std::string game = Game("1/2-1/2", "\n" + Lines(row[1]));
        Build("\xEF\xBB\xBF" + Repeat(game + '\n', 5) + game.substr(0, game.size() - 1));
        EXPECT_EQ(Draws(), 6 * (1 + std::count(row[2].begin(), row[2].end(), ' '))) << row[0];
        EXPECT_EQ(CountersAfter(row[2]), "0 0 6") << row[0];
    }
    // Plies beyond the fiftieth are left out.
    Build(Repeat(Game("1/2-1/2", Repeat("Nf3 Nf6 Ng1 Ng8 ", 15)), 6));
    EXPECT_EQ(Draws(), 6 * 50);
}

TEST_F(BookBuildTest, RecordsLeftOverJoinTheNextBuildAndCountersStop) {
    std::string games;  // three of each result
    for (const char* result : {"1-0", "0-1", "1/2-1/2"}) {
        games += Repeat(Game(result, "1. e4"), 3);
    }
    Build(games);
    ASSERT_EQ(Book().size(), 1u);
    const BookRecord plain = Book()[0];
    for (const int before : {0, 100, 59996, 59997, 59998, 65535}) {
        for (u16 BookRecord::*counter :
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
    std::map<std::string, int> wanted;
    const char* const first[] = {"e4", "d4", "c4", "Nf3"};
    for (int i = 0; i < 10000; ++i) {
        games += Game("1/2-1/2", first[i % 7 % 4]);
        wanted[first[i % 7 % 4]]++;
    }
    const std::string merged = std::string(25, '.') + "\nmerging...\n";
    EXPECT_EQ(Build(games), merged + merged + ".\nmerging...\npruning...\ndone\n");
    for (const auto& [move, n] : wanted) {
        EXPECT_EQ(CountersAfter(move), "0 0 " + std::to_string(n));
    }
}

TEST_F(BookBuildTest, WithoutGamesNothingIsTouched) {
    WriteFile("book.opn", "old book");
    WriteFile("tmp.opn", "left");
    EXPECT_EQ(OutputOf(MakeBook), "");
    EXPECT_EQ(FileContent("book.opn"), "old book");
    EXPECT_EQ(FileContent("tmp.opn"), "left");
}

TEST_F(BookBuildTest, AFullDiskLosesNothing) {
    const std::string games = FileContent(DataFile("dortmund.pgn"));
    const std::string left = EncodeBook({{9, 9, 9, 9, 9, 0}});
    WriteFile("book.opn", "old book");
    WriteFile("tmp.opn", left);
    WriteFile("book.pgn", games);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    // Room for nothing, for a part of a spill, and for a spill but not for the whole book. The
    // output is read through a pipe, which has no such limit.
    for (const rlim_t room : std::initializer_list<rlim_t>{0, 1000, 60000, 100000}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const int out = dup(STDOUT_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        const rlimit limit = {room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        MakeBook();
        setrlimit(RLIMIT_FSIZE, &before);
        dup2(out, STDOUT_FILENO);
        close(out);
        close(ends[1]);
        char text[4096];
        const ssize_t n = read(ends[0], text, sizeof text);
        close(ends[0]);
        const std::string output(text, n > 0 ? static_cast<std::size_t>(n) : 0);
        ExpectNothingLost(output);
        EXPECT_NE(output.find("cannot write tmp__0.opn"), std::string::npos) << output;
    }
    EXPECT_EQ(FileContent("tmp.opn"), left);
    Build(games);
    EXPECT_NE(FileContent("book.opn"), "old book");
}

// In a process of its own: an output that has lost its reader stays lost.
TEST_F(BookBuildTest, ABuildThatIsBrokenOffLosesNothing) {
    WriteFile("book.opn", "old book");
    WriteFile("book.pgn", FileContent(DataFile("dortmund.pgn")));
    EXPECT_EXIT(
        {
            int ends[2];
            if (pipe(ends) != 0) { std::_Exit(1); }
            std::signal(SIGPIPE, SIG_IGN);
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            MakeBook();
            std::_Exit(FileContent("book.opn") == "old book" && !fs::exists("tmp__1.opn") ? 0 : 2);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(BookBuildTest, FilesInTheWayLoseNothing) {
    const std::string games = FileContent(DataFile("dortmund.pgn"));
    WriteFile("precious", "precious");
    fs::create_symlink("precious", "tmp__0.opn");
    EXPECT_NE(Build(games).find("done"), std::string::npos);
    EXPECT_EQ(FileContent("precious"), "precious") << "a link is not written through";
    WriteFile("book.opn", "old book");
    fs::create_symlink("/dev/full", "tmp.opn");
    ExpectNothingLost(Build(games));
    fs::remove("tmp.opn");
    fs::create_directories("tmp__0.opn/x");
    EXPECT_NE(Build(games).find("cannot write tmp__0.opn"), std::string::npos);
    EXPECT_EQ(FileContent("book.opn"), "old book");
    fs::remove_all("tmp__0.opn");
    for (const std::string& damaged : {std::string(1000, '\0'), std::string(1000, '\xFF')}) {
        WriteFile("tmp.opn", damaged);
        ExpectNothingLost(Build(games));
        EXPECT_EQ(FileContent("tmp.opn"), damaged);
    }
    fs::remove("tmp.opn");
    fs::create_directories("tmp.opn");
    const std::string unread = Build(games);
    ExpectNothingLost(unread);
    EXPECT_NE(unread.find("cannot read tmp.opn"), std::string::npos) << unread;
    fs::remove("tmp.opn");
    fs::remove("book.opn");
    fs::create_directories("book.opn/x");
    const std::string output = Build(games);
    EXPECT_NE(output.find("cannot replace book.opn"), std::string::npos) << output;
    EXPECT_TRUE(fs::exists("book.opn/x"));
}

}  // namespace

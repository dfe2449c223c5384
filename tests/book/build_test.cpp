// Book building: the records that games give, every kind of game text, and failing writes.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "book/files.h"
#include "platform/interrupt.h"

namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

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

    const std::string collection_ = FileContent(DataFile("dortmund.pgn"));
};

TEST_F(BookBuildTest, ACollectionGivesItsBook) {
    EXPECT_EQ(Build(collection_), "..\nmerging...\npruning...\ndone\n");
    EXPECT_EQ(FileContent("book.opn"), FileContent(DataFile("dortmund.opn")));
    EXPECT_EQ(PBlock.options.book_file, "");
    EXPECT_EQ(game_position->hist_count, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 2);
}

TEST_F(BookBuildTest, ResultsAreCreditedToTheSideThatMovedAndRarePositionsGo) {
    for (const auto& row : ReadTable("credits.tsv")) {
        std::istringstream results(row[0]);
        std::string games;
        for (std::string result; results >> result;) { games += Game(result, "1. e4 e5"); }
        Build(games);
        EXPECT_EQ(FileContent("book.opn"), BookOf(row[1])) << row[0];
    }
}

TEST_F(BookBuildTest, EveryKindOfGameTextIsRead) {
    std::vector<std::vector<std::string>> rows = ReadTable("gametexts.tsv");
    const std::string book = "e2e4:0 0 6,e2e4 e7e5:0 0 6";
    rows.push_back({"word without end", "1. e4 e5 " + std::string(5000, 'N') + " Nc6", book});
    rows.push_back({"line of megabytes", "1. e4 {" + Repeat("word ", 500000) + "} e5", book});
    for (const auto& row : rows) {
        const std::string game = Game("1/2-1/2", "\n" + Lines(row[1]));
        Build("\xEF\xBB\xBF" + Repeat(game + '\n', 5) + game.substr(0, game.size() - 1));
        EXPECT_EQ(FileContent("book.opn"), BookOf(row[2])) << row[0];
    }
}

TEST_F(BookBuildTest, RecordsLeftOverJoinTheNextBuildAndCountersStop) {
    const std::string games =
        Repeat(Game("1-0", "1. e4") + Game("0-1", "1. e4") + Game("1/2-1/2", "1. e4"), 3);
    for (const auto& row : ReadTable("leftovers.tsv")) {
        std::string left = BookOf(row[0]);
        left.back() = 77;  // of the reserved field
        WriteFile("tmp.opn", left + "torn");
        Build(games);
        EXPECT_EQ(FileContent("book.opn"), BookOf(row[1])) << row[0];
        EXPECT_FALSE(fs::exists("tmp.opn"));
    }
    Build(games);
    EXPECT_EQ(FileContent("book.opn"), BookOf("e2e4:3 3 3")) << "an old book is not added to";
}

TEST_F(BookBuildTest, SpillsAndMergesGiveTheSameBookAsCounting) {
    std::string games;
    for (const char* move : {"e4", "d4", "e4", "c4"}) { games += Game("1/2-1/2", move); }
    const std::string merged = std::string(25, '.') + "\nmerging...\n";
    EXPECT_EQ(Build(Repeat(games, 2500)), merged + merged + ".\nmerging...\npruning...\ndone\n");
    EXPECT_EQ(FileContent("book.opn"), BookOf("e2e4:0 0 5000,d2d4:0 0 2500,c2c4:0 0 2500"));
}

// "book.opn" is what it was, one line says why, and nothing is left lying about.
TEST_F(BookBuildTest, AFileInTheWayOrAFullDiskLosesNothing) {
    WriteFile("book.opn", "old book");
    EXPECT_EQ(OutputOf(MakeBook), "") << "there are no games";
    WriteFile("book.pgn", collection_);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit no_limit;
    getrlimit(RLIMIT_FSIZE, &no_limit);
    for (const auto& row : ReadTable("obstacles.tsv")) {
        const bool is_file = row[1] != "a folder" && row[1] != "a link to itself";
        if (row[1] == "a folder") {
            fs::create_directories(row[0] + "/x");
        } else if (!is_file) {
            fs::create_symlink(row[0], row[0]);
        } else {
            WriteFile(row[0], row[1]);
        }
        const rlimit limit = {std::stoul(row[2]), no_limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string output = OutputOf(MakeBook);
        setrlimit(RLIMIT_FSIZE, &no_limit);
        EXPECT_THAT(output, HasSubstr("cannot " + row[3] + ": "));
        EXPECT_THAT(output, EndsWith("; book.opn is unchanged\n"));
        EXPECT_EQ(FileContent("book.opn"), "old book");
        EXPECT_TRUE(!is_file || FileContent(row[0]) == row[1]) << row[4];
        EXPECT_GT(fs::remove_all(row[0]), 0u);
        EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 2);
    }
    fs::remove("book.opn");
    fs::create_directories("book.opn/x");
    EXPECT_THAT(OutputOf(MakeBook), HasSubstr("cannot replace book.opn: "));
    EXPECT_TRUE(fs::exists("book.opn/x"));
}

TEST_F(BookBuildTest, ALinkInTheWayIsNotWrittenThrough) {
    WriteFile("precious", "precious");
    fs::create_symlink("precious", "tmp__0.opn");
    EXPECT_THAT(Build(collection_), EndsWith("done\n"));
    EXPECT_EQ(FileContent("precious"), "precious");
}

// In a process of its own: an interrupt stays noted.
TEST_F(BookBuildTest, AnInterruptLosesNothing) {
    const auto break_off = [this] {
        CatchInterrupt();
        std::raise(SIGINT);
        EXPECT_THAT(Build(collection_), HasSubstr("interrupted; book.opn is unchanged\n"));
        EXPECT_FALSE(fs::exists("book.opn"));
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(break_off(), testing::ExitedWithCode(0), "");
}

}  // namespace

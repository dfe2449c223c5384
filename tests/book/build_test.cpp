// Book building: the records that games give, every kind of game text, and failing writes.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
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
        testing::internal::CaptureStdout();
        MakeBook();
        return testing::internal::GetCapturedStdout();
    }
    static std::vector<BookRecord> Book() { return DecodeBook(FileContent("book.opn")); }

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

std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) { all += text; }
    return all;
}

// The book's record of the position after the moves.
const BookRecord* RecordAfter(const std::vector<BookRecord>& book, const std::string& moves) {
    PlayFromStart(moves);
    for (const BookRecord& r : book) {
        if (r.key1 == BookKey1(game_position->side) && r.key2 == opening_book.hash2) { return &r; }
    }
    return nullptr;
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

TEST_F(BookBuildTest, ResultsAreCreditedToTheSideThatMoved) {
    Build(Repeat("[Result \"1-0\"]\n1. e4 e5 2. Nf3\n", 3));
    std::vector<BookRecord> book = Book();
    ASSERT_EQ(book.size(), 1u) << "only positions that the side to move lost are kept";
    EXPECT_EQ(RecordAfter(book, "e2e4 e7e5")->stm_wins, 3);
    EXPECT_EQ(RecordAfter(book, "e2e4 e7e5")->prev_wins, 0);
    Build(Repeat("[Result \"1/2-1/2\"]\n1. e4\n", 5));
    EXPECT_TRUE(Book().empty());
    Build(Repeat("[Result \"*\"]\n1. e4\n", 6));
    book = Book();
    ASSERT_EQ(book.size(), 1u);
    EXPECT_EQ(RecordAfter(book, "e2e4")->draws, 6);
}

TEST_F(BookBuildTest, EveryKindOfGameTextIsRead) {
    std::vector<std::vector<std::string>> rows = ReadTable("gametexts.tsv");
    const std::string line = "e2e4 e7e5 g1f3";
    rows.push_back(
        {"a word without end", "1. e4 e5 2. Nf3 " + std::string(5000, 'N') + " Nc6", line});
    rows.push_back(
        {"a line of megabytes", "1. e4 {" + Repeat("word ", 500000) + "} e5 2. Nf3", line});
    for (const auto& row : rows) {
        const std::string game = "[Result \"1/2-1/2\"]\n\n" + Lines(row[1]);
        Build("\xEF\xBB\xBF" + Repeat(game + "\n\n", 5) + game);
        const std::vector<BookRecord> book = Book();
        u64 positions = 0;
        for (const BookRecord& r : book) { positions += r.draws; }
        EXPECT_EQ(positions, 6 * (1 + std::count(row[2].begin(), row[2].end(), ' '))) << row[0];
        const BookRecord* r = RecordAfter(book, row[2]);
        ASSERT_NE(r, nullptr) << row[0];
        EXPECT_EQ(r->draws, 6) << row[0];
    }
    // Plies beyond the fiftieth are left out.
    Build(Repeat("[Result \"1/2-1/2\"]\n\n" + Repeat("Nf3 Nf6 Ng1 Ng8 ", 15) + "\n", 6));
    u64 positions = 0;
    for (const BookRecord& r : Book()) { positions += r.draws; }
    EXPECT_EQ(positions, 6u * 50);
}

TEST_F(BookBuildTest, RecordsLeftBehindJoinTheNextBuildAndCountersStop) {
    const std::string game = "[Result \"1-0\"]\n1. e4\n[Result \"0-1\"]\n1. e4\n";
    Build(Repeat(game, 3));
    std::vector<BookRecord> left = Book();
    ASSERT_EQ(left.size(), 1u);
    left[0].stm_wins = 59998;
    left[0].prev_wins = 100;
    WriteFile("tmp.opn", EncodeBook(left) + "torn");
    Build(Repeat(game, 3));
    EXPECT_FALSE(fs::exists("tmp.opn"));
    ASSERT_EQ(Book().size(), 1u);
    EXPECT_EQ(Book()[0].stm_wins, BOOK_COUNTER_MAX);
    EXPECT_EQ(Book()[0].prev_wins, 103);
    Build(Repeat(game, 3));
    EXPECT_EQ(Book()[0].stm_wins, 3) << "an old book is replaced, not added to";
}

TEST_F(BookBuildTest, SpillsAndMergesGiveTheSameBookAsCounting) {
    std::string games;
    std::map<std::string, int> wanted;
    const char* const first[] = {"e4", "d4", "c4", "Nf3"};
    for (int i = 0; i < 10450; ++i) {
        games += std::string("[Result \"1/2-1/2\"]\n1. ") + first[i % 7 % 4] + "\n";
        wanted[first[i % 7 % 4]]++;
    }
    const std::string output = Build(games);
    EXPECT_EQ(std::count(output.begin(), output.end(), '.'), 52 + 1 + 3 * 3 + 3);
    std::map<std::string, int> found;
    for (const auto& [move, n] : wanted) { found[move] = RecordAfter(Book(), move)->draws; }
    EXPECT_EQ(found, wanted);
}

TEST_F(BookBuildTest, WithoutGamesNothingIsTouched) {
    WriteFile("book.opn", "old book");
    WriteFile("tmp.opn", "left");
    testing::internal::CaptureStdout();
    MakeBook();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
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

TEST_F(BookBuildTest, FilesInTheWayLoseNothing) {
    const std::string games = FileContent(DataFile("dortmund.pgn"));
    WriteFile("book.opn", "old book");
    fs::create_symlink("/dev/full", "tmp__0.opn");
    ExpectNothingLost(Build(games));
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
    fs::remove("book.opn");
    fs::create_directories("book.opn/x");
    const std::string output = Build(games);
    EXPECT_NE(output.find("cannot replace book.opn"), std::string::npos) << output;
    EXPECT_TRUE(fs::exists("book.opn/x"));
}

}  // namespace

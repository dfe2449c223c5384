// Output files: the old file until the new one is complete, links, failures.
#include "platform/outfile.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>

#include "support/engine.h"

namespace {

namespace fs = std::filesystem;

long FilesHere() { return std::distance(fs::directory_iterator("."), fs::directory_iterator()); }

TEST(OutFile, TakesTheTargetsPlaceOnlyWhenItIsComplete) {
    const ScratchFolder folder;
    std::ofstream("a.txt") << "old";
    chmod("a.txt", 0640);
    OutFile out;
    ASSERT_TRUE(out.Create("a.txt"));
    out.Print("%s %d\n", "new", 7);
    ASSERT_TRUE(out.Flush());
    EXPECT_EQ(FileContent("a.txt"), "old");
    ASSERT_TRUE(out.Commit());
    EXPECT_EQ(FileContent("a.txt"), "new 7\n");
    struct stat about = {};
    stat("a.txt", &about);
    EXPECT_EQ(about.st_mode & 0777, 0640u);

    ASSERT_TRUE(out.Create("a.txt"));
    out.Write(std::string(200'000, 'x'));
    out.Abandon();
    EXPECT_EQ(FileContent("a.txt"), "new 7\n");
    EXPECT_EQ(FilesHere(), 1) << "nothing is left of an abandoned output";
}

TEST(OutFile, GrowsInSightUnderTheTargetsName) {
    const ScratchFolder folder;
    std::ofstream("games.pgn") << "old";
    std::ifstream reader("games.pgn");
    OutFile out;
    ASSERT_TRUE(out.CreateGrowing("games.pgn"));
    EXPECT_EQ(FileContent("games.pgn"), "");
    out.Write("one\n");
    ASSERT_TRUE(out.Flush());
    EXPECT_EQ(FileContent("games.pgn"), "one\n");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old")
        << "who reads the old file goes on reading it";
    out.Write("two\n");
    ASSERT_TRUE(out.Commit());
    EXPECT_EQ(FileContent("games.pgn"), "one\ntwo\n");
    EXPECT_EQ(FilesHere(), 1);
}

TEST(OutFile, IsNotWrittenThroughLinksNorOverWhatIsNoFile) {
    const ScratchFolder folder;
    std::ofstream("precious.txt") << "precious";
    fs::create_symlink("precious.txt", "link");
    OutFile out;
    ASSERT_TRUE(out.CreateGrowing("link"));
    out.Write("new");
    ASSERT_TRUE(out.Commit());
    EXPECT_EQ(FileContent("precious.txt"), "precious");
    EXPECT_EQ(FileContent("link"), "new");
    EXPECT_FALSE(fs::is_symlink("link"));

    fs::create_directory("folder");
    mkfifo("pipe", 0600);
    const char* const why[][2] = {{"folder", "cannot write folder: Is a directory"},
                                  {"pipe", "cannot write pipe: not a regular file"},
                                  {"/dev/null", "cannot write /dev/null: not a regular file"},
                                  {"no/such", "cannot write no/such: No such file or directory"}};
    for (const auto& [target, fault] : why) {
        EXPECT_FALSE(out.Create(target));
        EXPECT_EQ(out.Fault(), fault);
        EXPECT_FALSE(out.CreateGrowing(target));
    }
}

TEST(OutFile, FailureKeepsTheOldFileAndNamesTheCause) {
    const ScratchFolder folder;
    std::ofstream("a.txt") << "old";
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {1000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    OutFile whole, growing;
    ASSERT_TRUE(whole.Create("a.txt"));
    ASSERT_TRUE(growing.CreateGrowing("b.txt"));
    whole.Write(std::string(5000, 'x'));
    growing.Write(std::string(600, 'x'));
    EXPECT_TRUE(growing.Flush());
    growing.Write(std::string(600, 'y'));
    EXPECT_FALSE(growing.Flush());
    growing.Write("more");
    EXPECT_FALSE(growing.Commit());
    EXPECT_FALSE(whole.Commit());
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, before);
    EXPECT_EQ(whole.Fault(), "cannot write a.txt: File too large");
    EXPECT_EQ(growing.Fault(), "cannot write b.txt: File too large");
    EXPECT_EQ(FileContent("a.txt"), "old");
    EXPECT_EQ(FileContent("b.txt").size(), 1000u);
    EXPECT_EQ(FilesHere(), 2);
}

}  // namespace

// Output files: the old file until the new one is complete, links, failures.
#include "platform/outfile.h"

#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/resource.h>

#include "support/engine.h"

namespace {

namespace fs = std::filesystem;

// A folder with one file "a.txt", which holds "old".
class OutFileTest : public testing::Test {
protected:
    OutFileTest() { std::ofstream("a.txt") << "old"; }

    static std::ptrdiff_t FilesHere() { return std::distance(fs::directory_iterator("."), {}); }

    const ScratchFolder folder_;
    OutFile out_;
};

TEST_F(OutFileTest, TakesTheTargetsPlaceOnlyWhenItIsComplete) {
    fs::permissions("a.txt", fs::perms{0640});
    ASSERT_TRUE(out_.Create("a.txt"));
    const std::string text(1000, 'n');
    out_.Print("%s %d\n", text.c_str(), 7);
    ASSERT_TRUE(out_.Flush());
    EXPECT_EQ(FileContent("a.txt"), "old");
    ASSERT_TRUE(out_.Commit());
    EXPECT_EQ(FileContent("a.txt"), text + " 7\n");
    EXPECT_EQ(fs::status("a.txt").permissions(), fs::perms{0640});

    ASSERT_TRUE(out_.Create("a.txt"));
    out_.Write(std::string(200'000, 'x'));
    out_.Abandon();
    EXPECT_EQ(FileContent("a.txt"), text + " 7\n");
    EXPECT_EQ(FilesHere(), 1) << "nothing is left of an abandoned output";
}

TEST_F(OutFileTest, GrowsInSightUnderTheTargetsName) {
    std::ifstream reader("a.txt");
    ASSERT_TRUE(out_.CreateGrowing("a.txt"));
    EXPECT_EQ(FileContent("a.txt"), "");
    out_.Write("one\n");
    ASSERT_TRUE(out_.Flush());
    EXPECT_EQ(FileContent("a.txt"), "one\n");
    EXPECT_EQ(reader.get(), 'o') << "who reads the old file goes on reading it";
    out_.Write("two\n");
    ASSERT_TRUE(out_.Commit());
    EXPECT_EQ(FileContent("a.txt"), "one\ntwo\n");
    EXPECT_EQ(FilesHere(), 1);
}

TEST_F(OutFileTest, IsNotWrittenThroughLinksNorOverWhatIsNoFile) {
    fs::create_symlink("a.txt", "link");
    ASSERT_TRUE(out_.CreateGrowing("link"));
    out_.Write("new");
    ASSERT_TRUE(out_.Commit());
    EXPECT_EQ(FileContent("a.txt"), "old");
    EXPECT_EQ(FileContent("link"), "new");

    for (const auto& [target, why] : {std::pair{".", "Is a directory"},
                                      {"/dev/null", "not a regular file"},
                                      {"no/such", "No such file or directory"}}) {
        EXPECT_FALSE(out_.Create(target));
        EXPECT_EQ(out_.Fault(), std::string("cannot write ") + target + ": " + why);
        EXPECT_FALSE(out_.CreateGrowing(target));
    }
}

TEST_F(OutFileTest, FailureKeepsTheOldFileAndNamesTheCause) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {1000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (const bool grows : {false, true}) {
        ASSERT_TRUE(grows ? out_.CreateGrowing("a.txt") : out_.Create("a.txt"));
        out_.Write(std::string(600, 'x'));
        EXPECT_TRUE(out_.Flush());
        out_.Write(std::string(600, 'y'));
        EXPECT_FALSE(out_.Flush());
        EXPECT_FALSE(out_.Commit());
        EXPECT_EQ(out_.Fault(), "cannot write a.txt: File too large");
        EXPECT_EQ(FileContent("a.txt").size(), grows ? 1000u : 3u);
        EXPECT_EQ(FilesHere(), 1);
    }
    setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

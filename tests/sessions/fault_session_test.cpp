// Sessions in which something outside breaks that no script can tell: pipes that are full, two
// engines in one folder.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "frontend/output.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

constexpr double SOON = 10.0;  // seconds, also for an instrumented engine

// How often a text stands in another one.
std::size_t CountOf(const std::string& text, const std::string& in) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = in.find(text, at)) != std::string::npos; ++at) { ++count; }
    return count;
}

TEST(FaultSession, AFullPipeLosesNoLineAndLeavesInterruptsAlone) {
    const ScratchFolder folder;
    std::string listings;
    for (int i = 0; i < 60; ++i) { listings += "lmr\n"; }  // 4 KB each
    for (const int flags : {0, O_NONBLOCK}) {
        Session engine({"-c", "-nolog"}, "", flags);
        engine.SendBytes(listings + "mv\nquit\n");
        engine.WaitUntilFull();
        EXPECT_EQ(engine.Wait(SOON), 0);
        EXPECT_EQ(CountOf("30  0 ", engine.RestOfOutput()), 120u) << flags;
    }
    Session engine({"-c", "-nolog"});
    engine.SendBytes(listings);
    engine.WaitUntilFull();
    engine.Signal(SIGINT);
    EXPECT_EQ(engine.WaitWithoutReading(SOON), 1) << "it waits for room that never comes";
}

TEST(FaultSession, TheLogOfALivingEngineIsLeftAlone) {
    const ScratchFolder folder;
    std::ofstream("old.txt") << "precious";
    std::filesystem::create_symlink("old.txt", LOG_FILE_NAME);
    Session first({"-c"});
    first.Send("bd");
    first.Expect("white");
    EXPECT_EQ(FileContent("old.txt"), "precious") << "a link is replaced, not written through";
    const RunResult second = RunVesk({"-c"}, "bd\nquit\n");
    EXPECT_EQ(second.status, 0);
    EXPECT_TRUE(second.output.starts_with("log file in use\n\n")) << second.output;
    first.Send("depth 3");
    first.Send("go 1");
    first.Expect("Hash fill");
    first.Send("quit");
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_NE(FileContent(LOG_FILE_NAME).find("Hash fill"), std::string::npos);
    const RunResult third = RunVesk({"-c"}, "quit\n");
    EXPECT_FALSE(third.output.starts_with("log file")) << third.output;
}

// A pipe would stop the start, an endless device would never end.
TEST(FaultSession, OnlyRegularFilesAreReadAtTheStart) {
    const ScratchFolder folder;
    ASSERT_EQ(mkfifo("vesk.rc", S_IRUSR | S_IWUSR), 0);
    std::filesystem::create_symlink("/dev/zero", "vesk.opn");
    Session engine({"-nolog"});
    engine.Send("quit");
    EXPECT_EQ(engine.Wait(), 0);
    EXPECT_EQ(engine.ErrorText(), "vesk.rc: not a regular file\nvesk.opn: not a regular file\n");
}

TEST(FaultSession, AnInputThatCannotBeReadToItsEndLeavesTheOutputAlone) {
    const ScratchFolder folder;
    for (const char* option : {"-anepd", "-scan_pgn1", "-scan_pgn2"}) {
        for (const char* output : {"unsolved.epd", "tmp.pgn", "tmp.epd"}) {
            std::ofstream(output) << "precious";
        }
        Session tool({"-nolog", option, "."});  // a folder opens, but cannot be read
        EXPECT_EQ(tool.Wait(), 1) << option;
        EXPECT_TRUE(tool.ErrorText().starts_with("cannot read . to its end")) << option;
        for (const char* output : {"unsolved.epd", "tmp.pgn", "tmp.epd"}) {
            EXPECT_EQ(FileContent(output), "precious") << option;
        }
    }
    std::filesystem::remove("tmp.pgn");
    ASSERT_EQ(mkfifo("tmp.pgn", S_IRUSR | S_IWUSR), 0);
    EXPECT_NE(RunVesk({"-c", "-nolog"}, "save\n").output.find("tmp.pgn: not a regular file"),
              std::string::npos);
}

// One build at a time in a folder; a build that was killed leaves nothing that spoils the next.
TEST(FaultSession, BuildsOfABookDoNotMix) {
    const ScratchFolder folder;
    const std::string games = FileContent(DataFile("engine-games.pgn"));
    std::ofstream("book.pgn") << games;
    EXPECT_EQ(RunVesk({"-c", "-nolog"}, "mkbook\n").status, 0);
    const std::string book = FileContent("book.opn");
    EXPECT_NE(book, "");

    std::ofstream collection("book.pgn");
    for (int i = 0; i < 1000; ++i) { collection << games; }
    collection.close();
    Session first({"-c", "-nolog"});
    first.Send("mkbook");
    first.Expect(".");
    const std::string second = RunVesk({"-c", "-nolog"}, "mkbook\n").output;
    EXPECT_NE(second.find("a book is being built in this folder; book.opn is unchanged\n"),
              std::string::npos);
    EXPECT_EQ(FileContent("book.opn"), book);
    first.Signal(SIGKILL);
    first.Wait();

    std::ofstream("book.pgn") << games;
    EXPECT_EQ(RunVesk({"-c", "-nolog"}, "mkbook\n").status, 0);
    EXPECT_EQ(FileContent("book.opn"), book);
    std::size_t files = 0;
    for (const auto& file : std::filesystem::directory_iterator(".")) {
        files += file.exists() ? 1 : 0;
    }
    EXPECT_EQ(files, 3u) << "collection, book and log";
}

}  // namespace

// Sessions in which something outside breaks: readers that go away, pipes that are full, a log that
// cannot grow, two engines in one folder.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>

#include "frontend/output.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

#ifdef VESK_INSTRUMENTED
constexpr double SOON = 10.0;  // seconds
#else
constexpr double SOON = 2.0;
#endif

// How often a text stands in another one.
std::size_t CountOf(const std::string& text, const std::string& in) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = in.find(text, at)) != std::string::npos; ++at) { ++count; }
    return count;
}

TEST(FaultSession, AnEngineWithoutAReaderEndsWhateverItDoes) {
    const ScratchFolder folder;
    const struct {
        std::vector<std::string> arguments;
        const char* typed;
        const char* shown;  // a line begins so: by then it works
    } cases[] = {
        {{"-nolog"}, "uci\n", "uciok"},
        {{"-nolog", "-threads", "2"}, "isready\ngo infinite\n", "info"},
        {{"-nolog", "-noise", "9999"}, "isready\ngo depth 64\n", "readyok"},
        {{"-nolog", "-c"}, "perft 12\n", "white"},
        {{"-nolog", "-bench2"}, "", "running"},
    };
    for (const auto& c : cases) {
        Session engine(c.arguments);
        engine.SendBytes(c.typed);
        engine.Expect(c.shown);
        engine.CloseOutput();
        EXPECT_EQ(engine.Wait(SOON), 1) << c.typed << c.arguments.back();
    }
}

TEST(FaultSession, AFullPipeLosesNoLineAndLeavesInterruptsAlone) {
    const ScratchFolder folder;
    std::string listings;
    for (int i = 0; i < 60; ++i) { listings += "lmr\n"; }  // 4 KB each
    for (const int flags : {0, O_NONBLOCK}) {
        Session engine({"-c", "-nolog"}, "", flags);
        engine.SendBytes(listings + "mv\nquit\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_EQ(engine.Wait(SOON), 0);
        EXPECT_EQ(CountOf("30  0 ", engine.RestOfOutput()), 120u) << flags;
    }
    Session engine({"-c", "-nolog"});
    engine.SendBytes(listings);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    engine.Signal(SIGINT);
    EXPECT_EQ(engine.WaitWithoutReading(SOON), 1) << "it waits for room that never comes";
}

TEST(FaultSession, ALogThatCannotGrowEndsAlone) {
    const ScratchFolder folder;
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {1500, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    Session session({"-c"});
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 20; ++i) { session.Send("bd"); }
    session.Send("quit");
    EXPECT_EQ(session.Wait(), 0);
    EXPECT_EQ(session.ErrorText(), "the log ends: cannot write vesk.log: File too large\n");
    EXPECT_EQ(CountOf("white", session.RestOfOutput()), 21u);
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

}  // namespace

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
#include <sys/wait.h>
#include <unistd.h>

#include "frontend/output.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

#ifdef VESK_INSTRUMENTED
constexpr double SOON = 10.0;  // seconds
#else
constexpr double SOON = 2.0;
#endif

// The engine with pipes of our own: input_ stays open, so that only its output can end it.
class PipedEngine {
public:
    PipedEngine(const std::vector<std::string>& arguments, int output_flags) {
        int in[2], out[2];
        EXPECT_EQ(pipe2(in, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
        fcntl(out[1], F_SETFL, output_flags);
        std::vector<std::string> words = {EnginePath()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words) { argv.push_back(word.data()); }
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        input = in[1];
        output = out[0];
    }
    ~PipedEngine() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        close(input);
        if (output >= 0) { close(output); }
    }
    PipedEngine(const PipedEngine&) = delete;
    PipedEngine& operator=(const PipedEngine&) = delete;

    void Type(const std::string& text) const {
        EXPECT_EQ(write(input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    // All that comes until the text; what the engine wrote so far.
    std::string ReadUntil(const std::string& text) {
        char bytes[4096];
        while (seen_.find(text) == std::string::npos) {
            const ssize_t n = read(output, bytes, sizeof bytes);
            if (n <= 0) { break; }
            seen_.append(bytes, static_cast<std::size_t>(n));
        }
        return seen_;
    }
    void CloseOutput() {
        close(output);
        output = -1;
    }
    // Exit status, or -1 when the engine has not ended in time.
    int Wait(double seconds) {
        for (const double end = Now() + seconds; Now() < end;) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return -1;
    }
    void Signal(int number) const { kill(pid_, number); }

    int input = -1;
    int output = -1;

private:
    int pid_ = -1;
    std::string seen_;
};

TEST(FaultSession, AnEngineWithoutAReaderEndsWhateverItDoes) {
    const ScratchFolder folder;
    const struct {
        std::vector<std::string> arguments;
        const char* typed;
        const char* shown;  // by then it works
    } cases[] = {
        {{"-nolog"}, "uci\n", "uciok"},
        {{"-nolog", "-threads", "2"}, "isready\ngo infinite\n", "pv"},
        {{"-nolog", "-noise", "9999"}, "isready\ngo depth 64\n", "readyok"},
        {{"-nolog", "-c"}, "perft 12\n", "white"},
        {{"-nolog", "-bench2"}, "", "running"},
    };
    for (const auto& c : cases) {
        PipedEngine engine(c.arguments, 0);
        engine.Type(c.typed);
        engine.ReadUntil(c.shown);
        engine.CloseOutput();
        EXPECT_EQ(engine.Wait(SOON), 1) << c.typed << c.arguments.back();
    }
}

TEST(FaultSession, AFullPipeLosesNoLineAndLeavesInterruptsAlone) {
    const ScratchFolder folder;
    std::string listings;
    for (int i = 0; i < 60; ++i) { listings += "lmr\n"; }  // 4 KB each
    for (const int flags : {0, O_NONBLOCK}) {
        PipedEngine engine({"-c", "-nolog"}, flags);
        engine.Type(listings + "mv\nquit\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        engine.Type("");
        const std::string output = engine.ReadUntil("no such text");
        std::size_t listed = 0;
        for (std::size_t at = 0; (at = output.find("30  0 ", at)) != std::string::npos; ++at) {
            ++listed;
        }
        EXPECT_EQ(listed, 120u) << flags;
        EXPECT_EQ(engine.Wait(SOON), 0);
    }
    PipedEngine engine({"-c", "-nolog"}, 0);
    engine.Type(listings);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    engine.Signal(SIGINT);
    EXPECT_EQ(engine.Wait(SOON), 1) << "it waits for room that never comes";
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
    std::size_t boards = 0;
    const std::string output = session.RestOfOutput();
    for (std::size_t at = 0; (at = output.find("white", at)) != std::string::npos; ++at) {
        ++boards;
    }
    EXPECT_EQ(boards, 21u);
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

// Standard output: full pipes of either kind, readers that are gone.
#include "platform/outstream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Runs `body` in a child process whose standard output is a pipe, with the reader's end at hand
// here; returns its exit status.
template <typename Body, typename Reader>
int WithPipedOutput(int flags, const Body& body, const Reader& reader) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    if (flags != 0) { fcntl(ends[1], F_SETFL, flags); }
    const int child = fork();
    if (child == 0) {
        std::signal(SIGPIPE, SIG_IGN);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        _exit(body());
    }
    close(ends[1]);
    reader(ends[0]);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(OutStream, FullPipesAreWaitedForAndLoseNothing) {
    constexpr std::size_t size = 300'000;  // a pipe holds 65,536
    for (const int flags : {0, O_NONBLOCK}) {
        std::size_t got = 0;
        const int status = WithPipedOutput(
            flags, [] { return WriteStream(OutStream::Output, std::string(size, 'x')) ? 0 : 1; },
            [&got](int handle) {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                char bytes[4096];
                ssize_t n = 0;
                while ((n = read(handle, bytes, sizeof bytes)) > 0) {
                    got += static_cast<std::size_t>(n);
                }
            });
        EXPECT_EQ(status, 0) << flags;
        EXPECT_EQ(got, size) << flags;
    }
}

TEST(OutStream, AReaderThatIsGoneIsNoticedWithAndWithoutWriting) {
    const auto leave = [](int) {};
    EXPECT_EQ(WithPipedOutput(
                  0,
                  [] {
                      while (WriteStream(OutStream::Output, "line\n")) {}
                      return OutputIsBroken() && !WriteStream(OutStream::Output, "x") ? 0 : 1;
                  },
                  leave),
              0);
    EXPECT_EQ(WithPipedOutput(
                  0,
                  [] {
                      for (int i = 0; i < 2000 && !OutputIsBroken(); ++i) {
                          LookAtOutput();
                          std::this_thread::sleep_for(std::chrono::milliseconds(1));
                      }
                      return OutputIsBroken() ? 0 : 1;
                  },
                  leave),
              0);
    EXPECT_EQ(WithPipedOutput(
                  0,
                  [] {
                      LookAtOutput();
                      return OutputIsBroken() ? 1 : 0;
                  },
                  [](int handle) {
                      char byte = 0;
                      EXPECT_EQ(read(handle, &byte, 1), 0);
                  }),
              0)
        << "a pipe that is just quiet is whole";
}

}  // namespace

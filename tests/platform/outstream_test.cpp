// Standard output: full pipes of either kind, readers that are gone. Each case is a process of its
// own, whose output is a pipe.
#include "platform/outstream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Makes standard output a pipe with these flags; returns the reader's end.
int PipeOutput(int flags = 0) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETFL, flags);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    std::signal(SIGPIPE, SIG_IGN);
    return ends[0];
}

// Writes more than a pipe holds, for a slow reader; tells whether everything arrived.
bool WriteMuch(int flags) {
    constexpr std::size_t size = 300'000;
    std::size_t got = 0;
    std::thread reader([&got, handle = PipeOutput(flags)] {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        char bytes[4096];
        ssize_t n = 0;
        while ((n = read(handle, bytes, sizeof bytes)) > 0) { got += static_cast<std::size_t>(n); }
    });
    const bool written = WriteStream(OutStream::Output, std::string(size, 'x'));
    close(STDOUT_FILENO);
    reader.join();
    return written && got == size;
}

TEST(OutStreamDeathTest, FullPipesAreWaitedForAndLoseNothing) {
    EXPECT_EXIT(std::_Exit(WriteMuch(0) ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::_Exit(WriteMuch(O_NONBLOCK) ? 0 : 1), testing::ExitedWithCode(0), "");
}

bool NoticedByWriting() {
    close(PipeOutput());
    while (WriteStream(OutStream::Output, "line\n")) {}
    return OutputIsBroken() && !WriteStream(OutStream::Output, "x");
}

bool NoticedByLooking() {
    const int reader = PipeOutput();
    LookAtOutput();
    const bool was_broken = OutputIsBroken();  // while it was just quiet
    close(reader);
    LookAtOutput();
    return !was_broken && OutputIsBroken();
}

TEST(OutStreamDeathTest, AReaderThatIsGoneIsNoticedWithAndWithoutWriting) {
    EXPECT_EXIT(std::_Exit(NoticedByWriting() ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::_Exit(NoticedByLooking() ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace

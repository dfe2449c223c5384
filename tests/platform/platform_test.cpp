// Input polling, large blocks, waits within one thread.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include <unistd.h>

#include "platform/clock.h"
#include "platform/input.h"
#include "platform/memory.h"
#include "platform/sleep.h"

namespace {

// Puts a pipe in place of standard input.
class PipedInput : public testing::Test {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        before_ = dup(STDIN_FILENO);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        writer_ = ends[1];
    }
    void TearDown() override {
        Close();
        dup2(before_, STDIN_FILENO);
        close(before_);
    }
    void Write(const std::string& text) {
        ASSERT_EQ(write(writer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void Close() {
        if (writer_ >= 0) { close(writer_); }
        writer_ = -1;
    }
    char buffer_[16] = {};

private:
    int before_ = -1;
    int writer_ = -1;
};

double SecondsOf(int milliseconds, Alert* alert, bool ignore_input) {
    const double start = MonotonicSeconds();
    SleepExOrInput(milliseconds * 1e-3, alert, ignore_input);
    return MonotonicSeconds() - start;
}

TEST_F(PipedInput, TellsNothingWaitingFromTheEndAndLosesNoByte) {
    EXPECT_EQ(PollInput(buffer_, sizeof(buffer_)), 0);
    Write(std::string("go\0", 3));
    EXPECT_EQ(PollInput(buffer_, 2), 2);
    EXPECT_EQ(PollInput(buffer_ + 2, 2), 1);
    EXPECT_EQ(std::memcmp(buffer_, "go\0", 3), 0);
    EXPECT_EQ(PollInput(buffer_, sizeof(buffer_)), 0);
    Write("last");
    Close();  // what was written before the hang-up still counts
    EXPECT_EQ(PollInput(buffer_, sizeof(buffer_)), 4);
    EXPECT_EQ(PollInput(buffer_, sizeof(buffer_)), -1);
    close(STDIN_FILENO);
    EXPECT_EQ(PollInput(buffer_, sizeof(buffer_)), -1);
}

TEST_F(PipedInput, WakesTheWaitOnlyWhenInputCounts) {
    Alert alert;
    ASSERT_EQ(AlertCreate(&alert), 0);
    EXPECT_GE(SecondsOf(20, &alert, false), 0.019);
    Write("x");
    EXPECT_LT(SecondsOf(20000, &alert, false), 10);
    EXPECT_GE(SecondsOf(20, &alert, true), 0.019);
    AlertDestroy(&alert);
}

TEST(LargeBlock, IsZeroedAlignedAndWritableToItsEnd) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{5000}, (std::size_t{2} << 20) - 1,
                                    std::size_t{2} << 20, (std::size_t{7} << 20) + 123}) {
        auto* block = static_cast<unsigned char*>(AllocateLargeBlock(bytes));
        ASSERT_NE(block, nullptr) << bytes;
        const std::size_t alignment = bytes >= (std::size_t{2} << 20) ? std::size_t{2} << 20 : 64;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << bytes;
        for (std::size_t i = 0; i < bytes; i += 61) { ASSERT_EQ(block[i], 0) << bytes; }
        std::memset(block, 0xFF, bytes);
        FreeLargeBlock(block, bytes);
    }
    FreeLargeBlock(nullptr, 100);
}

TEST(LargeBlock, IsRefusedWhenThereIsNoSuchMemory) {
    EXPECT_EQ(AllocateLargeBlock(std::size_t{1} << 60), nullptr);
    EXPECT_EQ(AllocateLargeBlock(SIZE_MAX), nullptr);
    EXPECT_EQ(AllocateLargeBlock(SIZE_MAX - (std::size_t{2} << 20)), nullptr);
}

}  // namespace

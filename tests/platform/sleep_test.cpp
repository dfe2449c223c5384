// Alertable sleeps: raises by other threads, by the sleeper itself and by signal handlers, and
// input.
#include "platform/sleep.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <unistd.h>

#include "platform/clock.h"
#include "platform/pipedinput.h"

namespace {

constexpr int FOR_EVER_MS = 60000;
constexpr double WOKEN = 50;  // seconds: less than that, and the sleep was cut short

template <typename Sleep>
double SecondsOf(const Sleep& sleep) {
    const double start = MonotonicSeconds();
    sleep();
    return MonotonicSeconds() - start;
}

double SecondsAsleep(int milliseconds) {
    return SecondsOf([=] { SleepEx(milliseconds); });
}

class Alert : public testing::Test {
protected:
    void SetUp() override { CreateAlert(); }
    void TearDown() override { DestroyAlert(); }
};

// With a raise lost the sleeper would sleep for a minute.
TEST_F(Alert, NoRaiseOfAnotherThreadIsLost) {
    constexpr int ROUNDS = 1000;
    std::atomic<int> asked{0}, answered{0};
    std::thread other([&] {
        for (int i = 1; i <= ROUNDS; ++i) {
            for (int seen = asked; seen < i; seen = asked) { asked.wait(seen); }
            answered = i;
            RaiseAlert();
        }
    });
    const double start = MonotonicSeconds();
    for (int i = 1; i <= ROUNDS; ++i) {
        asked = i;
        asked.notify_one();
        while (answered < i) { SleepEx(FOR_EVER_MS); }
    }
    EXPECT_LT(MonotonicSeconds() - start, WOKEN);
    other.join();
}

TEST_F(Alert, RaisesBeforeTheWaitEndOneWait) {
    for (int i = 0; i < 100000; ++i) {
        RaiseAlert();  // more than any pipe holds: must not block
    }
    EXPECT_LT(SecondsAsleep(FOR_EVER_MS), WOKEN);
    EXPECT_GE(SecondsAsleep(20), 0.019);
}

TEST(AlertThatIsNotThere, IsIgnoredAndSleepsLastTheirTime) {
    RaiseAlert();
    DestroyAlert();
    EXPECT_GE(SecondsAsleep(20), 0.019);
    CreateAlert();
    RaiseAlert();
    DestroyAlert();
    EXPECT_GE(SecondsAsleep(20), 0.019);
    EXPECT_LT(SecondsAsleep(-1), WOKEN);
}

// A signal alone does not shorten a sleep; a raise inside its handler does, and leaves errno alone.
TEST_F(Alert, SignalHandlerWakesTheSleeper) {
    const auto before = std::signal(SIGALRM, [](int) {});
    ualarm(20000, 0);
    EXPECT_GE(SecondsAsleep(60), 0.059);
    std::signal(SIGALRM, [](int) { RaiseAlert(); });
    ualarm(20000, 0);
    EXPECT_LT(SecondsAsleep(FOR_EVER_MS), WOKEN);
    std::signal(SIGALRM, before);
    for (int i = 0; i < 100000; ++i) { RaiseAlert(); }
    errno = 0;
    RaiseAlert();  // the pipe is full
    EXPECT_EQ(errno, 0);
}

TEST_F(PipedInput, WakesTheWaitOnlyWhenItCounts) {
    const auto sleep = [](int milliseconds) {
        return SecondsOf([=] { SleepExOrInput(milliseconds * 1e-3); });
    };
    EXPECT_GE(sleep(20), 0.019);
    EXPECT_LT(SecondsOf([] { SleepExOrInput(FOREVER); }), WOKEN) << "nobody could wake it";
    Write("x");
    EXPECT_LT(sleep(FOR_EVER_MS), WOKEN);
    EXPECT_GE(SecondsAsleep(20), 0.019);
    EXPECT_GE(SecondsOf([] { SleepExOrInput(0.02, true); }), 0.019);
}

TEST_F(Alert, WakesAWaitWithoutEnd) {
    std::thread other([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        RaiseAlert();
    });
    const double slept = SecondsOf([] { SleepExOrInput(FOREVER, true); });
    other.join();
    EXPECT_GE(slept, 0.02);
    EXPECT_LT(slept, WOKEN);
}

}  // namespace

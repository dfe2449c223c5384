// Alertable sleeps: raises by other threads, by the sleeper itself and by signal handlers, and
// input.
#include "platform/sleep.h"

#include <cerrno>
#include <csignal>
#include <semaphore>
#include <thread>

#include "platform/clock.h"
#include "platform/pipedinput.h"

namespace {

constexpr int FOR_EVER_MS = 60000;
constexpr double WOKEN = 50;  // seconds: less than that, and the sleep was cut short
constexpr int SHORT_MS = 20;
constexpr double SLEPT = 0.019;  // seconds: a short sleep lasted its time

template <typename Sleep, typename... Arguments>
double SecondsOf(const Sleep& sleep, Arguments... arguments) {
    const double start = MonotonicSeconds();
    sleep(arguments...);
    return MonotonicSeconds() - start;
}

class Alert : public testing::Test {
protected:
    Alert() { CreateAlert(); }
    ~Alert() override { DestroyAlert(); }
};

// With a raise lost the sleeper would sleep for a minute.
TEST_F(Alert, NoRaiseOfAnotherThreadIsLost) {
    constexpr int ROUNDS = 1000;
    std::counting_semaphore<ROUNDS> asked{0};
    std::thread other([&asked] {
        for (int i = 0; i < ROUNDS; ++i) {
            asked.acquire();
            RaiseAlert();
        }
    });
    const double start = MonotonicSeconds();
    for (int i = 0; i < ROUNDS; ++i) {
        asked.release();
        SleepEx(FOR_EVER_MS);
    }
    EXPECT_LT(MonotonicSeconds() - start, WOKEN);
    other.join();
}

TEST_F(Alert, ManyRaisesBeforeTheWaitEndOneWaitAndLeaveErrnoAlone) {
    errno = 0;
    for (int i = 0; i < 100000; ++i) { RaiseAlert(); }  // more than any pipe holds: must not block
    EXPECT_EQ(errno, 0);
    EXPECT_LT(SecondsOf(SleepEx, FOR_EVER_MS), WOKEN);
    EXPECT_GE(SecondsOf(SleepEx, SHORT_MS), SLEPT);
}

TEST(AlertThatIsNotThere, IsIgnoredAndSleepsLastTheirTime) {
    RaiseAlert();
    DestroyAlert();
    EXPECT_GE(SecondsOf(SleepEx, SHORT_MS), SLEPT);
    CreateAlert();
    RaiseAlert();
    DestroyAlert();
    EXPECT_GE(SecondsOf(SleepEx, SHORT_MS), SLEPT);
    EXPECT_LT(SecondsOf(SleepEx, -1), WOKEN);
    EXPECT_LT(SecondsOf(SleepExOrInput, FOREVER, true), WOKEN) << "nobody could wake it";
}

TEST_F(Alert, ASignalShortensASleepOnlyWhenItsHandlerRaises) {
    std::signal(SIGALRM, [](int) {});
    ualarm(20000, 0);
    EXPECT_GE(SecondsOf(SleepEx, 3 * SHORT_MS), 3 * SLEPT);
    std::signal(SIGALRM, [](int) { RaiseAlert(); });
    ualarm(200000, 0);
    EXPECT_GE(SecondsOf(SleepExOrInput, FOREVER, true), SLEPT) << "nobody had raised";
}

TEST_F(PipedInput, WakesTheWaitOnlyWhenItCounts) {
    EXPECT_GE(SecondsOf(SleepExOrInput, SHORT_MS * 1e-3, false), SLEPT);
    Write("x");
    EXPECT_LT(SecondsOf(SleepExOrInput, FOR_EVER_MS * 1e-3, false), WOKEN);
    EXPECT_GE(SecondsOf(SleepExOrInput, SHORT_MS * 1e-3, true), SLEPT);
    EXPECT_GE(SecondsOf(SleepEx, SHORT_MS), SLEPT);
}

}  // namespace

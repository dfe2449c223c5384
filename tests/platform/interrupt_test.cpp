// The user's request to end: noted once, and obeyed by the system the second time.
#include "platform/interrupt.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "platform/clock.h"
#include "platform/sleep.h"

namespace {

// In a process of its own, which the second request ends.
TEST(InterruptDeathTest, FirstIsNotedAndWakesTheSleeperSecondEndsTheProgram) {
    EXPECT_EXIT(
        {
            CatchInterrupt();
            CreateAlert();
            if (InterruptSeen()) { std::_Exit(1); }
            std::raise(SIGINT);
            const double start = MonotonicSeconds();
            SleepEx(60000);
            if (!InterruptSeen() || MonotonicSeconds() - start > 50) { std::_Exit(2); }
            std::raise(SIGINT);
        },
        testing::KilledBySignal(SIGINT), "");
}

}  // namespace

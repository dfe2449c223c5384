// The user's request to end: noted once, and obeyed by the system the second time.
#include "platform/interrupt.h"

#include <gtest/gtest.h>

#include <csignal>

#include "platform/sleep.h"

namespace {

void InterruptTwice() {
    CatchInterrupt();
    CreateAlert();
    std::raise(SIGINT);
    SleepExOrInput(FOREVER, true);
    if (InterruptSeen()) { std::raise(SIGINT); }
}

// In a process of its own, which the second request ends.
TEST(InterruptDeathTest, FirstIsNotedAndWakesTheSleeperSecondEndsTheProgram) {
    EXPECT_EXIT(InterruptTwice(), testing::KilledBySignal(SIGINT), "");
}

}  // namespace

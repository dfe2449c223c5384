// Alerts, spin locks and detached threads together.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

#include <unistd.h>

#include "platform/clock.h"
#include "platform/sleep.h"
#include "platform/threads.h"

namespace {

Alert signal_alert;

struct Meeting {
    Alert question, answer;
    std::atomic<int> asked{0};
    std::atomic<bool> done{false};
    std::atomic<bool> left{false};
};

// Answers every question; with a raise lost it would sleep for a minute.
void* AnswerQuestions(void* argument) {
    auto* meeting = static_cast<Meeting*>(argument);
    int answered = 0;
    while (!meeting->done || answered < meeting->asked) {
        while (answered < meeting->asked) {
            answered++;
            AlertRaise(&meeting->answer);
        }
        if (!meeting->done) SleepEx(60000, &meeting->question);
    }
    meeting->left = true;
    return nullptr;
}

struct Counter {
    SpinLock lock;
    int value = 0;
    std::atomic<int> finished{0};
};

void* CountUp(void* argument) {
    auto* counter = static_cast<Counter*>(argument);
    for (int i = 0; i < 20000; i++) {
        const SpinGuard guard(&counter->lock);
        counter->value++;
    }
    counter->finished++;
    return nullptr;
}

TEST(Alerts, NoRaiseBetweenThreadsIsLost) {
    Meeting meeting;
    ASSERT_EQ(AlertCreate(&meeting.question), 0);
    ASSERT_EQ(AlertCreate(&meeting.answer), 0);
    ThreadHandle handle;
    ASSERT_EQ(StartDetachedThread(&handle, AnswerQuestions, &meeting), 0);
    const double start = MonotonicSeconds();
    for (int i = 0; i < 1000; i++) {
        meeting.asked++;
        AlertRaise(&meeting.question);
        SleepEx(60000, &meeting.answer);
    }
    meeting.done = true;
    AlertRaise(&meeting.question);
    while (!meeting.left && MonotonicSeconds() - start < 50) SleepEx(1, nullptr);
    EXPECT_TRUE(meeting.left);
    EXPECT_LT(MonotonicSeconds() - start, 50);
    AlertDestroy(&meeting.question);
    AlertDestroy(&meeting.answer);
}

TEST(Alerts, RaisesBeforeTheWaitEndOneWait) {
    Alert alert;
    AlertRaise(&alert);  // never created: ignored
    ASSERT_EQ(AlertCreate(&alert), 0);
    for (int i = 0; i < 100000; i++)
        AlertRaise(&alert);  // more than any pipe holds: must not block
    double start = MonotonicSeconds();
    SleepEx(60000, &alert);
    EXPECT_LT(MonotonicSeconds() - start, 50);
    start = MonotonicSeconds();
    SleepEx(20, &alert);
    EXPECT_GE(MonotonicSeconds() - start, 0.019);
    AlertDestroy(&alert);
    AlertDestroy(&alert);
}

// A signal alone does not shorten a sleep; a raise inside its handler does.
TEST(Alerts, SignalHandlerWakesTheSleeper) {
    ASSERT_EQ(AlertCreate(&signal_alert), 0);
    const auto before = std::signal(SIGALRM, [](int) {});
    ualarm(20000, 0);
    double start = MonotonicSeconds();
    SleepEx(60, &signal_alert);
    EXPECT_GE(MonotonicSeconds() - start, 0.059);
    std::signal(SIGALRM, [](int) { AlertRaise(&signal_alert); });
    ualarm(20000, 0);
    start = MonotonicSeconds();
    SleepEx(60000, &signal_alert);
    EXPECT_LT(MonotonicSeconds() - start, 50);
    std::signal(SIGALRM, before);
    AlertDestroy(&signal_alert);
}

TEST(SpinLocks, KeepThreadsApart) {
    Counter counter;
    SpinLockAcquire(&counter.lock);  // does not exist yet: passed through
    SpinLockRelease(&counter.lock);
    ASSERT_EQ(SpinLockCreate(&counter.lock), 0);
    ThreadHandle handle;
    for (int i = 0; i < 2; i++) ASSERT_EQ(StartDetachedThread(&handle, CountUp, &counter), 0);
    while (counter.finished < 2) SleepEx(1, nullptr);
    EXPECT_EQ(counter.value, 40000);
    SpinLockDestroy(&counter.lock);
}

}  // namespace

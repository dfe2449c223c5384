// Alerts, spin locks and detached threads together.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

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
            ++answered;
            AlertRaise(&meeting->answer);
        }
        if (!meeting->done) { SleepEx(60000, &meeting->question); }
    }
    meeting->left = true;
    return nullptr;
}

double SecondsAsleep(int milliseconds, Alert* alert) {
    const double start = MonotonicSeconds();
    SleepEx(milliseconds, alert);
    return MonotonicSeconds() - start;
}

TEST(Alerts, NoRaiseBetweenThreadsIsLost) {
    Meeting meeting;
    ASSERT_EQ(AlertCreate(&meeting.question), 0);
    ASSERT_EQ(AlertCreate(&meeting.answer), 0);
    ThreadHandle handle;
    ASSERT_EQ(StartDetachedThread(&handle, AnswerQuestions, &meeting), 0);
    const double start = MonotonicSeconds();
    for (int i = 0; i < 1000; ++i) {
        ++meeting.asked;
        AlertRaise(&meeting.question);
        SleepEx(60000, &meeting.answer);
    }
    meeting.done = true;
    AlertRaise(&meeting.question);
    while (!meeting.left && MonotonicSeconds() - start < 50) { SleepEx(1, nullptr); }
    EXPECT_TRUE(meeting.left);
    EXPECT_LT(MonotonicSeconds() - start, 50);
    AlertDestroy(&meeting.question);
    AlertDestroy(&meeting.answer);
}

TEST(Alerts, RaisesBeforeTheWaitEndOneWait) {
    Alert alert;
    AlertRaise(&alert);  // never created: ignored
    ASSERT_EQ(AlertCreate(&alert), 0);
    for (int i = 0; i < 100000; ++i) {
        AlertRaise(&alert);  // more than any pipe holds: must not block
    }
    EXPECT_LT(SecondsAsleep(60000, &alert), 50);
    EXPECT_GE(SecondsAsleep(20, &alert), 0.019);
    AlertDestroy(&alert);
    AlertDestroy(&alert);
}

// A signal alone does not shorten a sleep; a raise inside its handler does.
TEST(Alerts, SignalHandlerWakesTheSleeper) {
    ASSERT_EQ(AlertCreate(&signal_alert), 0);
    const auto before = std::signal(SIGALRM, [](int) {});
    ualarm(20000, 0);
    EXPECT_GE(SecondsAsleep(60, &signal_alert), 0.059);
    std::signal(SIGALRM, [](int) { AlertRaise(&signal_alert); });
    ualarm(20000, 0);
    EXPECT_LT(SecondsAsleep(60000, &signal_alert), 50);
    std::signal(SIGALRM, before);
    AlertDestroy(&signal_alert);
}

TEST(SpinLocks, KeepThreadsApart) {
    SpinLock lock;
    SpinLockAcquire(&lock);  // does not exist yet: passed through
    SpinLockRelease(&lock);
    ASSERT_EQ(SpinLockCreate(&lock), 0);
    int value = 0;
    const auto count_up = [&lock, &value] {
        for (int i = 0; i < 200000; ++i) {
            const SpinGuard guard(&lock);
            const int before = value;
            if (i % 10000 == 0) {
                std::this_thread::yield();  // invites the other one in
            }
            value = before + 1;
        }
    };
    std::thread other(count_up);
    count_up();
    other.join();
    EXPECT_EQ(value, 400000);
    SpinLockDestroy(&lock);
}

}  // namespace

// Alertable sleeps: raises by other threads, by the sleeper itself and by signal handlers.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

#include <unistd.h>

#include "platform/clock.h"
#include "platform/sleep.h"

namespace {

Alert signal_alert;

struct Meeting {
    Alert question, answer;
    std::atomic<int> asked{0};
    std::atomic<bool> done{false};
};

// Answers every question; with a raise lost it would sleep for a minute.
void AnswerQuestions(Meeting* meeting) {
    int answered = 0;
    while (!meeting->done || answered < meeting->asked) {
        while (answered < meeting->asked) {
            ++answered;
            AlertRaise(&meeting->answer);
        }
        if (!meeting->done) { SleepEx(60000, &meeting->question); }
    }
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
    std::thread other(AnswerQuestions, &meeting);
    const double start = MonotonicSeconds();
    for (int i = 0; i < 1000; ++i) {
        ++meeting.asked;
        AlertRaise(&meeting.question);
        SleepEx(60000, &meeting.answer);
    }
    meeting.done = true;
    AlertRaise(&meeting.question);
    other.join();
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

}  // namespace

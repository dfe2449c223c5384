// Waits on Windows: for an event that a raise sets and a wait takes away, for the event of the
// reading thread, and for a timer that is finer than a wait's own time limit. Nothing there tells
// that a reader of the output is gone, so that a long wait looks now and then.
#include "platform/sleep.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cmath>

#include <windows.h>

#include "platform/clock.h"
#include "platform/input_win.h"
#include "platform/outstream.h"

namespace {

constexpr DWORD FINE_TIMER = 2;  // CREATE_WAITABLE_TIMER_HIGH_RESOLUTION; Windows 10 and later
constexpr double MS_PER_SECOND = 1e3;
constexpr double TIMER_UNITS_PER_SECOND = 1e7;
constexpr double LONGEST_DEAF_WAIT = 0.005;  // seconds, while there is no alert
constexpr double LONGEST_BLIND_WAIT = 0.25;  // seconds without a look at the output

std::atomic<HANDLE> alert{nullptr};

// A timer for this thread's waits.
HANDLE NewTimer() {
    const HANDLE fine = CreateWaitableTimerExW(nullptr, nullptr, FINE_TIMER, TIMER_ALL_ACCESS);
    return fine != nullptr ? fine : CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

struct Handles {
    HANDLE all[3];
    DWORD count = 0;
    void Add(HANDLE handle) {
        if (handle != nullptr) { all[count++] = handle; }
    }
};

// One wait; false when the time is over, true when something else has ended it.
bool WaitOnce(double seconds, HANDLE input_event) {
    static const HANDLE timer = NewTimer();
    LARGE_INTEGER due;
    due.QuadPart = -static_cast<LONGLONG>(seconds * TIMER_UNITS_PER_SECOND);  // from now on
    Handles handles;
    handles.Add(alert.load(std::memory_order_relaxed));
    handles.Add(input_event);
    if (timer == nullptr || due.QuadPart == 0 ||
        !SetWaitableTimer(timer, &due, 0, nullptr, nullptr, FALSE)) {
        const auto milliseconds = static_cast<DWORD>(std::ceil(seconds * MS_PER_SECOND));
        if (handles.count == 0) {
            Sleep(milliseconds);
            return false;
        }
        return WaitForMultipleObjects(handles.count, handles.all, FALSE, milliseconds) !=
               WAIT_TIMEOUT;
    }
    handles.Add(timer);
    return WaitForMultipleObjects(handles.count, handles.all, FALSE, INFINITE) !=
           WAIT_OBJECT_0 + handles.count - 1;
}

void Wait(double seconds, HANDLE input_event) {
    if (seconds < 0.0 && alert.load(std::memory_order_relaxed) == nullptr) {
        seconds = LONGEST_DEAF_WAIT;
    }
    const bool forever = seconds < 0.0;
    const double end = MonotonicSeconds() + seconds;
    const bool was_broken = OutputIsBroken();
    double left = forever ? LONGEST_BLIND_WAIT : seconds;
    while (!WaitOnce(std::min(left, LONGEST_BLIND_WAIT), input_event)) {
        LookAtOutput();
        if (OutputIsBroken() && !was_broken) { return; }
        if (!forever) { left = end - MonotonicSeconds(); }
        if (left <= 0.0) { return; }
    }
}

}  // namespace

void CreateAlert() {
    assert(alert.load() == nullptr);
    alert.store(CreateEventW(nullptr, FALSE, FALSE, nullptr));
}

void DestroyAlert() {
    const HANDLE event = alert.exchange(nullptr);
    if (event != nullptr) { CloseHandle(event); }
}

void RaiseAlert() {
    const HANDLE event = alert.load();
    if (event != nullptr) { SetEvent(event); }
}

void SleepEx(int milliseconds) { Wait(std::max(milliseconds, 0) / MS_PER_SECOND, nullptr); }

void SleepExOrInput(double seconds, bool input_ended) {
    Wait(seconds, input_ended ? nullptr : InputEvent());
}

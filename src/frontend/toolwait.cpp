// Watching the clock and hearing the user in tool modes.
#include "frontend/toolwait.h"

#include "frontend/input.h"
#include "platform/sleep.h"
#include "search/search.h"
#include "search/threads.h"

namespace {

constexpr int PAUSE_MS = 1;
constexpr unsigned INPUT_INTERVAL = 16;  // searches between two looks

void CheckClockAndInput() {
    SearchTimeout();
    UserInput();
}

}  // namespace

void WaitForToolSearch(bool (*eager)()) {
    while (BusyThreads() > 0) {
        CheckClockAndInput();
        if (!eager()) { SleepEx(PAUSE_MS); }
    }
}

void LookAtInput(unsigned searches) {
    if (searches % INPUT_INTERVAL == 0) { CheckClockAndInput(); }
}

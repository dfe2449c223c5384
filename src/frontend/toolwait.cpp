// Waiting for a search of a tool mode.
#include "frontend/toolwait.h"

#include "frontend/input.h"
#include "platform/sleep.h"
#include "search/search.h"
#include "search/threads.h"

void WaitForToolSearch(bool (*eager)()) {
    constexpr int PAUSE_MS = 1;
    while (BusyThreads() > 0) {
        SearchTimeout();
        UserInput();
        if (!eager()) { SleepEx(PAUSE_MS, &front_end_alert); }
    }
}

// Timer resolution on Windows: short waits end with the clock's tick, every 16 ms unless a finer
// period is asked for. The multimedia library does that; it is loaded only for it.
#include "platform/timer.h"

#include <windows.h>

namespace {

struct PeriodLimits {
    UINT min_ms, max_ms;
};

// A function of the library; nullptr when there is none.
template <typename Function>
Function* FindFunction(const char* name) {
    static const HMODULE library =
        LoadLibraryExW(L"winmm.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) { return nullptr; }
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

using SetPeriod = UINT WINAPI(UINT);
using AskPeriods = UINT WINAPI(PeriodLimits*, UINT);
constexpr int FAILED_CODE = 1;

int CallSetPeriod(const char* name, unsigned period_ms) {
    SetPeriod* const set = FindFunction<SetPeriod>(name);
    return set != nullptr ? static_cast<int>(set(period_ms)) : FAILED_CODE;
}

}  // namespace

int timeGetDevCaps(TimerCaps* caps) {
    AskPeriods* const ask = FindFunction<AskPeriods>("timeGetDevCaps");
    PeriodLimits limits = {};
    if (ask == nullptr || ask(&limits, sizeof limits) != 0) { return FAILED_CODE; }
    *caps = {limits.min_ms, limits.max_ms};
    return 0;
}

int timeBeginPeriod(unsigned period_ms) { return CallSetPeriod("timeBeginPeriod", period_ms); }
int timeEndPeriod(unsigned period_ms) { return CallSetPeriod("timeEndPeriod", period_ms); }

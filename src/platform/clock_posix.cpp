// Clocks on POSIX systems. Nothing has to be initialised; any thread may call.
#include "platform/clock.h"

#include <sys/time.h>
#include <time.h>

double MonotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

u64 TimeOfDayMilliseconds() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<u64>(now.tv_sec) * 1000 + static_cast<u64>(now.tv_usec) / 1000;
}

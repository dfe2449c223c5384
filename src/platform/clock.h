// Clocks. Nothing has to be initialised; any thread may call.
#pragma once

#include <chrono>

#include "platform/types.h"

// Seconds since an arbitrary fixed moment; never runs backward.
inline double MonotonicSeconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// Time of day in milliseconds since 1970, for seeding only.
inline u64 TimeOfDayMilliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<u64>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

// Clocks of the platform. A port supplies a monotonic clock with microsecond resolution or better,
// and the time of day. Nothing has to be initialised; any thread may call.
#pragma once

#include "platform/types.h"

// Seconds since an arbitrary fixed moment; never runs backward.
double MonotonicSeconds();

// Time of day in milliseconds since 1970, for seeding only.
u64 TimeOfDayMilliseconds();

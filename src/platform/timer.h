// Timer resolution. Some systems round short waits up to their scheduler's tick unless a finer
// period is asked for; a port to one of them asks here. Where short waits are honoured anyway,
// everything succeeds and does nothing. Front-end thread.
#pragma once

// The periods, in milliseconds, that can be asked for.
struct TimerCaps {
    unsigned period_min_ms;
    unsigned period_max_ms;
};

// Each returns 0 on success. timeBeginPeriod's period lies within the caps; timeEndPeriod takes the
// same request back.
int timeGetDevCaps(TimerCaps* caps);
int timeBeginPeriod(unsigned period_ms);
int timeEndPeriod(unsigned period_ms);

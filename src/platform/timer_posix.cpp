// POSIX systems honour short waits as they are: nothing has to be asked for.
#include "platform/timer.h"

int timeGetDevCaps(TimerCaps* caps) {
    caps->period_min_ms = 1;
    caps->period_max_ms = 1000;
    return 0;
}

int timeBeginPeriod(unsigned) { return 0; }
int timeEndPeriod(unsigned) { return 0; }

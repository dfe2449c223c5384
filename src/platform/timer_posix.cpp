// POSIX systems honour short waits as they are: nothing has to be asked for.
#include "platform/timer.h"

namespace {

constexpr TimerCaps ANY_PERIOD = {1, 1000};

}  // namespace

int timeGetDevCaps(TimerCaps* caps) {
    *caps = ANY_PERIOD;
    return 0;
}

int timeBeginPeriod(unsigned) { return 0; }
int timeEndPeriod(unsigned) { return 0; }

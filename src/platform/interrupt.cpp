// What is the same for requests to end on every system.
#include "platform/interrupt.h"

#include <atomic>

#include "platform/outstream.h"

bool EndWanted() {
    constexpr unsigned calls_per_look = 4096;
    static std::atomic<unsigned> calls{0};
    const unsigned n = calls.load(std::memory_order_relaxed) + 1;  // a lost count does no harm
    calls.store(n, std::memory_order_relaxed);
    if (n % calls_per_look == 0) { LookAtOutput(); }
    return InterruptSeen() || OutputIsBroken();
}

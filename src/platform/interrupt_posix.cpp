// Interrupt requests by SIGINT.
#include "platform/interrupt.h"

#include <atomic>
#include <csignal>

#include "platform/sleep.h"

namespace {

std::atomic<bool> interrupt_seen{false};
static_assert(std::atomic<bool>::is_always_lock_free,
              "a signal handler may use nothing that locks");

void NoteInterrupt(int) {
    interrupt_seen.store(true, std::memory_order_relaxed);
    RaiseAlert();
}

}  // namespace

void CatchInterrupt() {
    struct sigaction action = {};
    action.sa_handler = NoteInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, nullptr);
}

bool InterruptSeen() { return interrupt_seen.load(std::memory_order_relaxed); }

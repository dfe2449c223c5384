// POSIX systems: the library's own way is a system call when it has to sleep.
#include "platform/wakeup.h"

void WaitForChange(const std::atomic<u8>& byte, u8 old) {
    byte.wait(old, std::memory_order_acquire);
}

void WakeForChange(std::atomic<u8>& byte) { byte.notify_one(); }

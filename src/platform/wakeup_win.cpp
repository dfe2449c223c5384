// Windows: the system's own wait for a changed value. The library's, where it has none of the
// system to build on, may miss a change between its look and its sleep.
#include "platform/wakeup.h"

#include <windows.h>

static_assert(sizeof(std::atomic<u8>) == 1 && std::atomic<u8>::is_always_lock_free,
              "the system compares the byte itself");

void WaitForChange(const std::atomic<u8>& byte, u8 old) {
    while (byte.load(std::memory_order_acquire) == old) {
        // It takes an address that may be written, and only reads.
        WaitOnAddress(const_cast<std::atomic<u8>*>(&byte), &old, sizeof old, INFINITE);
    }
}

void WakeForChange(std::atomic<u8>& byte) { WakeByAddressSingle(&byte); }

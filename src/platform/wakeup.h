// Sleeping until another thread changes a byte. A port supplies both; no change is lost, also one
// that comes just before the sleep. Any thread.
#pragma once

#include <atomic>

#include "platform/types.h"

// Returns once the byte is not `old`. What was written before the change is visible then.
void WaitForChange(const std::atomic<u8>& byte, u8 old);

// Wakes a thread that waits for a change of the byte; the byte has been changed before.
void WakeForChange(std::atomic<u8>& byte);

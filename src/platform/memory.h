// Large zero-filled blocks. A port supplies memory aligned to at least 64 bytes, from huge pages
// where it has them.
#pragma once

#include <cstddef>
#include <string>

#include "platform/types.h"

// Returns a zero-filled block of at least `bytes` (> 0), aligned to 64 bytes or more, or nullptr
// when the system cannot give it. Release with FreeLargeBlock and the same size.
void* AllocateLargeBlock(std::size_t bytes);
void FreeLargeBlock(void* block, std::size_t bytes);
// Makes a block of AllocateLargeBlock all zero again. What was touched goes back to the system, so
// that the time does not grow with the size. No other thread may use the block meanwhile.
void ClearLargeBlock(void* block, std::size_t bytes);

// Bytes that this program may use: the memory of the machine, or what the container leaves of it.
// The system grants more than that and kills the program when it touches it.
u64 MemoryLimit();
// The smallest limit of the control groups of both versions that `membership` (/proc/self/cgroup)
// names, whose tree is mounted at `root`; the greatest number when none is set. Only systems with
// control groups have it.
u64 ControlGroupLimit(const std::string& membership, const std::string& root);

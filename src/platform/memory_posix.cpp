// Large blocks from mmap, which gives zeroed pages and an honest refusal. Blocks that can hold a
// huge page start at the boundary of one, and the kernel is asked to use them: a table look-up then
// costs one address translation less. Any thread may call.
#include "platform/memory.h"

#include <cstdint>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t HUGE_PAGE_SIZE = std::size_t{2} << 20;

// Blocks of this size are whole multiples of the result, and aligned to it.
std::size_t BlockUnit(std::size_t bytes) {
    if (bytes >= HUGE_PAGE_SIZE) { return HUGE_PAGE_SIZE; }
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t RoundUp(std::size_t bytes, std::size_t unit) {
    return (bytes + unit - 1) / unit * unit;
}

}  // namespace

void* AllocateLargeBlock(std::size_t bytes) {
    const std::size_t unit = BlockUnit(bytes);
    if (bytes == 0 || bytes > SIZE_MAX / 2 - 2 * unit) { return nullptr; }
    const std::size_t size = RoundUp(bytes, unit);
    // One unit more than needed, so that an aligned block lies inside; the rest goes back.
    const std::size_t reserved = size + unit;
    void* const got =
        mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (got == MAP_FAILED) { return nullptr; }
    char* const first = static_cast<char*>(got);
    const std::size_t misfit = reinterpret_cast<std::uintptr_t>(first) % unit;
    const std::size_t before = misfit == 0 ? 0 : unit - misfit;
    const std::size_t after = reserved - size - before;
    if (before != 0) { munmap(first, before); }
    if (after != 0) { munmap(first + before + size, after); }
#ifdef MADV_HUGEPAGE
    if (unit == HUGE_PAGE_SIZE) {
        madvise(first + before, size, MADV_HUGEPAGE);  // only a wish
    }
#endif
    return first + before;
}

void FreeLargeBlock(void* block, std::size_t bytes) {
    if (block != nullptr) { munmap(block, RoundUp(bytes, BlockUnit(bytes))); }
}

void ClearLargeBlock(void* block, std::size_t bytes) {
#ifdef __linux__
    // Private pages without a file come back as zeros when they are touched again.
    if (madvise(block, RoundUp(bytes, BlockUnit(bytes)), MADV_DONTNEED) == 0) { return; }
#endif
    std::memset(block, 0, bytes);
}

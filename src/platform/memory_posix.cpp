// Large blocks from mmap, which gives zeroed pages and an honest refusal. Blocks that can hold a
// huge page start at the boundary of one, and the kernel is asked to use them: a table look-up then
// costs one address translation less. Any thread may call.
#include "platform/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

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

// The number in a file; the greatest one when there is no file, or a word in it that means "none".
u64 LimitIn(const std::string& path) {
    std::ifstream file(path);
    u64 limit = 0;
    return file >> limit ? limit : UINT64_MAX;
}

// The smallest limit of a group and of those that it lies in. Inside a container the group's own
// path may not exist, as the container's group is mounted as the root.
u64 LimitUpwards(const std::string& root, std::string group, const std::string& name) {
    const std::string file = "/" + name;
    u64 limit = LimitIn(root + file);
    while (group.size() > 1) {
        std::string path = root;
        path += group;
        path += file;
        limit = std::min(limit, LimitIn(path));
        const std::size_t last_part = group.rfind('/');
        group.resize(last_part == std::string::npos ? 0 : last_part);
    }
    return limit;
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

u64 ControlGroupLimit(const std::string& membership, const std::string& root) {
    u64 limit = UINT64_MAX;
    std::ifstream groups(membership);
    // Each line is "number:controllers:/path"; the second version has no controllers.
    for (std::string line; std::getline(groups, line);) {
        const std::size_t controllers = line.find(':') + 1;
        const std::size_t path = line.find(':', controllers) + 1;
        if (controllers == 0 || path == 0) { continue; }
        const std::string what = line.substr(controllers, path - 1 - controllers);
        if (what.empty()) {
            limit = std::min(limit, LimitUpwards(root, line.substr(path), "memory.max"));
        } else if (what == "memory") {
            limit = std::min(
                limit, LimitUpwards(root + "/memory", line.substr(path), "memory.limit_in_bytes"));
        }
    }
    return limit;
}

u64 MemoryLimit() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long page_size = sysconf(_SC_PAGESIZE);
    const u64 machine = pages > 0 && page_size > 0
                            ? static_cast<u64>(pages) * static_cast<u64>(page_size)
                            : UINT64_MAX;
    return std::min(machine, ControlGroupLimit("/proc/self/cgroup", "/sys/fs/cgroup"));
}

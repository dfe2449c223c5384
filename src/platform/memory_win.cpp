// Large blocks from VirtualAlloc. Large pages are used where the user's account may lock memory,
// and quietly not elsewhere: a table look-up then costs one address translation less. Any thread
// may call.
#include "platform/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <windows.h>

#include <psapi.h>

namespace {

constexpr DWORD OUT_OF_MEMORY_PAUSE_MS = 10;

// Asks for the right to use large pages, which an administrator may have given to the account.
bool EnableLargePages() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
        return false;
    }
    TOKEN_PRIVILEGES wanted = {};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    // Success with a last error means that the account has no such right.
    const bool enabled =
        LookupPrivilegeValueW(nullptr, L"SeLockMemoryPrivilege", &wanted.Privileges[0].Luid) != 0 &&
        AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) != 0 &&
        GetLastError() == ERROR_SUCCESS;
    CloseHandle(token);
    return enabled;
}

// A block that fills large pages and lies in them, or nullptr.
void* AllocateLargePages(std::size_t bytes) {
    static const bool enabled = EnableLargePages();
    const std::size_t page = enabled ? GetLargePageMinimum() : 0;
    if (page == 0 || bytes < page) { return nullptr; }
    const std::size_t size = (bytes + page - 1) / page * page;
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT | MEM_LARGE_PAGES, PAGE_READWRITE);
}

// Large pages are always in memory, so that the system can tell them.
bool LiesInLargePages(void* block) {
    PSAPI_WORKING_SET_EX_INFORMATION about = {};
    about.VirtualAddress = block;
    return K32QueryWorkingSetEx(GetCurrentProcess(), &about, sizeof about) != 0 &&
           about.VirtualAttributes.Valid != 0 && about.VirtualAttributes.LargePage != 0;
}

}  // namespace

void* AllocateLargeBlock(std::size_t bytes) {
    if (bytes == 0 || bytes > SIZE_MAX / 2) { return nullptr; }
    if (void* const block = AllocateLargePages(bytes)) { return block; }
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void FreeLargeBlock(void* block, std::size_t) {
    if (block != nullptr) { VirtualFree(block, 0, MEM_RELEASE); }
}

void ClearLargeBlock(void* block, std::size_t bytes) {
    // Pages that were given back come back as zeros.
    if (LiesInLargePages(block) || !VirtualFree(block, bytes, MEM_DECOMMIT)) {
        std::memset(block, 0, bytes);
        return;
    }
    // Where others have taken the memory between the two calls it is waited for: the block is
    // still in use.
    while (VirtualAlloc(block, bytes, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        Sleep(OUT_OF_MEMORY_PAUSE_MS);
    }
}

u64 MemoryLimit() {
    MEMORYSTATUSEX machine = {};
    machine.dwLength = sizeof machine;
    u64 limit = GlobalMemoryStatusEx(&machine) ? machine.ullTotalPhys : UINT64_MAX;
    // Containers are jobs with limits.
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION job = {};
    if (QueryInformationJobObject(nullptr, JobObjectExtendedLimitInformation, &job, sizeof job,
                                  nullptr)) {
        const DWORD set = job.BasicLimitInformation.LimitFlags;
        if ((set & JOB_OBJECT_LIMIT_PROCESS_MEMORY) != 0) {
            limit = std::min<u64>(limit, job.ProcessMemoryLimit);
        }
        if ((set & JOB_OBJECT_LIMIT_JOB_MEMORY) != 0) {
            limit = std::min<u64>(limit, job.JobMemoryLimit);
        }
    }
    return limit;
}

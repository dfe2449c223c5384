// Opening of files that the engine reads by itself, and locks that keep two engines out of each
// other's way. A port supplies both; a lock ends with the process that holds it, however it ends.
#pragma once

#include <cstdint>
#include <cstdio>

// Opens a file for reading when it is a regular one: a pipe would stop the start-up and an endless
// device would never end. nullptr otherwise; *why then says what is wrong in a few words (and is
// nullptr when there simply is no such file). Any thread.
std::FILE* OpenRegularFile(const char* path, const char** why);

// A lock on an existing file or folder, held by one process at a time. Owned by one thread.
class PathLock {
public:
    PathLock() = default;
    ~PathLock() { Release(); }
    PathLock(const PathLock&) = delete;
    PathLock& operator=(const PathLock&) = delete;

    // True when the lock is held now; false when another process holds it. A path that cannot be
    // locked at all (missing, or on a file system without locks) counts as free.
    [[nodiscard]] bool TryLock(const char* path);
    void Release();

private:
    static constexpr std::intptr_t NO_HANDLE = -1;
    std::intptr_t handle_ = NO_HANDLE;  // the system's
};

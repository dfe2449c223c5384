// Opening and locking of files on POSIX systems.
#include "platform/infile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

std::FILE* OpenRegularFile(const char* path, const char** why) {
    *why = nullptr;
    // Without O_NONBLOCK the opening of a pipe would wait for its writer.
    const int handle = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (handle < 0) {
        if (errno != ENOENT) { *why = std::strerror(errno); }
        return nullptr;
    }
    struct stat about = {};
    if (fstat(handle, &about) != 0 || !S_ISREG(about.st_mode)) {
        *why = "not a regular file";
        close(handle);
        return nullptr;
    }
    std::FILE* file = fdopen(handle, "rb");
    if (file == nullptr) {
        *why = std::strerror(errno);
        close(handle);
    }
    return file;
}

bool PathLock::TryLock(const char* path) {
    Release();
    const int handle = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (handle < 0) { return true; }
    if (flock(handle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        close(handle);
        return false;
    }
    handle_ = handle;
    return true;
}

void PathLock::Release() {
    if (handle_ != NO_HANDLE) { close(static_cast<int>(handle_)); }
    handle_ = NO_HANDLE;
}

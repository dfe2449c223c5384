// Files by name on POSIX systems: as the C library does it.
#include "platform/files.h"

#include <cerrno>
#include <limits>

#include <sys/types.h>
#include <unistd.h>

std::FILE* OpenToRead(const char* path) { return std::fopen(path, "rb"); }
std::FILE* OpenNewFile(const char* path) { return std::fopen(path, "wbx"); }
bool RemoveFile(const char* path) { return std::remove(path) == 0; }
bool RenameOver(const char* from, const char* to) { return std::rename(from, to) == 0; }

bool SeekFile(std::FILE* file, u64 offset) {
    if (offset > static_cast<u64>(std::numeric_limits<off_t>::max())) {
        errno = EOVERFLOW;
        return false;
    }
    return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
}

bool EnterFolder(const char* path) { return chdir(path) == 0; }

// Output files on POSIX systems.
#include "platform/outfile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"

namespace {

constexpr mode_t NEW_FILE_MODE = 0666;  // less the user's mask
constexpr mode_t PERMISSION_BITS = 0777;
constexpr int MAX_NAMES = 100;  // names that are tried: other files may have the first ones

}  // namespace

bool SameFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return std::filesystem::equivalent(one, other, error);
}

bool OutFile::Begin(const std::string& target) {
    Abandon();
    target_ = target;
    fault_.clear();
    struct stat old = {};
    const bool exists = lstat(target.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode)) {
        return Fail(S_ISDIR(old.st_mode) ? std::strerror(EISDIR) : "not a regular file");
    }
    const std::string stem = target + ".new" + std::to_string(getpid());
    int handle = -1;
    for (int i = 0; i < MAX_NAMES && handle < 0; ++i) {
        name_ = i == 0 ? stem : stem + "." + std::to_string(i);
        handle = open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                      NEW_FILE_MODE);
        if (handle < 0 && errno != EEXIST) { break; }
    }
    if (handle < 0) { return Fail(std::strerror(errno)); }
    if (exists && S_ISREG(old.st_mode)) {
        // A wish: where the permissions cannot be kept the file has the usual ones.
        [[maybe_unused]] const int kept = fchmod(handle, old.st_mode & PERMISSION_BITS);
    }
    handle_ = handle;
    return true;
}

bool OutFile::Flush() {
    std::string_view rest = waiting_;
    while (!rest.empty() && fault_.empty()) {
        const ssize_t written = write(static_cast<int>(handle_), rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            Fail(std::strerror(written == 0 ? ENOSPC : errno));
        }
    }
    waiting_.clear();
    return fault_.empty();
}

bool OutFile::Close() {
    const bool closed = close(static_cast<int>(handle_)) == 0;
    handle_ = NO_HANDLE;
    return closed || Fail(std::strerror(errno));
}

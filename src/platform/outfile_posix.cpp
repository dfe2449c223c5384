// Output files on POSIX systems.
#include "platform/outfile.h"

#include <cassert>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t WAITING_BYTES = std::size_t{1} << 16;  // handed to the system together
constexpr mode_t NEW_FILE_MODE = 0666;                       // less the user's mask
constexpr mode_t PERMISSION_BITS = 0777;
constexpr std::size_t USUAL_TEXT = 512;  // bytes of what Print writes at once
constexpr int MAX_NAMES = 100;  // names that are tried: other files may have the first ones

}  // namespace

bool SameFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return std::filesystem::equivalent(one, other, error);
}

bool OutFile::Fail(const char* why) {
    if (fault_.empty()) { fault_ = "cannot write " + target_ + ": " + why; }
    return false;
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
    for (int i = 0; i < MAX_NAMES && handle_ < 0; ++i) {
        name_ = i == 0 ? stem : stem + "." + std::to_string(i);
        handle_ = open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                       NEW_FILE_MODE);
        if (handle_ < 0 && errno != EEXIST) { break; }
    }
    if (handle_ < 0) { return Fail(std::strerror(errno)); }
    if (exists && S_ISREG(old.st_mode)) {
        // A wish: where the permissions cannot be kept the file has the usual ones.
        [[maybe_unused]] const int kept = fchmod(handle_, old.st_mode & PERMISSION_BITS);
    }
    return true;
}

bool OutFile::TakePlace() {
    if (name_ == target_) { return true; }
    if (std::rename(name_.c_str(), target_.c_str()) != 0) { return Fail(std::strerror(errno)); }
    name_ = target_;
    return true;
}

bool OutFile::Create(const std::string& target) { return Begin(target); }

bool OutFile::GrowInPlace() {
    if (Flush() && TakePlace()) { return true; }
    Abandon();
    return false;
}

bool OutFile::CreateGrowing(const std::string& target) { return Begin(target) && GrowInPlace(); }

void OutFile::Write(std::string_view bytes) {
    assert(IsOpen());
    if (!fault_.empty()) { return; }
    waiting_ += bytes;
    if (waiting_.size() >= WAITING_BYTES) { [[maybe_unused]] const bool written = Flush(); }
}

void OutFile::Print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    char text[USUAL_TEXT];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= static_cast<int>(sizeof text)) {
        std::string whole(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(whole.data(), whole.size() + 1, format, again);
        Write(whole);
    } else if (length > 0) {
        Write({text, static_cast<std::size_t>(length)});
    }
    va_end(again);
}

bool OutFile::Flush() {
    std::string_view rest = waiting_;
    while (!rest.empty() && fault_.empty()) {
        const ssize_t written = write(handle_, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            Fail(std::strerror(written == 0 ? ENOSPC : errno));
        }
    }
    waiting_.clear();
    return fault_.empty();
}

bool OutFile::Commit() {
    assert(IsOpen());
    bool good = Flush();
    if (close(handle_) != 0 && good) { good = Fail(std::strerror(errno)); }
    handle_ = -1;
    if (good) { good = TakePlace(); }
    if (!good && name_ != target_) { unlink(name_.c_str()); }
    return good;
}

void OutFile::Abandon() {
    if (handle_ < 0) { return; }
    close(handle_);
    handle_ = -1;
    waiting_.clear();
    if (name_ != target_) { unlink(name_.c_str()); }
}

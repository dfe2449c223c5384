// Output files on Windows.
#include "platform/outfile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <windows.h>

#include "platform/files.h"
#include "platform/text_win.h"

namespace {

constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr int MAX_NAMES = 100;  // names that are tried: other files may have the first ones
constexpr std::size_t PIECE_BYTES = std::size_t{1} << 20;  // written at once

// Tells about an existing file or folder without opening it for anything; false when it is missing.
bool Identify(const std::string& path, BY_HANDLE_FILE_INFORMATION* about) {
    const HANDLE file = CreateFileW(WidePath(path).c_str(), 0, SHARE_ALL, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) { return false; }
    const bool known = GetFileInformationByHandle(file, about) != 0;
    CloseHandle(file);
    return known;
}

// Is there a device of this name: a console, the null device, a port?
bool IsDevice(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), 0, SHARE_ALL, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) { return false; }
    const bool device = GetFileType(file) != FILE_TYPE_DISK;
    CloseHandle(file);
    return device;
}

HANDLE SystemHandle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

bool SameFile(const std::string& one, const std::string& other) {
    BY_HANDLE_FILE_INFORMATION a = {}, b = {};
    return Identify(one, &a) && Identify(other, &b) &&
           a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
}

bool OutFile::Begin(const std::string& target) {
    Abandon();
    target_ = target;
    fault_.clear();
    const std::wstring wide = WidePath(target);
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return Fail(std::strerror(EISDIR));
    }
    if (IsDevice(wide)) { return Fail("not a regular file"); }
    const std::string stem = target + ".new" + std::to_string(GetCurrentProcessId());
    HANDLE handle = INVALID_HANDLE_VALUE;
    for (int i = 0; i < MAX_NAMES && handle == INVALID_HANDLE_VALUE; ++i) {
        name_ = i == 0 ? stem : stem + "." + std::to_string(i);
        handle = CreateFileW(WidePath(name_).c_str(), GENERIC_WRITE, SHARE_ALL, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS) { break; }
    }
    if (handle == INVALID_HANDLE_VALUE) {
        FailWithLast();
        return Fail(std::strerror(errno));
    }
    handle_ = reinterpret_cast<std::intptr_t>(handle);
    return true;
}

bool OutFile::Flush() {
    std::string_view rest = waiting_;
    while (!rest.empty() && fault_.empty()) {
        DWORD written = 0;
        const auto piece = static_cast<DWORD>(std::min(rest.size(), PIECE_BYTES));
        if (!WriteFile(SystemHandle(handle_), rest.data(), piece, &written, nullptr)) {
            FailWithLast();
            Fail(std::strerror(errno));
        } else if (written == 0) {
            Fail(std::strerror(ENOSPC));
        }
        rest.remove_prefix(written);
    }
    waiting_.clear();
    return fault_.empty();
}

bool OutFile::Close() {
    const bool closed = CloseHandle(SystemHandle(handle_)) != 0;
    handle_ = NO_HANDLE;
    if (closed) { return true; }
    FailWithLast();
    return Fail(std::strerror(errno));
}

// Opening and locking of files on Windows. A lock is an object of the system, named after the
// file's own number, that lives as long as a process holds it. The file itself stays closed, so
// that its holder can replace it.
#include "platform/infile.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <io.h>
#include <windows.h>

#include "platform/files.h"
#include "platform/text_win.h"

namespace {

// The name of the lock of an existing file or folder; empty when there is none.
std::wstring LockName(const char* path) {
    const HANDLE file = CreateFileW(WidePath(path).c_str(), 0,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) { return {}; }
    BY_HANDLE_FILE_INFORMATION about = {};
    const bool known = GetFileInformationByHandle(file, &about) != 0;
    CloseHandle(file);
    if (!known) { return {}; }
    return L"Global\\vesk-lock-" + std::to_wstring(about.dwVolumeSerialNumber) + L"-" +
           std::to_wstring(about.nFileIndexHigh) + L"-" + std::to_wstring(about.nFileIndexLow);
}

}  // namespace

std::FILE* OpenRegularFile(const char* path, const char** why) {
    *why = nullptr;
    std::FILE* const file = OpenToRead(path);
    if (file == nullptr) {
        if (errno != ENOENT) { *why = std::strerror(errno); }
        return nullptr;
    }
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    BY_HANDLE_FILE_INFORMATION about = {};
    if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle, &about) ||
        (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        *why = "not a regular file";
        std::fclose(file);
        return nullptr;
    }
    return file;
}

bool PathLock::TryLock(const char* path) {
    Release();
    const std::wstring name = LockName(path);
    if (name.empty()) { return true; }
    const HANDLE lock = CreateMutexW(nullptr, FALSE, name.c_str());
    const DWORD error = GetLastError();
    // Another user's lock may not even be opened.
    if (lock == nullptr) { return error != ERROR_ACCESS_DENIED; }
    if (error == ERROR_ALREADY_EXISTS) {
        CloseHandle(lock);
        return false;
    }
    handle_ = reinterpret_cast<std::intptr_t>(lock);
    return true;
}

void PathLock::Release() {
    if (handle_ != NO_HANDLE) { CloseHandle(reinterpret_cast<HANDLE>(handle_)); }
    handle_ = NO_HANDLE;
}

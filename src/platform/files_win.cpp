// Files by name on Windows. All are opened so that others may rename or remove them meanwhile, as
// they may elsewhere.
#include "platform/files.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/text_win.h"

namespace {

constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr int RENAME_TRIES = 20;
constexpr DWORD RENAME_PAUSE_MS = 25;

// A file of the C library for a handle, which belongs to it from then on. nullptr on failure.
std::FILE* FileOf(HANDLE handle, int flags, const char* mode) {
    if (handle == INVALID_HANDLE_VALUE) {
        FailWithLast();
        return nullptr;
    }
    const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), flags | _O_BINARY);
    if (number < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    std::FILE* const file = _fdopen(number, mode);
    if (file == nullptr) { _close(number); }
    return file;
}

// A rename that also replaces a file which somebody has open; the old one lives on for him. Systems
// before Windows 10, and some file systems, know nothing of it.
bool RenameOverOpenFile(const std::wstring& from, const std::wstring& to) {
    constexpr auto rename_info_ex = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
    constexpr DWORD replace_as_posix = 1 | 2;  // the target is replaced | even when it is open
    struct RenameInfo {
        DWORD flags;
        HANDLE folder;
        DWORD name_bytes;
        wchar_t name[1];
    };
    const std::size_t name_bytes = to.size() * sizeof(wchar_t);
    std::vector<std::byte> bytes(sizeof(RenameInfo) + name_bytes);
    auto* const info = reinterpret_cast<RenameInfo*>(bytes.data());
    info->flags = replace_as_posix;
    info->name_bytes = static_cast<DWORD>(name_bytes);
    std::memcpy(info->name, to.c_str(), name_bytes);
    const HANDLE file = CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, SHARE_ALL, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE) { return false; }
    const bool renamed = SetFileInformationByHandle(file, rename_info_ex, info,
                                                    static_cast<DWORD>(bytes.size())) != 0;
    CloseHandle(file);
    return renamed;
}

}  // namespace

std::FILE* OpenToRead(const char* path) {
    // Folders open as well, and cannot be read, as elsewhere.
    const HANDLE handle = CreateFileW(WidePath(path).c_str(), GENERIC_READ, SHARE_ALL, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return FileOf(handle, _O_RDONLY, "rb");
}

std::FILE* OpenNewFile(const char* path) {
    const HANDLE handle = CreateFileW(WidePath(path).c_str(), GENERIC_WRITE, SHARE_ALL, nullptr,
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return FileOf(handle, _O_WRONLY, "wb");
}

bool RemoveFile(const char* path) {
    const std::wstring wide = WidePath(path);
    if (DeleteFileW(wide.c_str())) { return true; }
    const DWORD error = GetLastError();
    return RemoveDirectoryW(wide.c_str()) || FailWith(error);
}

bool RenameOver(const char* from, const char* to) {
    const std::wstring wide_from = WidePath(from);
    const std::wstring wide_to = WidePath(to);
    if (RenameOverOpenFile(wide_from, wide_to)) { return true; }
    // A search index or a virus scanner opens new files for a moment.
    for (int i = 0; !MoveFileExW(wide_from.c_str(), wide_to.c_str(), MOVEFILE_REPLACE_EXISTING);
         ++i) {
        const DWORD error = GetLastError();
        const bool in_use = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        if (!in_use || i == RENAME_TRIES) { return FailWith(error); }
        Sleep(RENAME_PAUSE_MS);
    }
    return true;
}

bool SeekFile(std::FILE* file, u64 offset) {
    if (offset > INT64_MAX) {
        errno = EINVAL;
        return false;
    }
    return _fseeki64(file, static_cast<i64>(offset), SEEK_SET) == 0;
}

bool EnterFolder(const char* path) {
    return SetCurrentDirectoryW(WidePath(path).c_str()) != 0 || FailWithLast();
}

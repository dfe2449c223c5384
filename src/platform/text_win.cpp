// Text, paths and errors on Windows. The wide functions of the system are used everywhere: they
// work on every version and under every setting, while a narrow program sees UTF-8 only where its
// manifest is obeyed.
#include "platform/text_win.h"

#include <algorithm>
#include <cerrno>

#include <windows.h>

namespace {

// A folder's path must leave room for a short name below it.
constexpr std::size_t LONGEST_PLAIN_PATH = MAX_PATH - 14;
constexpr wchar_t LONG_PREFIX[] = L"\\\\?\\";
constexpr wchar_t LONG_SHARE_PREFIX[] = L"\\\\?\\UNC";

struct ErrorPair {
    DWORD system;
    int c_library;
};
constexpr ErrorPair ERROR_PAIRS[] = {
    {ERROR_FILE_NOT_FOUND, ENOENT},    {ERROR_PATH_NOT_FOUND, ENOENT},
    {ERROR_INVALID_NAME, ENOENT},      {ERROR_BAD_PATHNAME, ENOENT},
    {ERROR_INVALID_DRIVE, ENOENT},     {ERROR_BAD_NETPATH, ENOENT},
    {ERROR_BAD_NET_NAME, ENOENT},      {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
    {ERROR_ACCESS_DENIED, EACCES},     {ERROR_SHARING_VIOLATION, EACCES},
    {ERROR_LOCK_VIOLATION, EACCES},    {ERROR_WRITE_PROTECT, EROFS},
    {ERROR_FILE_EXISTS, EEXIST},       {ERROR_ALREADY_EXISTS, EEXIST},
    {ERROR_DISK_FULL, ENOSPC},         {ERROR_HANDLE_DISK_FULL, ENOSPC},
    {ERROR_FILE_TOO_LARGE, EFBIG},     {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
    {ERROR_NOT_ENOUGH_MEMORY, ENOMEM}, {ERROR_OUTOFMEMORY, ENOMEM},
    {ERROR_BROKEN_PIPE, EPIPE},        {ERROR_NO_DATA, EPIPE},
    {ERROR_DIR_NOT_EMPTY, ENOTEMPTY},  {ERROR_DIRECTORY, ENOTDIR},
    {ERROR_NOT_SAME_DEVICE, EXDEV}};

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(MAX_PATH, L'\0');
    DWORD length;
    while ((length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(),
                                      nullptr)) > full.size()) {
        full.resize(length);
    }
    full.resize(length);
    return full;
}

}  // namespace

std::wstring WideText(std::string_view text) {
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
    return wide;
}

std::string NarrowText(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(std::max(length, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), length, nullptr, nullptr);
    return narrow;
}

std::wstring WidePath(std::string_view path) {
    const std::wstring wide = WideText(path);
    const std::wstring full = FullPath(wide);
    if (full.size() < LONGEST_PLAIN_PATH || full.starts_with(L"\\\\?\\")) { return wide; }
    if (full.starts_with(L"\\\\")) { return LONG_SHARE_PREFIX + full.substr(1); }
    return LONG_PREFIX + full;
}

bool FailWith(unsigned long system_error) {
    const auto* const pair =
        std::find_if(std::begin(ERROR_PAIRS), std::end(ERROR_PAIRS),
                     [system_error](const ErrorPair& p) { return p.system == system_error; });
    errno = pair != std::end(ERROR_PAIRS) ? pair->c_library : EIO;
    return false;
}

bool FailWithLast() { return FailWith(GetLastError()); }

// Standard streams on Windows. A wait for input that serves consoles, pipes and files alike does
// not exist, so one thread reads whatever it is, blocked most of the time, into a buffer from which
// the front end takes; when that is full the rest stays where it comes from. The thread starts
// when input is asked for the first time and lives as long as the program.
#include "platform/input.h"

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

#include <process.h>
#include <windows.h>

#include "platform/input_win.h"
#include "platform/text_win.h"

namespace {

constexpr std::size_t BUFFER_BYTES = std::size_t{1} << 16;
constexpr std::size_t CONSOLE_CHARACTERS = 8192;  // read at once
constexpr DWORD READ_BYTES = 4096;
constexpr unsigned READER_STACK_BYTES = 1 << 18;
constexpr wchar_t END_OF_CONSOLE_INPUT = 26;  // control-Z at the start of a line
// The thread gets this long before the first call, so that what waited already is seen by it.
constexpr DWORD FIRST_READ_MS = 20;

// Shared by the two threads under the lock.
struct InputBuffer {
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE room = CONDITION_VARIABLE_INIT;
    HANDLE event = nullptr;  // as InputEvent tells
    char bytes[BUFFER_BYTES];
    std::size_t count = 0;
    bool ended = false;
};
InputBuffer input;

// Reading thread: waits for room where there is none.
void Append(std::string_view text) {
    AcquireSRWLockExclusive(&input.lock);
    while (!text.empty()) {
        while (input.count == BUFFER_BYTES) {
            SleepConditionVariableSRW(&input.room, &input.lock, INFINITE, 0);
        }
        const std::size_t taken = std::min(text.size(), BUFFER_BYTES - input.count);
        std::copy_n(text.data(), taken, input.bytes + input.count);
        input.count += taken;
        text.remove_prefix(taken);
        SetEvent(input.event);
    }
    ReleaseSRWLockExclusive(&input.lock);
}

void ReadConsoleLines(HANDLE console) {
    static wchar_t text[CONSOLE_CHARACTERS];
    bool at_line_start = true;
    for (;;) {
        DWORD count = 0;
        SetLastError(ERROR_SUCCESS);
        if (!ReadConsoleW(console, text, CONSOLE_CHARACTERS, &count, nullptr)) { return; }
        if (count == 0) {
            // Control-C breaks a read off.
            if (GetLastError() != ERROR_OPERATION_ABORTED) { return; }
            continue;
        }
        if (at_line_start && text[0] == END_OF_CONSOLE_INPUT) { return; }
        at_line_start = text[count - 1] == L'\n';
        Append(NarrowText({text, count}));
    }
}

void ReadBytes(HANDLE stream) {
    char bytes[READ_BYTES];
    DWORD count = 0;
    while (ReadFile(stream, bytes, sizeof bytes, &count, nullptr) && count != 0) {
        Append({bytes, count});
    }
}

unsigned __stdcall ReadAll(void*) {
    const HANDLE stream = GetStdHandle(STD_INPUT_HANDLE);
    DWORD console_mode = 0;
    if (GetConsoleMode(stream, &console_mode)) {
        ReadConsoleLines(stream);
    } else {
        ReadBytes(stream);
    }
    AcquireSRWLockExclusive(&input.lock);
    input.ended = true;
    SetEvent(input.event);
    ReleaseSRWLockExclusive(&input.lock);
    return 0;
}

// Returns whether there is a reading thread.
bool StartReader() {
    input.event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (input.event == nullptr) { return false; }
    const auto thread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, READER_STACK_BYTES, ReadAll, nullptr, 0, nullptr));
    if (thread == nullptr) {
        CloseHandle(input.event);
        input.event = nullptr;
        return false;
    }
    CloseHandle(thread);
    WaitForSingleObject(input.event, FIRST_READ_MS);
    return true;
}

// A stream that is closed, or was never there, becomes the null device.
void SecureStream(DWORD which, DWORD access) {
    const HANDLE stream = GetStdHandle(which);
    if (stream != nullptr && stream != INVALID_HANDLE_VALUE &&
        (GetFileType(stream) != FILE_TYPE_UNKNOWN || GetLastError() == ERROR_SUCCESS)) {
        return;
    }
    SetStdHandle(which, CreateFileW(L"NUL", access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
}

// True for a console that obeys control sequences.
bool IsConsole(DWORD which) {
    const HANDLE stream = GetStdHandle(which);
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) &&
           SetConsoleMode(stream, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace

void SecureStandardStreams() {
    SecureStream(STD_INPUT_HANDLE, GENERIC_READ);
    SecureStream(STD_OUTPUT_HANDLE, GENERIC_WRITE);
    SecureStream(STD_ERROR_HANDLE, GENERIC_WRITE);
}

bool InputIsConsole() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}
bool OutputIsConsole() { return IsConsole(STD_OUTPUT_HANDLE); }
bool ErrorIsConsole() { return IsConsole(STD_ERROR_HANDLE); }

void* InputEvent() {
    static const bool started = StartReader();
    return started ? input.event : nullptr;
}

int PollInput(char* buffer, std::size_t size) {
    if (size == 0) { return 0; }
    if (InputEvent() == nullptr) { return -1; }
    AcquireSRWLockExclusive(&input.lock);
    const std::size_t taken = std::min({size, input.count, std::size_t{INT_MAX}});
    const bool at_end = input.count == 0 && input.ended;
    std::copy_n(input.bytes, taken, buffer);
    std::copy(input.bytes + taken, input.bytes + input.count, input.bytes);
    input.count -= taken;
    if (input.count == 0 && !input.ended) { ResetEvent(input.event); }
    ReleaseSRWLockExclusive(&input.lock);
    WakeConditionVariable(&input.room);
    return at_end ? -1 : static_cast<int>(taken);
}

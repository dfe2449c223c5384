// Standard streams on Windows. A console gets wide characters, whatever its character set is; all
// else gets the bytes as they are. A write to a full pipe waits in the system, so that a thread of
// its own has to break it off when the user has had enough.
#include "platform/outstream.h"

#include <algorithm>
#include <atomic>
#include <string>

#include <process.h>
#include <windows.h>

#include <winternl.h>

#include "platform/interrupt.h"
#include "platform/outstream_win.h"
#include "platform/text_win.h"

namespace {

constexpr std::size_t PIECE_BYTES = 4096;  // written at once
constexpr DWORD FULL_PAUSE_MS = 10;
constexpr DWORD PATIENCE_MS = 100;  // with a full stream, after an interrupt
constexpr unsigned WATCHER_STACK_BYTES = 1 << 16;

std::atomic<bool> output_is_broken{false};

// The write that goes on, under the lock.
struct WriteGoingOn {
    SRWLOCK lock = SRWLOCK_INIT;
    DWORD thread = 0;     // who writes, 0 = nobody
    unsigned number = 0;  // counts the writes
};
WriteGoingOn going_on;

void NoteWrite(DWORD thread) {
    AcquireSRWLockExclusive(&going_on.lock);
    going_on.thread = thread;
    ++going_on.number;
    ReleaseSRWLockExclusive(&going_on.lock);
}

// Breaks the write of the given number off, if that one is still under way. Returns the number of
// the latest write.
unsigned BreakOff(unsigned number) {
    AcquireSRWLockExclusive(&going_on.lock);
    if (going_on.thread != 0 && going_on.number == number) {
        const HANDLE thread = OpenThread(THREAD_TERMINATE, FALSE, going_on.thread);
        if (thread != nullptr) {
            CancelSynchronousIo(thread);
            CloseHandle(thread);
        }
    }
    number = going_on.number;
    ReleaseSRWLockExclusive(&going_on.lock);
    return number;
}

// From the interrupt on no write may wait longer than PATIENCE_MS.
unsigned __stdcall WatchWrites(void*) {
    unsigned number = BreakOff(0);
    for (;;) {
        Sleep(PATIENCE_MS);
        number = BreakOff(number);
    }
}

// Writes once, and tells how many bytes or characters were taken.
using WriteOnce = bool (*)(HANDLE stream, const void* data, DWORD size, DWORD* written);

bool WriteBytes(HANDLE stream, const void* data, DWORD size, DWORD* written) {
    return WriteFile(stream, data, size, written, nullptr) != 0;
}

bool WriteCharacters(HANDLE stream, const void* data, DWORD size, DWORD* written) {
    return WriteConsoleW(stream, data, size, written, nullptr) != 0;
}

template <typename Text>
bool WriteAll(HANDLE stream, Text text, WriteOnce write_once) {
    while (!text.empty()) {
        const auto size = static_cast<DWORD>(std::min(text.size(), PIECE_BYTES));
        DWORD written = 0;
        NoteWrite(GetCurrentThreadId());
        const bool good = write_once(stream, text.data(), size, &written);
        NoteWrite(0);
        if (!good) { return false; }
        text.remove_prefix(written);
        // A pipe that does not block has taken nothing.
        if (written == 0) {
            if (InterruptSeen()) { return false; }
            Sleep(FULL_PAUSE_MS);
        }
    }
    return true;
}

bool IsConsole(DWORD which) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(which), &mode) != 0;
}

bool WriteTo(DWORD which, std::string_view bytes) {
    static const bool output_is_console = IsConsole(STD_OUTPUT_HANDLE);
    static const bool error_is_console = IsConsole(STD_ERROR_HANDLE);
    const HANDLE stream = GetStdHandle(which);
    if (!(which == STD_OUTPUT_HANDLE ? output_is_console : error_is_console)) {
        return WriteAll(stream, bytes, WriteBytes);
    }
    const std::wstring text = WideText(bytes);
    return WriteAll(stream, std::wstring_view(text), WriteCharacters);
}

// What the system tells about one end of a pipe.
struct PipeInformation {
    ULONG type, mode, most_instances, instances;
    ULONG inbound_quota, readable, outbound_quota, writable;
    ULONG state, end;
};

// Asks a pipe for its state; false where that cannot be asked.
bool AskPipe(HANDLE pipe, PipeInformation* about) {
    constexpr auto pipe_local_information = static_cast<FILE_INFORMATION_CLASS>(24);
    IO_STATUS_BLOCK status = {};
    return NtQueryInformationFile(pipe, &status, about, sizeof *about, pipe_local_information) >= 0;
}

}  // namespace

bool WriteStream(OutStream stream, std::string_view bytes) {
    if (stream == OutStream::Error) { return WriteTo(STD_ERROR_HANDLE, bytes); }
    if (output_is_broken.load(std::memory_order_relaxed)) { return false; }
    if (WriteTo(STD_OUTPUT_HANDLE, bytes)) { return true; }
    output_is_broken.store(true, std::memory_order_relaxed);
    return false;
}

bool OutputIsBroken() { return output_is_broken.load(std::memory_order_relaxed); }

void LookAtOutput() {
    constexpr ULONG connected = 3;
    const HANDLE pipe = GetStdHandle(STD_OUTPUT_HANDLE);
    PipeInformation about = {};
    static const bool can_be_asked = AskPipe(pipe, &about);
    if (can_be_asked && AskPipe(pipe, &about) && about.state != connected) {
        output_is_broken.store(true, std::memory_order_relaxed);
    }
}

void GiveUpFullStreams() {
    const auto thread = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, WATCHER_STACK_BYTES, WatchWrites, nullptr, 0, nullptr));
    if (thread != nullptr) { CloseHandle(thread); }
}

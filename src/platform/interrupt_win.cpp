// Requests to end the program on Windows: control-C and control-break at the console, its closing,
// the user's leaving. Each is told by a thread that the system starts for it.
#include "platform/interrupt.h"

#include <atomic>

#include <windows.h>

#include "platform/outstream_win.h"
#include "platform/sleep.h"

namespace {

std::atomic<bool> interrupt_seen{false};

BOOL WINAPI NoteInterrupt(DWORD event) {
    const bool first = !interrupt_seen.exchange(true, std::memory_order_relaxed);
    if (first) {
        RaiseAlert();
        GiveUpFullStreams();
    }
    // The program would be ended on return; as it is, it has the time that the system grants it.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) { Sleep(INFINITE); }
    return first;  // the system's own handler comes next, and ends the program
}

}  // namespace

void CatchInterrupt() { SetConsoleCtrlHandler(NoteInterrupt, TRUE); }

bool InterruptSeen() { return interrupt_seen.load(std::memory_order_relaxed); }

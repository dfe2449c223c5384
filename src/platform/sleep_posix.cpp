// The alert is a pipe: a raise writes a byte, a wait polls for it and takes all bytes away. Neither
// end ever blocks, so a full pipe just means "raised" and a raise may happen in a signal handler.
#include "platform/sleep.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cmath>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/outstream.h"

namespace {

constexpr int NO_HANDLE = -1;  // poll() skips it
constexpr int TAKEN_AT_ONCE = 64;
constexpr double MS_PER_SECOND = 1e3;
constexpr double NS_PER_SECOND = 1e9;
constexpr double LONGEST_DEAF_WAIT = 0.005;  // seconds, while there is no alert

// The ends of the pipe, both open or neither. The front end sets them; whoever raises reads them.
std::atomic<int> read_end{NO_HANDLE};
std::atomic<int> write_end{NO_HANDLE};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may use nothing that locks");

bool MakeQuiet(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0 &&
           fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
}

void TakeRaises(int fd) {
    char bytes[TAKEN_AT_ONCE];
    ssize_t got;
    do { got = read(fd, bytes, sizeof bytes); } while (got > 0 || (got < 0 && errno == EINTR));
}

timespec TimeOf(double seconds) {
    const double whole = std::floor(seconds);
    return {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * NS_PER_SECOND)};
}

// Polls until something is ready or the time is over; a signal does not shorten the wait.
void PollFor(pollfd* handles, nfds_t count, double seconds) {
    const bool forever = seconds < 0.0;
    const double end = MonotonicSeconds() + seconds;
    timespec left = TimeOf(std::max(seconds, 0.0));
    while (ppoll(handles, count, forever ? nullptr : &left, nullptr) < 0 && errno == EINTR) {
        left = TimeOf(std::max(end - MonotonicSeconds(), 0.0));
    }
}

// Waits for the alert and for `input`, a handle or NO_HANDLE.
void Wait(double seconds, int input) {
    pollfd handles[] = {
        {read_end.load(std::memory_order_relaxed), POLLIN, 0},
        {input, POLLIN, 0},
        {OutputIsBroken() ? NO_HANDLE : STDOUT_FILENO, 0, 0}};  // its end is reported unasked
    if (handles[0].fd == NO_HANDLE && seconds < 0.0) { seconds = LONGEST_DEAF_WAIT; }
    PollFor(handles, std::size(handles), seconds);
    if (handles[2].revents != 0) { LookAtOutput(); }
    if ((handles[0].revents & POLLIN) != 0) { TakeRaises(handles[0].fd); }
}

}  // namespace

void CreateAlert() {
    assert(read_end == NO_HANDLE);
    int ends[2];
    if (pipe(ends) != 0) { return; }
    if (!MakeQuiet(ends[0]) || !MakeQuiet(ends[1])) {
        close(ends[0]);
        close(ends[1]);
        return;
    }
    read_end.store(ends[0], std::memory_order_relaxed);
    write_end.store(ends[1], std::memory_order_relaxed);
}

void DestroyAlert() {
    const int input = read_end.exchange(NO_HANDLE, std::memory_order_relaxed);
    const int output = write_end.exchange(NO_HANDLE, std::memory_order_relaxed);
    if (input == NO_HANDLE) { return; }
    close(input);
    close(output);
}

void RaiseAlert() {
    const int output = write_end.load(std::memory_order_relaxed);
    if (output == NO_HANDLE) { return; }
    const int saved_errno = errno;  // belongs to whatever a signal handler interrupted
    const char byte = 1;
    ssize_t written;
    do { written = write(output, &byte, sizeof byte); } while (written < 0 && errno == EINTR);
    errno = saved_errno;
}

void SleepEx(int milliseconds) { Wait(std::max(milliseconds, 0) / MS_PER_SECOND, NO_HANDLE); }

void SleepExOrInput(double seconds, bool input_ended) {
    Wait(seconds, input_ended ? NO_HANDLE : STDIN_FILENO);
}

// Alertable sleeps by a pipe: a raise writes a byte, a wait polls for it and takes all bytes away.
// Neither end ever blocks, so a full pipe just means "raised" and a raise may happen in a signal
// handler.
#include "platform/sleep.h"

#include <cerrno>
#include <cmath>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/outstream.h"

namespace {

bool MakeQuiet(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0 &&
           fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
}

void TakeRaises(int fd) {
    char bytes[64];
    ssize_t got;
    do {
        got = read(fd, bytes, sizeof(bytes));
    } while (got == static_cast<ssize_t>(sizeof(bytes)) || (got < 0 && errno == EINTR));
}

// Polls until something is ready or the time is over; a signal does not shorten the wait.
void PollFor(pollfd* handles, nfds_t count, int milliseconds) {
    if (milliseconds < 0) { milliseconds = 0; }
    const double end = MonotonicSeconds() + milliseconds * 1e-3;
    int left = milliseconds;
    while (poll(handles, count, left) < 0 && errno == EINTR) {
        const double rest = std::ceil((end - MonotonicSeconds()) * 1e3);
        left = rest > 0 ? static_cast<int>(rest) : 0;
    }
}

}  // namespace

int AlertCreate(Alert* alert) {
    int ends[2];
    if (pipe(ends) != 0) { return -1; }
    if (!MakeQuiet(ends[0]) || !MakeQuiet(ends[1])) {
        close(ends[0]);
        close(ends[1]);
        return -1;
    }
    alert->read_fd = ends[0];
    alert->write_fd = ends[1];
    return 0;
}

void AlertDestroy(Alert* alert) {
    if (alert->read_fd < 0) { return; }
    close(alert->read_fd);
    close(alert->write_fd);
    *alert = Alert{};
}

void AlertRaise(Alert* alert) {
    if (alert->write_fd < 0) { return; }
    const int saved_errno = errno;  // belongs to whatever a signal handler interrupted
    const char byte = 1;
    ssize_t written;
    do { written = write(alert->write_fd, &byte, 1); } while (written < 0 && errno == EINTR);
    errno = saved_errno;
}

void SleepEx(int milliseconds, Alert* alert) { SleepExOrInput(milliseconds, alert, true); }

void SleepExOrInput(int milliseconds, Alert* alert, bool ignore_input) {
    // poll() skips negative handles.
    pollfd handles[3] = {
        {alert != nullptr ? alert->read_fd : -1, POLLIN, 0},
        {ignore_input ? -1 : STDIN_FILENO, POLLIN, 0},
        {OutputIsBroken() ? -1 : STDOUT_FILENO, 0, 0}};  // its end is reported unasked
    PollFor(handles, 3, milliseconds);
    if (handles[2].revents != 0) { LookAtOutput(); }
    if ((handles[0].revents & POLLIN) != 0) { TakeRaises(handles[0].fd); }
}

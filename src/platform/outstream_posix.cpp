// Standard streams on POSIX systems.
#include "platform/outstream.h"

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include "platform/interrupt.h"

namespace {

std::atomic<bool> output_is_broken{false};

// What a pipe with room takes at once, so that the writing itself never blocks.
constexpr std::size_t PIECE_BYTES = PIPE_BUF;
constexpr int LOOK_FOR_INTERRUPT_MS = 100;

// Waits until the stream takes a piece. False when it never will, or the user has had enough.
bool WaitForRoom(int handle) {
    for (;;) {
        pollfd stream{handle, POLLOUT, 0};
        const int ready = poll(&stream, 1, LOOK_FOR_INTERRUPT_MS);
        if (ready > 0) { return (stream.revents & POLLOUT) != 0; }
        if (ready < 0 && errno != EINTR) { return false; }
        if (ready == 0 && InterruptSeen()) { return false; }
    }
}

bool WriteAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        if (!WaitForRoom(handle)) { return false; }
        const ssize_t written = write(handle, bytes.data(), std::min(bytes.size(), PIECE_BYTES));
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool WriteStream(OutStream stream, std::string_view bytes) {
    if (stream == OutStream::Error) { return WriteAll(STDERR_FILENO, bytes); }
    if (output_is_broken.load(std::memory_order_relaxed)) { return false; }
    if (WriteAll(STDOUT_FILENO, bytes)) { return true; }
    output_is_broken.store(true, std::memory_order_relaxed);
    return false;
}

bool OutputIsBroken() { return output_is_broken.load(std::memory_order_relaxed); }

void LookAtOutput() {
    // Without events asked for, poll() tells of a reader that is gone and of nothing else.
    pollfd stream{STDOUT_FILENO, 0, 0};
    if (poll(&stream, 1, 0) > 0 && (stream.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        output_is_broken.store(true, std::memory_order_relaxed);
    }
}

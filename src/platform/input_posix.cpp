// Standard input on POSIX systems, read past the C library's buffers: what poll() says is waiting
// is then all there is. Front-end thread only.
#include "platform/input.h"

#include <cerrno>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

void SecureStandardStreams() {
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO) { fd = open("/dev/null", O_RDWR); }
    if (fd > STDERR_FILENO) { close(fd); }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool InputIsConsole() { return isatty(STDIN_FILENO) != 0; }
bool OutputIsConsole() { return isatty(STDOUT_FILENO) != 0; }
bool ErrorIsConsole() { return isatty(STDERR_FILENO) != 0; }

int PollInput(char* buffer, std::size_t size) {
    if (size == 0) { return 0; }
    if (size > INT_MAX) { size = INT_MAX; }
    pollfd input{STDIN_FILENO, POLLIN, 0};
    int ready;
    do { ready = poll(&input, 1, 0); } while (ready < 0 && errno == EINTR);
    if (ready < 0) { return -1; }
    if (ready == 0) { return 0; }
    // A pipe whose writer is gone hangs up while its last bytes still wait: only read() tells the
    // end.
    if ((input.revents & (POLLIN | POLLHUP)) == 0) { return -1; }
    ssize_t got;
    do { got = read(STDIN_FILENO, buffer, size); } while (got < 0 && errno == EINTR);
    if (got > 0) { return static_cast<int>(got); }
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) { return 0; }
    return -1;
}

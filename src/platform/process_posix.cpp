// Programs started by the engine on POSIX systems.
#include "platform/process.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr std::size_t READ_SIZE = 4096;
constexpr double MS_PER_SECOND = 1000.0;

// Both ends of a pipe, which no started program inherits by itself.
struct Pipe {
    int ends[2] = {-1, -1};  // reading, writing
    Pipe() = default;
    ~Pipe() {
        Close(0);
        Close(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    bool Open() { return pipe2(ends, O_CLOEXEC) == 0; }
    void Close(int end) {
        if (ends[end] >= 0) { close(ends[end]); }
        ends[end] = -1;
    }
};

// What the started program gets: its standard input and output, and signals as they are by default.
int Spawn(const std::vector<std::string>& words, int input, int output, pid_t* id) {
    std::vector<char*> arguments;
    for (const std::string& word : words) { arguments.push_back(const_cast<char*>(word.c_str())); }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // An interrupt at the terminal is for us alone: we end what we have started.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    const int error =
        posix_spawn(id, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

std::string ProgramPath() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

struct ChildProcess::Port {
    Pipe input;   // of the program: we write
    Pipe output;  // we read
    pid_t id = 0;
};

ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() { End(); }

bool ChildProcess::Start(const std::vector<std::string>& words, std::string* why) {
    assert(port_ == nullptr && !words.empty());
    auto port = std::make_unique<Port>();
    const int error = port->input.Open() && port->output.Open()
                          ? Spawn(words, port->input.ends[0], port->output.ends[1], &port->id)
                          : errno;
    if (error != 0) {
        *why = std::strerror(error);
        return false;
    }
    port->input.Close(0);
    port->output.Close(1);
    std::signal(SIGPIPE, SIG_IGN);  // Write tells when the program is gone
    port_ = std::move(port);
    bytes_.clear();
    return true;
}

bool ChildProcess::Write(std::string_view bytes) {
    if (port_ == nullptr) { return false; }
    while (!bytes.empty()) {
        const ssize_t written = write(port_->input.ends[1], bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

LineRead ChildProcess::ReadLine(std::string* line, double seconds) {
    if (port_ == nullptr) { return LineRead::Ended; }
    while (!TakeLine(line)) {
        pollfd output{port_->output.ends[0], POLLIN, 0};
        const int ready = poll(&output, 1, static_cast<int>(seconds * MS_PER_SECOND));
        if (ready == 0 || (ready < 0 && errno == EINTR)) { return LineRead::Nothing; }
        char chunk[READ_SIZE];
        const ssize_t got = ready < 0 ? -1 : read(output.fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) { return LineRead::Nothing; }
        if (got <= 0) { return LineRead::Ended; }
        bytes_.append(chunk, static_cast<std::size_t>(got));
    }
    return LineRead::Line;
}

void ChildProcess::End() {
    if (port_ == nullptr) { return; }
    kill(port_->id, SIGKILL);
    while (waitpid(port_->id, nullptr, 0) < 0 && errno == EINTR) {}
    port_.reset();
}

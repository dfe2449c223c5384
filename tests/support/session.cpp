// Sessions with the built engine. Tools that drive engines use this file as well: outside a test a
// failure is just printed.
#include "support/session.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <regex>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double Now() { return std::chrono::duration<double>(Clock::now().time_since_epoch()).count(); }

int MillisecondsUntil(double end) {
    const double left = (end - Now()) * 1e3;
    return left <= 0 ? 0 : static_cast<int>(left) + 1;
}

// A write to an engine that has ended must be an error code, not a signal.
void IgnoreBrokenPipes() {
    static const bool done = std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    (void)done;
}

void MakePipe(int ends[2]) {
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
}

int UnnamedFile() {
    std::FILE* file = std::tmpfile();
    if (file == nullptr) std::abort();
    const int fd = fcntl(fileno(file), F_DUPFD_CLOEXEC, 0);
    std::fclose(file);
    return fd;
}

int Spawn(const std::vector<std::string>& words, const std::string& folder, int in, int out,
          int err) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    if (!folder.empty()) posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    // The engine starts with the usual reaction to a broken pipe, as it would under a GUI.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> argv;
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) ADD_FAILURE() << "cannot start " << words[0];
    return error == 0 ? pid : -1;
}

void CloseHandle(int* fd) {
    if (*fd >= 0) close(*fd);
    *fd = -1;
}

}  // namespace

std::string EnginePath() { return VESK_BINARY; }

Session::Session(const std::vector<std::string>& arguments, const std::string& folder,
                 const std::string& binary) {
    IgnoreBrokenPipes();
    int in[2], out[2];
    MakePipe(in);
    MakePipe(out);
    input_ = in[1];
    output_ = out[0];
    errors_ = UnnamedFile();
    fcntl(input_, F_SETFL, O_NONBLOCK);
    std::vector<std::string> words{binary.empty() ? EnginePath() : binary};
    words.insert(words.end(), arguments.begin(), arguments.end());
    pid_ = Spawn(words, folder, in[0], out[1], errors_);
    close(in[0]);
    close(out[1]);
}

Session::~Session() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    CloseHandle(&input_);
    CloseHandle(&output_);
    CloseHandle(&errors_);
}

bool Session::Send(const std::string& line) { return SendBytes(line + "\n"); }

// While the engine is slow to read, its output is taken in, so that the two never wait for each
// other.
bool Session::SendBytes(const std::string& bytes) {
    const double end = Now() + SESSION_LIMIT_SECONDS;
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = write(input_, bytes.data() + sent, bytes.size() - sent);
        if (n > 0) {
            sent += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN) break;
        pollfd handles[2] = {{input_, POLLOUT, 0}, {output_ended_ ? -1 : output_, POLLIN, 0}};
        if (poll(handles, 2, MillisecondsUntil(end)) == 0) break;
        if (handles[1].revents != 0) ReadMore(Now());
    }
    if (sent == bytes.size()) return true;
    ADD_FAILURE() << "the engine does not read its input: " << bytes.substr(0, 200);
    return false;
}

void Session::CloseInput() { CloseHandle(&input_); }

// Appends what arrives to pending_; false when the output has ended or nothing came in time.
bool Session::ReadMore(double end) {
    while (!output_ended_) {
        pollfd handle{output_, POLLIN, 0};
        const int ready = poll(&handle, 1, MillisecondsUntil(end));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        char buffer[65536];
        const ssize_t got = read(output_, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            output_ended_ = true;
            return false;
        }
        pending_.append(buffer, static_cast<std::size_t>(got));
        return true;
    }
    return false;
}

bool Session::ReadLine(std::string* line, double limit_seconds) {
    const double end = Now() + limit_seconds;
    for (;;) {
        const std::size_t feed = pending_.find('\n');
        if (feed != std::string::npos) {
            *line = pending_.substr(0, feed);
            pending_.erase(0, feed + 1);
            return true;
        }
        if (ReadMore(end)) continue;
        if (!output_ended_) {
            ADD_FAILURE() << "no line from the engine within " << limit_seconds << " s";
            return false;
        }
        *line = pending_;
        pending_.clear();
        return !line->empty();
    }
}

template <typename Wanted>
std::string Session::ReadUntil(const Wanted& wanted, const std::string& what,
                               double limit_seconds) {
    const double end = Now() + limit_seconds;
    lines_.clear();
    std::string line;
    while (ReadLine(&line, end - Now())) {
        lines_.push_back(line);
        if (wanted(line)) return line;
    }
    std::string seen;
    for (const std::string& l : lines_) seen += "  " + l + "\n";
    ADD_FAILURE() << "waited for: " << what << "\nread:\n" << seen << ErrorText();
    return "";
}

std::string Session::Expect(const std::string& prefix, double limit_seconds) {
    return ReadUntil([&](const std::string& line) { return line.starts_with(prefix); }, prefix,
                     limit_seconds);
}

std::string Session::ExpectMatch(const std::string& regex, double limit_seconds) {
    const std::regex wanted(regex);
    return ReadUntil([&](const std::string& line) { return std::regex_match(line, wanted); }, regex,
                     limit_seconds);
}

bool Session::IsSilentFor(double seconds) {
    return pending_.empty() && !ReadMore(Now() + seconds) && !output_ended_;
}

int Session::Wait(double limit_seconds) {
    if (pid_ <= 0) return status_;
    const double end = Now() + limit_seconds;
    int status = 0;
    for (;;) {
        const pid_t ended = waitpid(pid_, &status, WNOHANG);
        if (ended == pid_) break;
        if (Now() > end) {
            ADD_FAILURE() << "the engine did not end within " << limit_seconds << " s\n"
                          << pending_;
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
            pid_ = -1;
            return -1;
        }
        // An engine with a full pipe cannot end: go on reading meanwhile.
        const double soon = Now() + 0.002;
        if (!ReadMore(soon) && output_ended_) usleep(500);
    }
    pid_ = -1;
    while (ReadMore(Now() + 0.1)) {
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return status_;
}

std::string Session::RestOfOutput() {
    const std::string rest = pending_;
    pending_.clear();
    return rest;
}

void Session::Signal(int number) {
    if (pid_ > 0) kill(pid_, number);
}

std::string Session::ErrorText() {
    std::string text;
    char buffer[4096];
    for (off_t at = 0;;) {
        const ssize_t got = pread(errors_, buffer, sizeof(buffer), at);
        if (got <= 0) return text;
        text.append(buffer, static_cast<std::size_t>(got));
        at += got;
    }
}

RunResult RunVesk(const std::vector<std::string>& arguments, const std::string& input,
                  const std::string& folder, double limit_seconds) {
    Session session(arguments, folder);
    session.SendBytes(input);
    session.CloseInput();
    RunResult result;
    result.status = session.Wait(limit_seconds);
    result.output = session.RestOfOutput();
    result.errors = session.ErrorText();
    return result;
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t feed = text.find('\n', at);
        if (feed == std::string::npos) feed = text.size();
        lines.push_back(text.substr(at, feed - at));
        at = feed + 1;
    }
    return lines;
}

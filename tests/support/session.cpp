// Sessions with the built engine. Tools that drive engines use this file as well: outside a test a
// failure is just printed.
#include "support/session.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double Now() {
    using Seconds = std::chrono::duration<double>;
    return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int MillisecondsUntil(double end) {
    const double left = (end - Now()) * 1e3;
    return left <= 0 ? 0 : static_cast<int>(left) + 1;
}

// Starts a program with the given handles as its standard streams; returns its process number.
int Start(const std::vector<std::string>& words, int in, int out, int err) {
    std::vector<char*> argv;
    for (const std::string& word : words) { argv.push_back(const_cast<char*>(word.c_str())); }
    argv.push_back(nullptr);
    const int pid = fork();
    if (pid != 0) { return pid; }
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    std::signal(SIGPIPE, SIG_DFL);  // as under a GUI
    execvp(argv[0], argv.data());
    _exit(127);
}

}  // namespace

std::vector<std::string> EngineCommand() {
    std::vector<std::string> words;
    if (const char* runner = std::getenv("VESK_RUNNER")) { words.emplace_back(runner); }
    const char* program = std::getenv("VESK_PROGRAM");
    words.emplace_back(program != nullptr ? program : VESK_BINARY);
    return words;
}

Session::Session(const std::vector<std::string>& arguments, const std::string& binary,
                 int output_flags) {
    // A write to an engine that has ended must be an error code, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    int in[2], out[2];
    errors_ = std::tmpfile();
    if (errors_ == nullptr || pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
        std::abort();
    }
    input_ = in[1];
    output_ = out[0];
    fcntl(input_, F_SETFL, O_NONBLOCK);
    fcntl(out[1], F_SETFL, output_flags);
    std::vector<std::string> words = binary.empty() ? EngineCommand() : std::vector{binary};
    words.insert(words.end(), arguments.begin(), arguments.end());
    pid_ = Start(words, in[0], out[1], fileno(errors_));
    if (pid_ < 0) { ADD_FAILURE() << "cannot start " << words[0]; }
    close(in[0]);
    close(out[1]);
}

Session::~Session() {
    Signal(SIGKILL);
    if (pid_ > 0) { waitpid(pid_, nullptr, 0); }
    CloseInput();
    CloseOutput();
    std::fclose(errors_);
}

// While the engine is slow to read, its output is taken in, so that the two never wait for each
// other.
bool Session::SendBytes(const std::string& bytes) {
    const double end = Now() + SESSION_LIMIT_SECONDS;
    std::size_t sent = 0;
    while (sent < bytes.size() && Now() < end) {
        const ssize_t n = write(input_, bytes.data() + sent, bytes.size() - sent);
        if (n < 0 && errno != EAGAIN && errno != EINTR) { break; }
        if (n < 0) { ReadMore(Now() + 0.001); }
        sent += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    if (sent == bytes.size()) { return true; }
    ADD_FAILURE() << "the engine does not read its input: " << bytes.substr(0, 200);
    return false;
}

void Session::CloseInput() {
    if (input_ >= 0) { close(input_); }
    input_ = -1;
}

void Session::CloseOutput() {
    if (output_ >= 0) { close(output_); }
    output_ = -1;
    output_ended_ = true;
}

// Appends what arrives to printed_; false when the output has ended or nothing came in time.
bool Session::ReadMore(double end) {
    if (output_ended_) { return false; }
    pollfd handle{output_, POLLIN, 0};
    const int ready = poll(&handle, 1, MillisecondsUntil(end));
    if (ready < 0 && errno == EINTR) { return ReadMore(end); }
    if (ready <= 0) { return false; }
    char buffer[65536];
    const ssize_t got = read(output_, buffer, sizeof(buffer));
    output_ended_ = got <= 0;
    if (got > 0) { printed_.append(buffer, static_cast<std::size_t>(got)); }
    return got > 0;
}

std::string Session::Expect(const std::string& prefix, double limit_seconds) {
    const double end = Now() + limit_seconds;
    const std::size_t begin = returned_;
    do {
        for (std::size_t feed; (feed = printed_.find('\n', returned_)) != std::string::npos;) {
            const std::string line = printed_.substr(returned_, feed - returned_);
            returned_ = feed + 1;
            if (line.starts_with(prefix)) { return line; }
        }
    } while (ReadMore(end));
    ADD_FAILURE() << "waited for: " << prefix << "\nread:\n"
                  << printed_.substr(begin) << ErrorText();
    return "";
}

bool Session::IsSilentFor(double seconds) {
    return RestOfOutput().empty() && !ReadMore(Now() + seconds) && !output_ended_;
}

int Session::Wait(double limit_seconds) {
    const double end = Now() + limit_seconds;
    while (ReadMore(end)) {  // an engine with a full pipe cannot end
    }
    return WaitWithoutReading(end - Now());
}

int Session::WaitWithoutReading(double limit_seconds) {
    const double end = Now() + limit_seconds;
    int status = 0, ended = 0;
    while ((ended = waitpid(pid_, &status, WNOHANG)) == 0 && Now() < end) { usleep(500); }
    if (ended != pid_) {
        ADD_FAILURE() << "the engine did not end within " << limit_seconds << " s\n" << printed_;
        return -1;
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Session::WaitUntilFull() const {
    constexpr int nearly_full = 60'000;  // of 65,536 bytes
    const double end = Now() + SESSION_LIMIT_SECONDS;
    int waiting = 0;
    while (ioctl(output_, FIONREAD, &waiting) == 0 && waiting < nearly_full && Now() < end) {
        usleep(5000);
    }
    EXPECT_GE(waiting, nearly_full);
    usleep(100000);
}

void Session::Signal(int number) {
    if (pid_ > 0) { kill(pid_, number); }
}

std::string Session::ErrorText() const {
    std::string text(1 << 20, '\0');
    const ssize_t size = pread(fileno(errors_), text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return text;
}

RunResult RunVesk(const std::vector<std::string>& arguments, const std::string& input) {
    Session session(arguments);
    session.SendBytes(input);
    session.CloseInput();
    const int status = session.Wait();
    return {session.RestOfOutput(), status};
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0, feed; at < text.size(); at = feed + 1) {
        feed = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, feed - at));
    }
    return lines;
}

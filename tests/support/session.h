// Test support: whole-program sessions with the built engine through real pipes. A session never
// hangs a test: whatever is waited for has a time limit, and passing it fails the running test with
// what the engine has printed so far. Several sessions may run at the same time.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

// Generous, since machines that run tests are slow and busy; nobody waits it out unless something
// is wrong.
inline constexpr double SESSION_LIMIT_SECONDS = 60.0;

class Session {
public:
    // Starts the engine. `binary`: empty = the built engine. `output_flags`: of the pipe that it
    // writes to (0 or O_NONBLOCK).
    explicit Session(const std::vector<std::string>& arguments = {}, const std::string& binary = "",
                     int output_flags = 0);
    ~Session();  // kills an engine that still runs
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Writes the text and a line feed / the bytes as they are. False (and a test failure) when the
    // engine does not take them.
    bool Send(const std::string& line) { return SendBytes(line + "\n"); }
    bool SendBytes(const std::string& bytes);
    void CloseInput();   // the engine sees the end of its input
    void CloseOutput();  // nobody reads what it writes any more

    // Reads lines until one starts with `prefix`, and returns it. Empty, with a test failure, when
    // it does not come.
    std::string Expect(const std::string& prefix, double limit_seconds = SESSION_LIMIT_SECONDS);

    // True when nothing arrives for the given time; what has been read already but not been
    // returned counts as arrived.
    bool IsSilentFor(double seconds);

    // Exit status after the engine has ended by itself; 128 + signal when one ended it; -1, with a
    // test failure, when the time is over. Output not read yet stays readable.
    int Wait(double limit_seconds = SESSION_LIMIT_SECONDS);
    // The same without reading what the engine writes.
    int WaitWithoutReading(double limit_seconds);
    // What was read of its output, byte for byte: all of it, and what Expect has not passed yet.
    // Complete after Wait.
    const std::string& Output() const { return printed_; }
    std::string RestOfOutput() const { return printed_.substr(returned_); }
    // Waits until the engine's output pipe takes no more, and a moment longer, so that the engine
    // stands before it.
    void WaitUntilFull() const;
    void Signal(int number);
    // Everything the engine has written to standard error so far.
    std::string ErrorText() const;

private:
    bool ReadMore(double end);

    int pid_ = -1;
    int input_ = -1;   // we write, the engine reads
    int output_ = -1;  // the engine writes, we read
    std::FILE* errors_ = nullptr;
    bool output_ended_ = false;
    std::string printed_;
    std::size_t returned_ = 0;  // bytes of printed_ that Expect has passed
};

// What one run of the engine left behind.
struct RunResult {
    std::string output;
    int status = -1;
};

// Runs the engine to its end with `input` as its whole standard input.
RunResult RunVesk(const std::vector<std::string>& arguments, const std::string& input);

// The lines of a text, without line feeds.
std::vector<std::string> SplitLines(const std::string& text);

// What starts the engine: the built one, or the program that VESK_PROGRAM in the environment names;
// before it the one of VESK_RUNNER, which runs programs of another system or processor.
std::vector<std::string> EngineCommand();

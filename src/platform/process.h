// Programs that the engine starts and talks to in lines, over their standard input and output. A
// port supplies starting without a shell, pipes that no other program inherits, and a read with a
// time limit.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The file of the running program, for starting it once more; empty when the system does not tell.
std::string ProgramPath();

enum class LineRead { Line, Nothing, Ended };

// One running program. Owned by one thread.
class ChildProcess {
public:
    ChildProcess();
    ~ChildProcess();  // ends it
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts the program words[0] with the other words as its arguments; what it writes on standard
    // error goes where ours does. False, with *why in a few words, when it cannot be started.
    // Requires that none runs.
    [[nodiscard]] bool Start(const std::vector<std::string>& words, std::string* why);
    // False when the program takes nothing any more.
    [[nodiscard]] bool Write(std::string_view bytes);
    // The next line of its output without its end. Nothing: none has come in so many seconds.
    LineRead ReadLine(std::string* line, double seconds);
    // Ends the program at once, if it still runs.
    void End();

private:
    struct Port;  // the system's handles

    bool TakeLine(std::string* line);

    std::unique_ptr<Port> port_;  // nullptr: none runs
    std::string bytes_;           // read and not yet handed out
};

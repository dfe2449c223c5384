// Output files of the tools. An output is written under a name of its own, made exclusively in the
// folder of its target, and takes the target's place in one step when every byte has been written:
// until then the old file is whole, whatever goes wrong, and an input of the same name can still be
// read. A symbolic link is replaced, never written through. A port supplies Begin, Flush and Close.
// Each file belongs to one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// True when both paths lead to one existing file: what is written to one replaces the other.
bool SameFile(const std::string& one, const std::string& other);

class OutFile {
public:
    OutFile() = default;
    ~OutFile() { Abandon(); }
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    // Begins an output that becomes `target` with Commit. False when that cannot be.
    [[nodiscard]] bool Create(const std::string& target);
    // Puts the output in the target's place now, with what it holds so far; from then on it grows
    // in the user's sight. False when that cannot be: nothing of it is left then. Requires an open
    // file.
    [[nodiscard]] bool GrowInPlace();
    // Begins an output that takes the target's place at once, empty.
    [[nodiscard]] bool CreateGrowing(const std::string& target);
    bool IsOpen() const { return handle_ != NO_HANDLE; }

    // Takes bytes up; they may wait in memory until Flush or Commit. After a failure nothing is
    // written any more. Require an open file.
    void Write(std::string_view bytes);
    void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Hands everything to the system. False when that, or any write before, has failed.
    [[nodiscard]] bool Flush();
    // Flushes, closes, and puts the file in the target's place. False on any failure; the target is
    // then what it was, and nothing of the output is left (of a growing one: what was written).
    [[nodiscard]] bool Commit();
    // Closes without a result: the target stays what it was.
    void Abandon();

    // What went wrong, in one line without its end: "cannot write tmp.epd: No space left on
    // device". Empty when nothing did.
    const std::string& Fault() const { return fault_; }

private:
    static constexpr std::intptr_t NO_HANDLE = -1;

    bool Begin(const std::string& target);
    bool TakePlace();
    bool Close();
    bool Fail(const char* why);

    std::intptr_t handle_ = NO_HANDLE;  // the system's
    std::string target_;
    std::string name_;  // what the file is called now; the target's once it has its place
    std::string waiting_;
    std::string fault_;
};

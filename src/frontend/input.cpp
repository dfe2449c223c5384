// The only reader of standard input. Bytes are taken as they arrive and handed on as lines, one per
// call; a line has no fixed length and may hold any bytes but the two that end it, line feed and
// NUL. Input that has not been asked for yet stays where it comes from, so memory holds one line
// and one read at most, or what has to be held back, so that its end is seen. A terminal hands over
// whole lines, by itself or by the line editing, so it is polled like a pipe.
#include "frontend/input.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "board/trace.h"
#include "frontend/console.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/uci.h"
#include "platform/input.h"
#include "platform/interrupt.h"
#include "platform/lineedit.h"
#include "platform/outstream.h"
#include "platform/sleep.h"
#include "platform/words.h"
#include "search/threads.h"

namespace {

constexpr std::size_t READ_SIZE = 65536;                  // bytes taken at once
constexpr std::size_t HELD_LIMIT = std::size_t{1} << 24;  // bytes of held lines that are taken
constexpr std::size_t LINE_LIMIT = std::size_t{1} << 28;  // a line is cut there: memory is finite
constexpr double INPUT_WAIT_SECONDS = 0.1;  // a waiting reader looks for an interrupt this often
constexpr std::string_view LINE_ENDS("\n\0", 2);

struct InputReader {
    std::string bytes;        // taken and not yet handled, from `start` on
    std::size_t start = 0;    // first byte not handled
    std::size_t scanned = 0;  // no line ends in [start, scanned)
    bool ended = false;       // the end of input was seen
    bool fed = false;         // bytes come from FeedInput only
    bool tool_mode = false;
    bool (*held)(const std::string& line) = nullptr;  // what may not be handled yet
};
InputReader reader;

// Position of the end of the next line that is not empty, std::string::npos when none is complete.
// What is left at the end of input counts as a line.
std::size_t NextLineEnd() {
    for (;;) {
        const std::size_t end = reader.bytes.find_first_of(LINE_ENDS, reader.scanned);
        if (end == std::string::npos) {
            reader.scanned = reader.bytes.size();
            return reader.ended && reader.start < reader.bytes.size() ? reader.bytes.size() : end;
        }
        if (end > reader.start) {
            reader.scanned = end;
            return end;
        }
        reader.start = reader.scanned = end + 1;
    }
}

// As PollInput.
int Poll(char* buffer, std::size_t size) {
    if (!LineEditingRuns()) { return PollInput(buffer, size); }
    const OutputTurn turn;
    return PollEditedLine(buffer, size);
}

void ReadWhatArrived() {
    if (reader.ended || reader.fed) { return; }
    static char chunk[READ_SIZE];
    const int count = Poll(chunk, sizeof chunk);
    if (count < 0) { reader.ended = true; }
    if (count <= 0) { return; }
    reader.bytes.erase(0, reader.start);
    reader.scanned -= reader.start;
    reader.start = 0;
    if (reader.bytes.size() + static_cast<std::size_t>(count) > LINE_LIMIT) {
        reader.bytes.resize(LINE_LIMIT / 2);
    }
    reader.scanned = std::min(reader.scanned, reader.bytes.size());
    reader.bytes.append(chunk, static_cast<std::size_t>(count));
}

// The next line, which ends at `end`, without what follows a carriage return in it.
std::string LineUpTo(std::size_t end) {
    const std::string line = reader.bytes.substr(reader.start, end - reader.start);
    return line.substr(0, line.find('\r'));
}

void DropLine(std::size_t end) {
    reader.start = reader.scanned = std::min(end + 1, reader.bytes.size());
}

// Only the word counts while a tool works: what a protocol would read of the line is not the
// tool's.
void HandleInTool(const std::string& line) {
    const bool uci = PBlock.options.protocol == PROTOCOL_UCI;
    std::string word = GetWord(line.c_str());
    if (word == "." || word == "stop") { word = uci ? "stop" : "."; }
    uci ? ProcessUCI(word.c_str()) : ConsoleCommand(word.c_str());
}

void HandleLine(const std::string& line) {
    if (PBlock.options.protocol == PROTOCOL_UCI) {
        ProcessUCI(line.c_str());
    } else {
        ConsoleCommand(line.c_str());
    }
}

// What may be handled while something else works with the game position.
bool IsHarmless(const std::string& whole_line) {
    const std::string line = GetWord(whole_line.c_str());
    return line == "quit" || line == "stop" || line == "." || line == "isready";
}

}  // namespace

void UserInput() {
    LookAtOutput();
    if (EndWanted() || TraceFailed()) {
        PBlock.control.stop = STOP_ABANDON;
        PBlock.control.quit = 1;
        return;
    }
    if (!InputPending() || (NextLineIsHeld() && !HeldInputIsFull())) { ReadWhatArrived(); }
    const std::size_t end = NextLineEnd();
    if (end == std::string::npos) { return; }
    const std::string line = LineUpTo(end);
    if (reader.held != nullptr && reader.held(line)) { return; }
    DropLine(end);
    if (!reader.tool_mode) {
        HandleLine(line);
    } else if (IsHarmless(line)) {
        HandleInTool(line);
    }
}

void WaitForInput(double seconds, bool deaf) {
    {
        const OutputTurn turn;
        OfferEditedLine();
    }
    SleepExOrInput(seconds, deaf);
}

void HoldInput(bool (*held)(const std::string& line)) { reader.held = held; }

bool NextLineIsHeld() {
    if (reader.held == nullptr) { return false; }
    const std::size_t end = NextLineEnd();
    return end != std::string::npos && reader.held(LineUpTo(end));
}

bool HeldInputIsFull() {
    return NextLineIsHeld() && reader.bytes.size() - reader.start >= HELD_LIMIT;
}

void SetToolInput(bool tool_mode_runs) { reader.tool_mode = tool_mode_runs; }

bool InputEnded() { return reader.ended; }

bool InputPending() { return NextLineEnd() != std::string::npos; }

bool ReadInputLine(char* buffer, int size) {
    while (!InputPending()) {
        if (reader.ended || reader.fed || EndWanted()) { return false; }
        WaitForInput(INPUT_WAIT_SECONDS);
        ReadWhatArrived();
    }
    const std::size_t end = NextLineEnd();
    const std::string line = LineUpTo(end);
    DropLine(end);
    const std::size_t length = std::min(line.size(), static_cast<std::size_t>(size - 1));
    std::memcpy(buffer, line.data(), length);
    buffer[length] = '\0';
    return true;
}

void ResetInput() { reader = InputReader{}; }

void FeedInput(const char* bytes, int count) {
    reader.fed = true;
    reader.bytes.append(bytes, static_cast<std::size_t>(std::max(count, 0)));
}

void EndFedInput() { reader.fed = reader.ended = true; }

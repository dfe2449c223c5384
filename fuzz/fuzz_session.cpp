// Any bytes as a whole session with one to four search threads, from the first line to the end of
// the input: the command loop ends by itself, and the position is sound. The first
// byte chooses protocol and threads. Every command is there; what a session may ask for is kept
// small, and searches do not last, since a fuzzer wants thousands of sessions a second.
#include <atomic>
#include <cctype>
#include <chrono>
#include <thread>

#include "board/moves.h"
#include "board/trace.h"
#include "book/book.h"
#include "frontend/commandloop.h"
#include "fuzz_engine.h"
#include "platform/sleep.h"
#include "search/threads.h"

namespace {

constexpr unsigned MOST_THREADS = 4;
constexpr int NUMBERS = 4;  // a session knows 0 to 3

// Few sessions have searches long enough for the threads that begin later.
constexpr unsigned LONG_SEARCHES = 252;  // first byte
constexpr std::chrono::microseconds PATIENCE{100};
constexpr std::chrono::microseconds LONG_PATIENCE{10000};

// Every number becomes a digit from 0 to 3, so that depths, seconds and threads are few; those
// within words, as in squares, stay. Paths cannot leave the folder: none begins with a slash, and
// none goes up.
std::string Tamed(std::string_view text) {
    constexpr std::string_view WORD_ENDS(" \n.-\0", 5);
    std::string tame = "\n";
    bool in_number = false;
    for (const char c : text) {
        const bool at_start = in_number || WORD_ENDS.find(tame.back()) != std::string_view::npos;
        if (at_start && std::isdigit(static_cast<unsigned char>(c)) != 0) {
            if (!in_number) { tame += static_cast<char>('0' + (c - '0') % NUMBERS); }
            in_number = true;
        } else {
            tame += c == '/' && at_start && !in_number ? '_' : c;
            in_number = false;
        }
    }
    return tame;
}

// A pool of the wanted size; the one of the session before is used again where it fits.
void UseThreads(int wanted) {
    static int running = 0;
    if (running != 0) { running = PBlock.options.threads; }
    if (running == wanted) { return; }
    if (running != 0) { KillThreadPool(running); }
    Require(CreateThreadPool(wanted) == 0);
    running = wanted;
}

// Stops searches that go on for long, as an impatient user would, as long as it lives.
class ImpatientUser {
public:
    explicit ImpatientUser(std::chrono::microseconds patience) : patience_(patience) {}
    ~ImpatientUser() {
        gone_ = true;
        thread_.join();
    }

private:
    const std::chrono::microseconds patience_;
    std::atomic<bool> gone_ = false;
    std::thread thread_{[this] {
        while (!gone_) {
            std::this_thread::sleep_for(patience_);
            PBlock.control.stop = STOP_FINISH;
            RaiseAlert();
        }
    }};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    const MemoryFolder folder;
    static const bool alert = (CreateAlert(), true);
    (void)alert;
    const FuzzInput input(data, size);
    const unsigned threads = 1 + input.variant / 2 % MOST_THREADS;
    UseThreads(static_cast<int>(threads));
    ResetProgram();
    PBlock.options.threads = static_cast<u8>(threads);
    PBlock.options.protocol =
        static_cast<u16>((input.variant & 1) != 0 ? PROTOCOL_UCI : PROTOCOL_CONSOLE);
    FreeBook();
    ResetTrace();
    ClearTTable();
    const std::string text = Tamed(input.text) + "\n";
    FeedInput(text.data(), static_cast<int>(text.size()));
    EndFedInput();
    {
        const ImpatientUser user(input.variant >= LONG_SEARCHES ? LONG_PATIENCE : PATIENCE);
        CommandLoop();
    }
    PBlock.control.stop = STOP_QUIT;
    WaitUntilIdle();
    Require(PositionIsSound(game_position) == 1);
    return 0;
}

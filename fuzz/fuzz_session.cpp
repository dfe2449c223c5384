// Any bytes as a whole session with one to four search threads, from the first line to the end of
// the input: the command loop ends by itself, and the position is sound. The first
// byte chooses protocol and threads. Every command is there; what a session may ask for is kept
// small, and searches do not last, since a fuzzer wants thousands of sessions a second.
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <mutex>
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

// A pool of the wanted size; the one of the session before is used again where it fits. Records
// beyond it go, since every session clears the caches of all.
void UseThreads(int wanted) {
    static int running = 0;
    if (running != 0) { running = PBlock.options.threads; }
    if (running == wanted) { return; }
    if (running != 0) { KillThreadPool(running); }
    Require(CreateThreadPool(wanted) == 0);
    for (int slot = wanted + 1; slot < THREAD_SLOTS; ++slot) { FreeThreadBlock(slot); }
    running = wanted;
}

// Stops searches that go on for long, as an impatient user would. One thread for all sessions,
// which sleeps between them.
class ImpatientUser {
public:
    ImpatientUser() = default;
    ~ImpatientUser() {
        Watch(GONE);
        thread_.join();
    }
    ImpatientUser(const ImpatientUser&) = delete;
    ImpatientUser& operator=(const ImpatientUser&) = delete;

    // From now on no search goes on for longer than the patience; NOT_WATCHING lets all go on.
    void Watch(std::chrono::microseconds patience) {
        {
            const std::lock_guard<std::mutex> guard(lock_);
            patience_ = patience;
        }
        changed_.notify_one();
    }

    static constexpr std::chrono::microseconds NOT_WATCHING{0};

private:
    static constexpr std::chrono::microseconds GONE{-1};

    void Live() {
        std::unique_lock<std::mutex> guard(lock_);
        while (patience_ != GONE) {
            if (patience_ == NOT_WATCHING) {
                changed_.wait(guard);
            } else if (changed_.wait_for(guard, patience_) == std::cv_status::timeout &&
                       PBlock.control.stop == STOP_NONE) {
                PBlock.control.stop = STOP_FINISH;
                RaiseAlert();
            }
        }
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::chrono::microseconds patience_ = NOT_WATCHING;  // under lock_
    std::thread thread_{[this] { Live(); }};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    const MemoryFolder folder;
    static const bool alert = (CreateAlert(), true);
    (void)alert;
    static ImpatientUser user;
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
    user.Watch(input.variant >= LONG_SEARCHES ? LONG_PATIENCE : PATIENCE);
    CommandLoop();
    user.Watch(ImpatientUser::NOT_WATCHING);
    PBlock.control.stop = STOP_QUIT;
    WaitUntilIdle();
    Require(PositionIsSound(game_position) == 1);
    return 0;
}

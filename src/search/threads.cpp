// The pool of search threads: creation, command bytes, the copies of the game position, and the
// statistics.
#include "search/threads.h"

#include <atomic>
#include <cassert>
#include <chrono>
#include <cstring>
#include <system_error>

#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/sleep.h"
#include "platform/wakeup.h"
#include "search/search.h"

namespace {

constexpr int BUSY_POLL_MS = 1;  // between looks at threads that shall become idle
// The main search thread's lead over the others.
constexpr double HEAD_START_SECONDS = 0.005;
constexpr std::chrono::milliseconds HEAD_START_LOOK{1};

Relaxed<double> search_start = 0.0;  // monotonic seconds; written by StartSearch

// How far a new thread has come.
enum Birth : u8 { STARTING, READY, NO_RECORD };

// The thread of a slot. `thread` belongs to the front end; `birth` is written by the thread, once.
struct PoolThread {
    std::thread thread;
    std::atomic<u8> birth = STARTING;

    // A program that ends without KillThreadPool leaves its threads to the system.
    ~PoolThread() {
        if (thread.joinable()) { thread.detach(); }
    }
};
PoolThread pool[THREAD_SLOTS];  // slot 0 stays empty

u8 CommandOf(int slot) {
    return ThreadData[slot] == nullptr ? COMMAND_IDLE
                                       : ThreadData[slot]->command.load(std::memory_order_acquire);
}

void SendCommand(int slot, u8 command) {
    ThreadBlock* tb = ThreadData[slot];
    if (tb == nullptr) { return; }
    tb->command.store(command, std::memory_order_release);
    WakeForChange(tb->command);
}

void SetBirth(int slot, Birth birth) {
    pool[slot].birth.store(birth, std::memory_order_release);
    WakeForChange(pool[slot].birth);
}

// Lets the main search thread go first. False when the search has ended meanwhile and the front end
// has taken its command back.
bool BeginAfterHeadStart(ThreadBlock* tb) {
    if (tb->slot > 1) {
        while (PBlock.control.stop == STOP_NONE &&
               MonotonicSeconds() < search_start + HEAD_START_SECONDS) {
            std::this_thread::sleep_for(HEAD_START_LOOK);
        }
    }
    u8 expected = COMMAND_SEARCH;
    return tb->command.compare_exchange_strong(expected, COMMAND_RUNNING, std::memory_order_acq_rel,
                                               std::memory_order_acquire);
}

// Body of a search thread. After the command byte goes back to idle the front end owns the block,
// so that store is the last access of a search.
void SearchThreadFunc(int slot) {
    ThreadBlock* tb = NewThreadBlock(slot);
    if (tb == nullptr) {
        SetBirth(slot, NO_RECORD);
        return;
    }
    SetBirth(slot, READY);
    for (;;) {
        const u8 command = tb->command.load(std::memory_order_acquire);
        if (command == COMMAND_QUIT) { break; }
        if (command == COMMAND_SEARCH) {
            if (!BeginAfterHeadStart(tb)) { continue; }
            SearchIterations(slot);
            // The others go on until they are told to end.
            if (slot == 1 && PBlock.control.stop == STOP_NONE) {
                PBlock.control.stop = STOP_FINISH;
            }
            tb->command.store(COMMAND_IDLE, std::memory_order_release);
            RaiseAlert();
        } else {
            WaitForChange(tb->command, command);
        }
    }
    tb->command.store(COMMAND_IDLE, std::memory_order_release);
}

// Takes the command back from a thread that has not begun to search. True when it was in time.
bool TakeCommandBack(ThreadBlock* tb) {
    u8 expected = COMMAND_SEARCH;
    return tb->command.compare_exchange_strong(expected, COMMAND_IDLE, std::memory_order_acq_rel,
                                               std::memory_order_acquire);
}

void ResetCounters(ThreadBlock* tb) {
    tb->iteration_depth = 0;
    tb->best_depth = 0;
    tb->running_score = 0;
    tb->root_status = ROOT_NORMAL;
    tb->nodes = 0;
    tb->eval_probes = 0;
    tb->eval_hits = 0;
    tb->tt_probes = 0;
    tb->tt_hits = 0;
    tb->pawn_probes = 0;
    tb->pawn_hits = 0;
    tb->pos.ply = 1;
    tb->pv[1] = NO_MOVE;
    tb->root_move = NO_MOVE;
}

void CopyPosition(ThreadBlock* to, const ThreadBlock* from) {
    to->pos = from->pos;
    to->pos.undo = to->undo;
    to->pos.sstack = to->ply_data;
    to->pos.thread_id = to->slot;
    const int n = from->pos.hist_count;
    std::memcpy(to->undo, from->undo, static_cast<std::size_t>(n + 1) * sizeof to->undo[0]);
    to->undo[n + 1].move = NO_MOVE;
}

}  // namespace

int CreateThreadPool(int n) {
    assert(n >= 1 && n <= MAX_THREADS);
    for (int slot = 1; slot <= n; ++slot) {
        pool[slot].birth.store(STARTING, std::memory_order_relaxed);
        const int error = StartThread(&pool[slot].thread, SearchThreadFunc, slot);
        if (error != 0) { return error; }
    }
    for (int slot = 1; slot <= n; ++slot) {
        WaitForChange(pool[slot].birth, STARTING);
        if (pool[slot].birth.load(std::memory_order_acquire) == NO_RECORD) {
            return NO_THREAD_RECORD;
        }
    }
    return 0;
}

void KillThreadPool(int n) {
    PBlock.control.stop = STOP_QUIT;
    WaitUntilIdle();
    for (int slot = 1; slot <= n; ++slot) {
        if (pool[slot].thread.joinable()) { SendCommand(slot, COMMAND_QUIT); }
    }
    for (int slot = 1; slot <= n; ++slot) {
        if (pool[slot].thread.joinable()) { pool[slot].thread.join(); }
    }
}

void StartSearch() {
    assert(BusyThreads() == 0);
    search_start = MonotonicSeconds();
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        SendCommand(slot, COMMAND_SEARCH);
    }
}

SearchStats Collect() {
    SearchStats totals = {};
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        const ThreadBlock* tb = ThreadData[slot];
        if (tb == nullptr) { continue; }
        totals.nodes += tb->nodes;
        totals.eval_probes += tb->eval_probes;
        totals.eval_hits += tb->eval_hits;
        totals.tt_probes += tb->tt_probes;
        totals.tt_hits += tb->tt_hits;
        totals.pawn_probes += tb->pawn_probes;
        totals.pawn_hits += tb->pawn_hits;
    }
    return totals;
}

int BusyThreads() {
    int busy = 0;
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        if (CommandOf(slot) == COMMAND_IDLE) { continue; }
        if (slot > 1 && PBlock.control.stop != STOP_NONE && TakeCommandBack(ThreadData[slot])) {
            continue;
        }
        ++busy;
    }
    return busy;
}

void WaitUntilIdle() {
    while (BusyThreads() > 0) { SleepEx(BUSY_POLL_MS); }
}

void CopyGamePosition() {
    assert(BusyThreads() == 0);
    const ThreadBlock* game = ThreadData[0];
    for (int slot = 0; slot <= PBlock.options.threads; ++slot) {
        ThreadBlock* tb = ThreadData[slot];
        if (tb == nullptr) { continue; }
        if (slot > 0) { CopyPosition(tb, game); }
        ResetCounters(tb);
    }
}

int StartThread(std::thread* thread, const std::function<void(int)>& body, int slot) {
    assert(!thread->joinable());
    try {
        *thread = std::thread(body, slot);
    } catch (const std::system_error& error) { return error.code().value(); }
    return 0;
}

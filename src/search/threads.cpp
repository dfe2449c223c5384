// The pool of search threads: creation, command bytes, the copies of the game position, and the
// statistics.
#include "search/threads.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/sleep.h"
#include "search/search.h"

SearchStats sstats = {};
SpinLock spinlock1;
SpinLock spinlock2;
Alert front_end_alert;

namespace {

constexpr int IDLE_POLL_MS = 1;
constexpr int HEAD_START_MS = 5;  // of the main search thread over the others

ThreadHandle thread[THREAD_SLOTS];
int th_num[THREAD_SLOTS];
std::atomic<bool> ready[THREAD_SLOTS];  // the slot's new thread has published its block

u8 CommandOf(int slot) {
    return ThreadData[slot] == nullptr ? COMMAND_IDLE
                                       : ThreadData[slot]->command.load(std::memory_order_acquire);
}

void SendCommand(int slot, u8 command) {
    ThreadBlock* tb = ThreadData[slot];
    if (tb == nullptr) { return; }
    tb->command.store(command, std::memory_order_release);
    AlertRaise(&tb->alert);
}

// Body of a search thread; `argument` points to its slot number. After the command byte goes back
// to idle the front end owns the block, so that store is the last access of a search.
void* SearchThreadFunc(void* argument) {
    const int slot = *static_cast<const int*>(argument);
    ThreadBlock* tb = NewThreadBlock(slot);
    if (tb == nullptr) { std::exit(EXIT_SUCCESS); }
    ready[slot].store(true, std::memory_order_release);
    AlertRaise(&front_end_alert);
    for (;;) {
        const u8 command = tb->command.load(std::memory_order_acquire);
        if (command == COMMAND_QUIT) { break; }
        if (command == COMMAND_SEARCH) {
            SearchIterations(slot);
            // The others go on until they are told to end.
            if (slot == 1 && PBlock.control.stop == STOP_NONE) {
                PBlock.control.stop = STOP_FINISH;
            }
            tb->command.store(COMMAND_IDLE, std::memory_order_release);
            AlertRaise(&front_end_alert);
        } else {
            SleepEx(IDLE_POLL_MS, &tb->alert);
        }
    }
    tb->command.store(COMMAND_IDLE, std::memory_order_release);
    return nullptr;
}

// Waits until the main search thread has had its head start or has already finished; an old raise
// of the alert must not cut the wait short.
void GiveHeadStart() {
    const double end = MonotonicSeconds() + HEAD_START_MS * 0.001;
    while (CommandOf(1) != COMMAND_IDLE && MonotonicSeconds() < end) {
        SleepEx(IDLE_POLL_MS, &front_end_alert);
    }
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
    for (int slot = 1; slot <= n; ++slot) {
        th_num[slot] = slot;
        ready[slot].store(false, std::memory_order_relaxed);
        const int error = StartDetachedThread(&thread[slot], SearchThreadFunc, &th_num[slot]);
        if (error != 0) { return error; }
    }
    for (int slot = 1; slot <= n; ++slot) {
        while (!ready[slot].load(std::memory_order_acquire)) {
            SleepEx(IDLE_POLL_MS, &front_end_alert);
        }
    }
    return 0;
}

void KillThreadPool(int n) {
    PBlock.control.stop = STOP_QUIT;
    WaitUntilIdle();
    for (int slot = 1; slot <= n; ++slot) { SendCommand(slot, COMMAND_QUIT); }
    WaitUntilIdle();
}

void StartSearch() {
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        SendCommand(slot, COMMAND_SEARCH);
        if (slot == 1 && PBlock.options.threads > 1) { GiveHeadStart(); }
    }
}

void Collect() {
    sstats = {};
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        const ThreadBlock* tb = ThreadData[slot];
        if (tb == nullptr) { continue; }
        sstats.nodes += tb->nodes;
        sstats.eval_probes += tb->eval_probes;
        sstats.eval_hits += tb->eval_hits;
        sstats.tt_probes += tb->tt_probes;
        sstats.tt_hits += tb->tt_hits;
        sstats.pawn_probes += tb->pawn_probes;
        sstats.pawn_hits += tb->pawn_hits;
    }
}

int BusyThreads() {
    int busy = 0;
    for (int slot = 1; slot <= PBlock.options.threads; ++slot) {
        if (CommandOf(slot) != COMMAND_IDLE) { ++busy; }
    }
    return busy;
}

void WaitUntilIdle() {
    while (BusyThreads() > 0) { SleepEx(IDLE_POLL_MS, &front_end_alert); }
}

void CopyGamePosition() {
    const ThreadBlock* game = ThreadData[0];
    for (int slot = 0; slot <= PBlock.options.threads; ++slot) {
        ThreadBlock* tb = ThreadData[slot];
        if (tb == nullptr) { continue; }
        if (slot > 0) { CopyPosition(tb, game); }
        ResetCounters(tb);
    }
}

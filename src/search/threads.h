// The pool of search threads and the totals of what they count. All functions belong to the
// front-end thread, but for Collect and StartThread, which any thread may call. A thread that
// becomes idle raises the alert of platform/sleep.h.
#pragma once

#include <functional>
#include <thread>

#include "eval/threadblock.h"

// Totals over slots 1..threads, counted since the start of the search.
struct SearchStats {
    u64 nodes, eval_probes, eval_hits, tt_probes, tt_hits, pawn_probes, pawn_hits;
};

// CreateThreadPool: a new thread found no memory for its record.
inline constexpr int NO_THREAD_RECORD = -1;

// Starts an idle search thread with a fresh record on each of the slots 1..n and waits until all
// are ready. Returns 0, else NO_THREAD_RECORD or the system's error code of the first thread that
// could not be started; the threads that were started then stay. Requires 1 <= n <= MAX_THREADS
// and no pool.
[[nodiscard]] int CreateThreadPool(int n);
// Ends a running search and the threads of slots 1..n, and waits for both. Their records stay. Sets
// `stop` to STOP_QUIT. Slots without a thread are passed over.
void KillThreadPool(int n);

// Starts a search on every slot 1..threads, the main search thread some milliseconds before the
// others, which wait for that themselves. Returns without waiting for the end. Requires InitSearch
// and idle search threads.
void StartSearch();
// What the search threads have counted so far; exact once they are idle.
SearchStats Collect();
// Number of slots 1..threads that are not idle. Once the search is told to end, secondary threads
// that have not begun yet do not begin any more: nobody waits for a thread that has not run.
int BusyThreads();
// Waits until none is busy. Does not end a search.
void WaitUntilIdle();
// Resets the counters of every slot 0..threads and copies the game position to the search slots.
// Part of InitSearch. Requires idle search threads.
void CopyGamePosition();

// Starts body(slot) on a thread of its own. Returns 0, else the system's error code; `thread` is
// then unchanged. Requires that `thread` runs nothing.
[[nodiscard]] int StartThread(std::thread* thread, const std::function<void(int)>& body, int slot);

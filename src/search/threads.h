// The pool of search threads and the statistics they gather. Called by the front-end thread.
#pragma once

#include "eval/threadblock.h"
#include "platform/threads.h"

// Totals over slots 1..threads.
struct SearchStats {
    u64 nodes, eval_probes, eval_hits, tt_probes, tt_hits, pawn_probes, pawn_hits;
};
extern SearchStats sstats;  // written under spinlock2 while a search runs

extern SpinLock spinlock1;  // published best move, score, depth and line of PBlock
extern SpinLock spinlock2;  // search output and the statistics it shows

// Raised when a search thread becomes idle; the command loop sleeps on it.
extern Alert front_end_alert;

int CreateThreadPool(int n);  // 0, else the system's error code
void KillThreadPool(int n);
void StartSearch();
void Collect();
// Number of slots 1..threads that are not idle.
int BusyThreads();
// Waits, in 1 ms sleeps, until none is busy.
void WaitUntilIdle();
// Resets the per-thread counters and copies the game position to every search slot.
void CopyGamePosition();

// The staged move picker and the ordering memory (history, killers, counter moves). Works on the
// searching thread's own position and block.
#pragma once

#include "eval/threadblock.h"

inline constexpr i16 HISTORY_START = 2048;
inline constexpr i16 HISTORY_MAX = 8192;
extern const int sort_value[8];  // ordering value by captured type

// The record of the ply that the thread's position stands at.
inline PlyData* CurrentPly(ThreadBlock* tb) { return &tb->ply_data[tb->pos.ply]; }
inline const PlyData* CurrentPly(const ThreadBlock* tb) { return &tb->ply_data[tb->pos.ply]; }

// Next pseudo-legal move of the current ply, best first, or nullptr. Set the ply's stage to 0
// before the first call of a node. A list that would not fit into the move buffer is left out (the
// search never descends that far).
MoveEntry* GetNextMoveFW(ThreadBlock* tb, int in_check);
// Brings the best-scored entry (first of equals) of a terminated list to its front. The scan keeps
// its choice in registers, without a branch that the scores decide.
inline void PickNextMove(MoveEntry* first) {
    if (first->move == END_OF_LIST) { return; }
    MoveEntry* best = first;
    int best_score = first->score;
    for (MoveEntry* e = first + 1; e->move != END_OF_LIST; ++e) {
        const bool better = e->score > best_score;
        best = better ? e : best;
        best_score = better ? e->score : best_score;
    }
    const MoveEntry chosen = *best;
    *best = *first;
    *first = chosen;
}
// True when the move buffer has room for one more list of the position at its current ply.
bool MoveListFits(const ThreadBlock* tb);
// Ends the list of a ply at `end` and places the lists of the next two plies after it.
void TerminateList(PlyData* pd, MoveEntry* end);

// Ordering updates. `e` is the entry searched, at the current ply of tb->pos (before or after the
// move, as said).
void RaiseHistory(ThreadBlock* tb, const MoveEntry* e);
void LowerHistory(ThreadBlock* tb, const MoveEntry* e);
// Killer rule of a cut-off by a quiet move in the current position.
void StoreKiller(ThreadBlock* tb, Move m, int in_check);
void StoreCounterMove(ThreadBlock* tb, Move m);
// Resets history, counter moves, killers and hash moves for a new search.
void ResetOrdering(ThreadBlock* tb);

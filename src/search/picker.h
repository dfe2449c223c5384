// The staged move picker and the ordering memory (history, killers, counter moves). Works on the
// searching thread's own block, at the ply that its position stands at. Needs nothing but the
// tables of the board.
#pragma once

#include <cassert>

#include "eval/threadblock.h"

inline constexpr i16 HISTORY_START = 2048;  // of every history value, which stays in 0..HISTORY_MAX
inline constexpr i16 HISTORY_MAX = 8192;

// PlyData.stage of a node whose picker, or whose quiescence list, has not begun.
inline constexpr u8 STAGE_START = 0;

// Order of captures and promotions, of the picker and of the quiescence search alike.
inline constexpr int sort_value[8] = {20, 210, 220, 220, 230, 240, 250, 0};  // by captured type
inline constexpr int QUEEN_PROMOTION_SCORE = 200;
inline constexpr int RECAPTURE_BONUS = 6;
// Ordering score of a capture or promotion, the recapture bonus apart; `other` is that of en
// passant and of under-promotions, which take nothing from the square that they reach.
constexpr int TacticalOrder(const MoveEntry* e, int other) {
    if (e->captured) { return sort_value[PieceType(e->captured)] - PieceType(e->piece); }
    return e->move & PROMOTE_QUEEN ? QUEEN_PROMOTION_SCORE : other;
}

// The record of the ply that the thread's position stands at.
inline PlyData* CurrentPly(ThreadBlock* tb) { return &tb->ply_data[tb->pos.ply]; }
inline const PlyData* CurrentPly(const ThreadBlock* tb) { return &tb->ply_data[tb->pos.ply]; }

// Next pseudo-legal move of the current ply, best first, or nullptr. A hash move comes first, and
// once more where the list holds it. The entry stays valid until the next call at this ply.
// Requires STAGE_START in the ply's record before the first call of a node. A list that would not
// fit into the move buffer is left out (the search never descends that far).
MoveEntry* GetNextMoveFW(ThreadBlock* tb, int in_check);
// Brings the best-scored entry (first of equals) of a list that ends at `end` to its front. The
// scan keeps its choice in registers, without a branch that the scores decide.
inline void PickNextMove(MoveEntry* first, const MoveEntry* end) {
    if (first == end) { return; }
    MoveEntry* best = first;
    int best_score = first->score;
    for (MoveEntry* e = first + 1; e != end; ++e) {
        const bool better = e->score > best_score;
        best = better ? e : best;
        best_score = better ? e->score : best_score;
    }
    const MoveEntry chosen = *best;
    *best = *first;
    *first = chosen;
}
// The end mark of a terminated list from one of its entries on.
inline MoveEntry* EndOfList(MoveEntry* e) {
    while (e->move != END_OF_LIST) { ++e; }
    return e;
}
// The same of a ply's list, while the ply's node is searched: the next ply's list follows it. Not
// of the root's during a search, which shortens it after it was placed.
inline MoveEntry* EndOfPlyList(const PlyData* pd) {
    MoveEntry* end = pd[1].list_start - 1;
    assert(end->move == END_OF_LIST);
    return end;
}
// True when the move buffer has room for one more list of the position at its current ply.
bool MoveListFits(const ThreadBlock* tb);
// Ends the list of a ply at `end` and places the lists of the next two plies after it. Requires two
// more plies on the search stack.
void TerminateList(PlyData* pd, MoveEntry* end);

// Ordering updates. History is kept by to-square and moving piece, whatever the position: a move
// that fails high or is searched again, and one that does not.
void RaiseHistory(ThreadBlock* tb, const MoveEntry* e);
void LowerHistory(ThreadBlock* tb, const MoveEntry* e);
// A quiet move of the current position that cuts it off: becomes a killer of its ply, by kind of
// node, and the answer to the last move. Without a last move there is no counter move.
void StoreKiller(ThreadBlock* tb, Move m, int in_check);
void StoreCounterMove(ThreadBlock* tb, Move m);
// Resets history, counter moves, killers and hash moves for a new search.
void ResetOrdering(ThreadBlock* tb);

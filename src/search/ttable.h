// The transposition table, shared by all search threads without locks: two relaxed 64-bit words a
// slot, bound together by a check word. InitTTable first (it also generates the Zobrist keys);
// sizing and clearing only while no search runs.
#pragma once

#include <atomic>

#include "eval/threadblock.h"

inline constexpr int BOUND_UPPER = 1;  // the node failed low
inline constexpr int BOUND_LOWER = 2;  // the node failed high
inline constexpr int BOUND_EXACT = 3;

inline constexpr int TT_EMPTY_DEPTH = -50;
inline constexpr int TT_PRESET_DEPTH = -99;  // the caller's preset: no slot found
inline constexpr int TT_BAD_CHECK_DEPTH = -98;
inline constexpr int TT_BAD_MOVE_DEPTH = -97;
inline constexpr int TT_HIT_DEPTH = -9;  // results at least this deep are hits

inline constexpr int MATED_SCORE = -9871;  // scores below it are mated scores
inline constexpr int MATE_SCORE = 9870;    // scores above it are mate scores

struct TTEntry {
    u16 move;   // 0 = none
    i16 score;  // mate scores relative to the stored node
    u8 bound;
    i8 depth;  // plies
    i16 age;
    u32 key_high;
    u32 check;
};
static_assert(sizeof(TTEntry) == 16);

// A slot as the threads see it: the entry's two halves.
struct TTSlot {
    std::atomic<u64> data;  // move, score, bound, depth, age
    std::atomic<u64> keys;  // key high, check
};
static_assert(sizeof(TTSlot) == 16);

extern TTSlot* hashtable;
extern u64 entries;
extern u64 mask;
extern TTSlot* whitetable;
extern TTSlot* blacktable;
extern std::atomic<u64> ttcnt;  // stores into empty slots since the last clear

int InitTTable();   // 0, or -1 when the memory is not to be had (hashtable is then null)
void FreeTTable();  // and the size becomes 0
void ClearTTable();
// The out depth must be preset; the out move is always set.
void ProbeTTable(const Position* pos, TTEntry* out);
void StoreInTTable(const Position* pos, Move move, int depth, int score, int bound);
// Asks for the cache lines of the bucket of a search key.
void PrefetchTTable(int side, u64 key);
// Continues the line pv[ply..] by the table's moves; pv must hold PV_SIZE + 2 moves. Leaves the
// position as it found it.
void RetrievePV(ThreadBlock* tb, int ply, Move* pv);
// Share of the table in use, 0..1; 0 without entries.
double HashFill();

// Mate scores: distance from the root <-> distance from the node at `ply`.
constexpr int ScoreToTable(int score, int ply) {
    return score < MATED_SCORE ? score - ply : score > MATE_SCORE ? score + ply : score;
}
constexpr int ScoreFromTable(int score, int ply) {
    return score < MATED_SCORE ? score + ply : score > MATE_SCORE ? score - ply : score;
}

// The transposition table, shared by all search threads without locks: two relaxed 64-bit words a
// slot, bound together by a check word. InitTTable first (it also generates the Zobrist keys). The
// front-end thread sizes and clears it while no search runs; any thread may probe and store.
#pragma once

#include <atomic>
#include <cstddef>

#include "eval/threadblock.h"

inline constexpr int BOUND_UPPER = 1;  // the node failed low
inline constexpr int BOUND_LOWER = 2;  // the node failed high
inline constexpr int BOUND_EXACT = 3;

// Depths that tell something else than a depth.
inline constexpr int TT_EMPTY_DEPTH = -50;      // of a slot whose words are 0
inline constexpr int TT_PRESET_DEPTH = -99;     // the caller's preset: no slot found
inline constexpr int TT_BAD_CHECK_DEPTH = -98;  // the slot's words do not belong together
inline constexpr int TT_BAD_MOVE_DEPTH = -97;   // its move does not fit the position
inline constexpr int TT_HIT_DEPTH = -9;         // results at least this deep are hits

inline constexpr int MATED_SCORE = -9871;  // scores below it are mated scores
inline constexpr int MATE_SCORE = 9870;    // scores above it are mate scores

// One result as a probe returns it.
struct TTEntry {
    u16 move;   // 0 = none
    i16 score;  // centipawns for the side to move, mate scores relative to the stored node
    u8 bound;   // BOUND_...
    i8 depth;   // plies, or one of the depths above
    i16 age;    // `tt_age` of the search that stored or last probed it
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

// The table's memory and how keys become buckets: White's buckets begin at `white` and go up,
// Black's at `black` and go down. Written by InitTTable, FreeTTable and ClearTTable, but `used` by
// every thread that stores, each its own.
// Invariants:
// 1. `slots` is null exactly when there is no memory; then `entries` is 0.
// 2. `mask` + 1 is the greatest power of two up to `entries`; all bits are set without entries.
// 3. white = slots, black = slots + entries; spare slots behind the counted ones hold what the last
//    buckets reach over.
struct TranspositionTable {
    TTSlot* slots = nullptr;
    u64 entries = 0;
    u64 mask = ~u64{0};
    TTSlot* white = nullptr;
    TTSlot* black = nullptr;
    std::size_t bytes = 0;    // size of the memory
    bool keys_exist = false;  // the Zobrist keys have been generated
    // Stores into empty slots since the last clear, by thread.
    struct alignas(64) Count {
        Relaxed<u64> stores;
    };
    Count used[THREAD_SLOTS];
};
extern TranspositionTable hash_table;

// Megabytes of the table, at most `wanted`, that `memory` bytes leave room for.
int HashThatFits(int wanted, u64 memory);
// Lowers PBlock.options.hash_mb to what the memory of the machine or container leaves room for.
// True when it did. No table is changed.
bool FitHashToMemory();
// Frees the table and allocates one of `hash_mb` megabytes, cleared. Returns 0, or -1 when the
// memory cannot be had; there is then no table. The first call generates the Zobrist keys.
[[nodiscard]] int InitTTable();
// Gives the memory back; the size becomes 0. Without a table it does nothing.
void FreeTTable();
// Empties the table, its age and its fill. Allowed without a table.
void ClearTTable();
// Looks the position up and renews the age of what it finds. Sets out->move always (NO_MOVE when
// nothing was found), the other fields only when a slot has the position's key; a depth below
// TT_HIT_DEPTH then says that the slot cannot be trusted. Requires out->depth = TT_PRESET_DEPTH.
void ProbeTTable(const Position* pos, TTEntry* out);
// Stores a result for the position: depth in plies, score as ScoreToTable gives it. Takes the
// position's own slot, else the one of the bucket that is worth least; a much deeper result of the
// same search stays. Requires a depth of -49..127.
void StoreInTTable(const Position* pos, Move move, int depth, int score, int bound);
// Asks for the cache lines of the bucket of a search key.
void PrefetchTTable(int side, u64 key);
// Continues the line of the thread's position, which pv holds from the position's ply on, by the
// table's moves, up to a draw, a move that is not legal, or MAX_DEPTH. pv must hold PV_SIZE
// moves. Leaves the position as it found it.
void RetrievePV(ThreadBlock* tb, Move* pv);
// Stores into empty slots since the last clear. Any thread.
u64 UsedSlots();
// Share of the table in use, 0..1; 0 without entries.
double HashFill();

// Mate scores: distance from the root <-> distance from the node at `ply`.
constexpr int ScoreToTable(int score, int ply) {
    return score < MATED_SCORE ? score - ply : score > MATE_SCORE ? score + ply : score;
}
constexpr int ScoreFromTable(int score, int ply) {
    return score < MATED_SCORE ? score + ply : score > MATE_SCORE ? score - ply : score;
}

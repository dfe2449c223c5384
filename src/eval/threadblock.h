// ThreadBlock: everything one thread works with, and ThreadData, the table of all of them. It
// stands with the evaluation, the lowest folder that needs the whole record. A block is written by
// its own thread while that thread searches and by the front end while it is idle; Relaxed fields
// may be read by others at any time.
#pragma once

#include <atomic>

#include "board/moves.h"
#include "board/plydata.h"
#include "board/position.h"
#include "eval/evaluate.h"
#include "platform/atomics.h"

inline constexpr int THREAD_SLOTS = 65;  // slot 0 holds the game position, 1..64 search

// Values of the command byte.
inline constexpr u8 COMMAND_IDLE = 0;
inline constexpr u8 COMMAND_SEARCH = 1;   // requested
inline constexpr u8 COMMAND_RUNNING = 2;  // the thread has begun
inline constexpr u8 COMMAND_QUIT = 'c';

// Root status of a thread.
inline constexpr u8 ROOT_NORMAL = 0;
inline constexpr u8 ROOT_FIRST_FAILS_LOW = 1;
inline constexpr u8 ROOT_FAILS_HIGH = 2;
inline constexpr u8 ROOT_LATER_FAILS_HIGH = 3;
inline constexpr u8 ROOT_ABANDONED = 99;

inline constexpr u64 NO_NODE_TARGET = ~u64{0};

// Owned by the slot's thread. Invariants: pos.undo and pos.sstack are the block's own arrays;
// ThreadData[slot] is the block.
struct ThreadBlock {
    Position pos;
    UndoRecord undo[MAX_UNDO_RECORDS];
    PlyData ply_data[SEARCH_STACK_SIZE];
    MoveEntry move_buffer[MOVE_BUFFER_SIZE];
    i16 history[SQUARE_COUNT][2 * PIECE_TYPES];  // by to-square and moving piece code
    Move counter_moves[SQUARE_COUNT]
                      [2 * PIECE_TYPES];  // by to-square of the last move and the piece now there
    EvalCacheEntry eval_cache[EVAL_CACHE_SIZE];
    PawnEntry pawn_cache[PAWN_CACHE_SIZE];
    EvalInfo eval_info;

    u8 slot;
    // Release by the writer, acquire by the reader: it hands the block over. The idle thread
    // sleeps on it.
    std::atomic<u8> command;
    Relaxed<u8> root_status;
    Relaxed<i8> iteration_depth;
    i16 best_depth;              // iteration of the running best move
    Relaxed<i16> running_score;  // centipawns, for the side to move at the root
    i16 root_eval;               // static evaluation of the root, likewise
    u8 extension_count;          // move extensions on the current path
    u8 extension_accumulator;    // sixteenths of a ply
    Relaxed<u64> nodes;
    u64 node_target;  // the search stops with so many
    int deepest_ply;  // of the nodes of this search
    u32 seed;         // perturbation of a secondary thread's root order
    Relaxed<u64> eval_probes, eval_hits;
    Relaxed<u64> tt_probes, tt_hits;
    Relaxed<u64> pawn_probes, pawn_hits;
    u64 nodes_by_depth[PV_SIZE];
    Relaxed<i16> best_score_by_depth[PV_SIZE];
    Move pv[PV_SIZE];         // [1] = root move
    Relaxed<Move> root_move;  // copy of pv[1] for other threads
};

extern ThreadBlock* ThreadData[THREAD_SLOTS];

static_assert((EVAL_CACHE_SIZE & (EVAL_CACHE_SIZE - 1)) == 0);
static_assert((PAWN_CACHE_SIZE & (PAWN_CACHE_SIZE - 1)) == 0);

// Cache slots of a position: by its search key and the side to move (the two sides are neighbours),
// and by its pawn key. Called by the owner of the block.
inline EvalCacheEntry* EvalCacheSlot(ThreadBlock* tb, u64 key, int side) {
    return &tb->eval_cache[(key & (EVAL_CACHE_SIZE - 2)) + static_cast<u64>(side)];
}
inline PawnEntry* PawnCacheSlot(ThreadBlock* tb, u64 pawn_hash) {
    return &tb->pawn_cache[pawn_hash & (PAWN_CACHE_SIZE - 1)];
}

// Asks for the cache lines that an evaluation of the thread's position will read.
inline void PrefetchEvaluation(ThreadBlock* tb, u64 key) {
    __builtin_prefetch(EvalCacheSlot(tb, key, tb->pos.side));
    __builtin_prefetch(PawnCacheSlot(tb, tb->pos.pawn_hash));
}

// Zero-filled block of a slot with its links set, published in ThreadData[slot] (an older one is
// freed); nullptr when memory is short. FreeThreadBlock empties the slot. Front-end thread, or the
// slot's own; requires a slot 0..64 whose thread does not search.
[[nodiscard]] ThreadBlock* NewThreadBlock(int slot);
void FreeThreadBlock(int slot);

// Empties the evaluation and pawn caches of every block, and what its evaluation keeps of the
// material: all that weights have gone into. Front-end thread; requires that no search runs.
void ClearEvalCaches();

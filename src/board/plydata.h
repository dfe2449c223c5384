// PlyData: the search stack's record of one ply. Plain data, written by the searching thread only:
// the interior search owns it, the move picker keeps its state in it, and the evaluation leaves
// some results there.
#pragma once

#include "board/moves.h"

inline constexpr int SEARCH_STACK_SIZE = 70;
inline constexpr int MAX_SEARCH_PLY = 65;  // beyond it a node returns its static evaluation

// Move flags of the move being searched.
inline constexpr u8 FLAG_CAPTURE = 1;
inline constexpr u8 FLAG_CHECK = 2;
inline constexpr u8 FLAG_DISCOVERED = 4;
inline constexpr u8 FLAG_SEVENTH_RANK_PAWN = 8;
inline constexpr u8 FLAG_QUEEN_PROMOTION = 16;

// What is known of a check that the move being searched gives: written by whoever makes the move
// and searches what comes of it.
inline constexpr u8 CHECK_UNKNOWN = 0;
inline constexpr u8 CHECK_NOT_GIVEN = 1;
inline constexpr u8 CHECK_GIVEN = 2;

// A line of the processor's cache each.
struct alignas(64) PlyData {
    u8 node_type;     // 0 null-move child or re-search, 1 PV, 2 expected cut, 3 expected all
    i16 depth;        // remaining depth on entry; ply 0: the thread's iteration depth
    i16 static_eval;  // centipawns for the side to move, 0 until evaluated
    i16 alpha;        // window on entry, after the mate-distance bounds
    i16 beta;
    i8 extension;          // 1 when the fractional extension granted this node a ply
    u8 iid;                // 1 while internal iterative deepening runs here
    u8 trivial_draw;       // evaluation output: the material cannot win
    u8 move_flags;         // FLAG_... of the move being searched
    u8 check;              // CHECK_... of it
    i16 hanging[2];        // evaluation output: hanging material per side, centipawns
    u8 free_pawn_rank[2];  // evaluation output: rank index of the most advanced free passer, 0 if
                           // none
    i16 moves_searched;    // legal moves searched so far
    i16 best_score;        // left by the move loop
    Move best_move;
    Move hash_move;         // picker: tried first, 0 = none
    Move killer[3];         // [0] after a null move; [1], [2] most recent first
    Move evasion_killer;    // killer stored when in check
    u8 stage;               // picker state
    MoveEntry* list_start;  // first entry of this ply's list
    MoveEntry* cursor;      // entry returned last
};
static_assert(sizeof(PlyData) == 64);

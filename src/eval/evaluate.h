// Static evaluation of a position, its per-thread scratch record and caches, and the report. Needs
// the square tables, the keys, InitKPK and InitEval. Each thread evaluates with its own
// ThreadBlock and reads the shared tables only.
#pragma once

#include "board/plydata.h"
#include "board/position.h"

struct ThreadBlock;

// Entries of a thread's caches: powers of two.
inline constexpr int EVAL_CACHE_SIZE = 16384;
inline constexpr int PAWN_CACHE_SIZE = 8192;
inline constexpr int QUEEN_CONTACT_DANGER = 5000;  // added to hanging material: danger of mate

// What Evaluate found, by search key and side to move. [0] white, [1] black. Owned by one thread.
struct EvalCacheEntry {
    i16 score;             // centipawns, for the side to move
    u8 free_pawn_rank[2];  // as in PlyData
    i16 hanging[2];        // as in PlyData
    u64 key;               // search key; 0 in an empty entry
};
static_assert(sizeof(EvalCacheEntry) == 16);

// What depends on the pawns alone, by their key. [0] white, [1] black. Owned by one thread.
struct alignas(64) PawnEntry {
    i16 opening[2];  // structure, with the piece-square values of pawns, in centipawns
    i16 ending[2];
    u16 mask[2];  // low byte files, high byte ranks that hold a pawn of the side, a and 1 lowest
    // What covers the side's king where it stood last, with its centipawns and missing pawns.
    u8 cover_key[2];  // of king.cpp, 0 for none
    u8 cover_holes[2];
    i32 cover_value[2];
    Bitboard attack_span[2];  // squares that a pawn of the side attacks or may come to attack
    Bitboard passed;          // both colours
    Bitboard candidates;      // both colours: pawns that may become passed by exchanges
    u64 key;                  // pawn_hash
};
static_assert(sizeof(PawnEntry) == 64);  // a line of the processor's cache

// The files with a pawn of `side`, file a the lowest of eight bits.
constexpr unsigned PawnFiles(const PawnEntry* entry, int side) {
    return entry->mask[side] & ((1u << FILE_COUNT) - 1);
}

// An opening and an ending value in centipawns, which the stage of the game blends.
struct TaperedScore {
    int opening = 0;
    int ending = 0;

    constexpr TaperedScore& operator+=(TaperedScore other) {
        opening += other.opening;
        ending += other.ending;
        return *this;
    }
    constexpr TaperedScore& operator-=(TaperedScore other) {
        opening -= other.opening;
        ending -= other.ending;
        return *this;
    }
};

// A value that counts alike in the opening and in the ending.
constexpr TaperedScore BothStages(int value) { return {value, value}; }

// Lines of the report that single men are charged to, in the order in which they are shown.
enum ReportTerm : u8 {
    PAWN_TERM,
    KNIGHT_TERM,
    BISHOP_TERM,
    ROOK_TERM,
    QUEEN_TERM,
    KING_TERM,
    PASSER_TERM,
    REPORT_TERMS
};

// How the evaluation sees one position. Centipawns, [0] white, [1] black; owned by who shows it.
struct EvalReport {
    i16 squares[SQUARE_COUNT];  // blended contribution of the man on each square
    i16 material[2];
    i16 positional[2];
    i16 terms[REPORT_TERMS][2];
    i16 stage;            // 0..24; 0 when a special ending answered
    double factor = 1.0;  // drawishness factor, 0..1
    Bitboard hanging;
    Bitboard pinned;
    u8 free_pawn_rank[2];
};

// Scratch record of one Evaluate call; owned by the thread. [0] white, [1] black; values in
// centipawns. Each part of the evaluation fills its own fields. What the material decides stays for
// the next call, which most often finds the same; a zero-filled record is right for bare kings.
struct EvalInfo {
    const Position* pos;
    PlyData* pd;
    PawnEntry* pawn_entry;
    int ply;
    int stage;                 // 0..24
    bool back_rank_target[2];  // enemy king or pawns make the seventh rank worth a visit
    bool king_confined[2];     // the side's king is held on the edge
    int race[2];               // lead of a pawn that outruns the king, in moves; 0 without one
    u32 counted[2];            // material signatures that pawns..material belong to
    int pawns[2], knights[2], bishops[2], rooks[2], queens[2];
    int pieces[2];  // knights + bishops + rooks + queens
    int phase[2];   // capped at 12
    TaperedScore material[2];
    TaperedScore positional[2];
    int mobility[2];
    int king_attack[2];  // pressure of the side's men on the enemy king, entries of KingDanger
    int king_square[2];
    Bitboard occupied;
    Bitboard outposts[2];       // squares for the side's knights that no enemy pawn can ever attack
    Bitboard hanging;           // both colours
    Bitboard pinned;            // both colours
    Bitboard mobility_area[2];  // targets that count: no own men, not attacked by enemy pawns
    Bitboard king_zone[2];      // nine squares around the side's king
    Bitboard attacks[2];        // by any man
    Bitboard attacks_by[2][8];  // by piece type
    Bitboard attacked_twice[2];
    Bitboard knight_checks[2];  // of that side's king: squares from which an enemy knight would
                                // check, likewise below
    Bitboard bishop_checks[2];
    Bitboard rook_checks[2];
};

// Score in centipawns for the side to move; NO_SCORE when in_check, which says whether that side is
// in check. Leaves hanging material, free-pawn ranks and the trivial-draw flag in
// tb->ply_data[ply]. From ply 2 on the thread's caches are trusted; ply 1 (the root) computes anew.
// Called by the thread that owns the block. Requires 1 <= ply < SEARCH_STACK_SIZE and one king a
// side.
int Evaluate(ThreadBlock* tb, int ply, bool in_check);

// Evaluate at ply 1 that also fills *report: all of it empty when the side to move is in check. Its
// cache probes are not counted. Called by the thread that owns the block.
int EvaluateWithReport(ThreadBlock* tb, EvalReport* report);

// Expected result, 0..1, of a score in centipawns, for the side whose score it is. Any thread.
double WinProbability(int score);

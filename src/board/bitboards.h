// Square tables, bit scans, sliding attacks and the attack test. The square tables are constants;
// InitBitboards fills the look-up of the sliding attacks once at start-up, before any position is
// set. Afterwards everything is read-only and any thread may call.
#pragma once

#include <bit>
#include <cassert>

#include "board/lookuptable.h"
#include "board/position.h"
#include "board/target.h"

#if defined(VESK_HAS_BMI2)
#include <immintrin.h>
#endif

// The set of one square. Requires: 0 <= square < 64.
constexpr Bitboard Bit(int square) {
    assert(square >= 0 && square < SQUARE_COUNT);
    return Bitboard{1} << square;
}

inline constexpr Bitboard FILE_A = 0x0101010101010101u;
inline constexpr Bitboard FILE_H = FILE_A << LAST_FILE;
inline constexpr Bitboard RANK_1 = 0xFFu;

// All squares of a file or rank. Require: 0..7.
constexpr Bitboard FileMask(int file) {
    assert(file >= 0 && file < FILE_COUNT);
    return FILE_A << file;
}
constexpr Bitboard RankMask(int rank) {
    assert(rank >= 0 && rank < RANK_COUNT);
    return RANK_1 << (FILE_COUNT * rank);
}

using SquareSets = LookupTable<Bitboard, SQUARE_COUNT>;  // a set for each square

// Squares from the origin, which is not among them, to the edge of the board.
extern const SquareSets BB_RayN, BB_RayS, BB_RayE, BB_RayW;
extern const SquareSets BB_RayNE, BB_RayNW, BB_RaySE, BB_RaySW;
extern const SquareSets BB_RookRays, BB_BishopRays;  // unions of the four rays of a kind
extern const SquareSets BB_KingRays, BB_KnightRays;  // what the piece attacks
// What a pawn of the colour attacks, on whatever rank it stands.
extern const LookupTable<SquareSets, 2> BB_PawnRays;
// Squares strictly between two that share a rank, file or diagonal; empty for all other pairs.
extern const LookupTable<SquareSets, SQUARE_COUNT> BB_Between;
// Squares on the ranks ahead of the colour's pawn, on its own file and those beside it.
extern const LookupTable<SquareSets, 2> BB_PawnSpan;
extern const SquareSets BB_AdjacentSquares;                       // left and right on the same rank
extern const LookupTable<Bitboard, FILE_COUNT> BB_AdjacentFiles;  // the files next to a file
extern const LookupTable<Bitboard, RANK_COUNT> BB_North, BB_South;  // all ranks above, below a rank
extern const LookupTable<LookupTable<u8, SQUARE_COUNT>, SQUARE_COUNT> square_distance;
extern const LookupTable<u8, SQUARE_COUNT> sq_color;  // 1 on dark squares
extern const LookupTable<u32, 256> MSBTable;          // highest bit of a byte, 0 for 0
extern const LookupTable<u8, 256> bitcnt;             // bits of a byte
extern const LookupTable<u8, 64> BSFT;                // bit-scan table of GetLSB_2

// Fills what the attack functions look up. Main thread, first of all.
void InitBitboards();

// King distance, 0..7: the larger of rank and file distance. Requires two squares.
inline int distance(int a, int b) { return square_distance[a][b]; }

// Table forms, right on every processor. Squares 0..63, counts 0..64.
int GetLSB_2(Bitboard b);  // lowest square, 63 for the empty set
int GetMSB_2(Bitboard b);  // highest square, 0 for the empty set
int CountBits_2(Bitboard b);

// Processor forms, with the same results.
inline int GetLSB_1(Bitboard b) { return b ? std::countr_zero(b) : LAST_SQUARE; }
inline int GetMSB_1(Bitboard b) { return b ? LAST_SQUARE - std::countl_zero(b) : 0; }
inline int CountBits_1(Bitboard b) { return std::popcount(b); }

// What the engine uses: one instruction where the target processor has it.
#if defined(__GNUC__)
inline int GetLSB(Bitboard b) { return GetLSB_1(b); }
inline int GetMSB(Bitboard b) { return GetMSB_1(b); }
#else
inline int GetLSB(Bitboard b) { return GetLSB_2(b); }
inline int GetMSB(Bitboard b) { return GetMSB_2(b); }
#endif
#if defined(VESK_HAS_POPCNT)
inline int CountBits(Bitboard b) { return CountBits_1(b); }
#else
inline int CountBits(Bitboard b) { return CountBits_2(b); }
#endif

// Takes the lowest square out of a set and returns it. Requires: *b != 0.
inline int PopLSB(Bitboard* b) {
    assert(*b != 0);
    const int square = std::countr_zero(*b);
    *b &= *b - 1;
    return square;
}

// Squares that a rook or bishop on `square` attacks, the first occupied one of each line included,
// whoever stands there: the form without special instructions, by trimming the rays at their
// nearest blockers.
Bitboard GenAttacksR_2(int square, Bitboard occupied);
Bitboard GenAttacksB_2(int square, Bitboard occupied);

// The same by whatever is fastest on the target processor.
#if defined(VESK_HAS_BMI2)
// Attack sets of one square by the pattern of its relevant blockers.
struct SlidingLookup {
    Bitboard mask;  // squares whose occupation matters: the rays without their last squares
    const Bitboard* attacks;  // indexed by the mask's bits of the occupancy, packed
};
extern LookupTable<SlidingLookup, SQUARE_COUNT> RookLookup, BishopLookup;
inline Bitboard GenAttacksR(int square, Bitboard occupied) {
    const SlidingLookup& l = RookLookup[square];
    return l.attacks[_pext_u64(occupied, l.mask)];
}
inline Bitboard GenAttacksB(int square, Bitboard occupied) {
    const SlidingLookup& l = BishopLookup[square];
    return l.attacks[_pext_u64(occupied, l.mask)];
}
#else
inline Bitboard GenAttacksR(int square, Bitboard occupied) {
    return GenAttacksR_2(square, occupied);
}
inline Bitboard GenAttacksB(int square, Bitboard occupied) {
    return GenAttacksB_2(square, occupied);
}
#endif

// 1 if any piece of `side` attacks `square`, whatever stands there, else 0.
int SqAtakd(const Position* pos, int square, int side);

// 1 when the king of `side` is attacked, else 0. Requires that king.
inline int InCheck(const Position* pos, int side) {
    return SqAtakd(pos, KingSquare(pos, side), side ^ 1);
}

// Square tables, bit scans, sliding attacks and the attack test. InitBitboards fills the tables
// once at start-up, before any position is set; afterwards they are read-only and any thread may
// read.
#pragma once

#include <array>
#include <bit>

#if defined(__BMI2__)
#include <immintrin.h>
#endif

#include "board/position.h"

extern Bitboard BB_RayN[64], BB_RayS[64], BB_RayE[64], BB_RayW[64];
extern Bitboard BB_RayNE[64], BB_RayNW[64], BB_RaySE[64], BB_RaySW[64];
extern Bitboard BB_RookRays[64], BB_BishopRays[64], BB_KingRays[64], BB_KnightRays[64];
extern Bitboard BB_PawnRays[2][64];
extern Bitboard BB_Between[64][64];
extern Bitboard BB_PawnSpan[2][64];
extern Bitboard BB_AdjacentFiles[8], BB_AdjacentSquares[64];
extern Bitboard BB_North[8], BB_South[8];
extern u32 MSBTable[256];
extern u8 bitcnt[256];
extern const std::array<u8, 64> BSFT;  // bit-scan table of GetLSB_2
extern u8 sq_color[64];                // 1 on dark squares
extern u8 square_distance[64][64];

void InitBitboards();

constexpr Bitboard Bit(int square) { return Bitboard{1} << square; }
inline constexpr Bitboard FILE_A = 0x0101010101010101u;
inline constexpr Bitboard FILE_H = FILE_A << 7;
inline constexpr Bitboard RANK_1 = 0xFFu;
constexpr Bitboard FileMask(int file) { return FILE_A << file; }
constexpr Bitboard RankMask(int rank) { return RANK_1 << (8 * rank); }

// King distance: the larger of rank and file distance.
inline int distance(int a, int b) { return square_distance[a][b]; }

// Table forms, right on every processor.
int GetLSB_2(Bitboard b);  // 63 for the empty set
int GetMSB_2(Bitboard b);  // 0 for the empty set
int CountBits_2(Bitboard b);

// Processor forms, with the same results.
inline int GetLSB_1(Bitboard b) { return b ? std::countr_zero(b) : 63; }
inline int GetMSB_1(Bitboard b) { return b ? 63 - std::countl_zero(b) : 0; }
inline int CountBits_1(Bitboard b) { return std::popcount(b); }

// What the engine uses: one instruction where the target processor has it.
#if defined(__GNUC__)
inline int GetLSB(Bitboard b) { return GetLSB_1(b); }
inline int GetMSB(Bitboard b) { return GetMSB_1(b); }
#else
inline int GetLSB(Bitboard b) { return GetLSB_2(b); }
inline int GetMSB(Bitboard b) { return GetMSB_2(b); }
#endif
#if defined(__POPCNT__)
inline int CountBits(Bitboard b) { return CountBits_1(b); }
#else
inline int CountBits(Bitboard b) { return CountBits_2(b); }
#endif

// Lowest square of a non-empty set, and the set without it. Requires: *b != 0.
inline int PopLSB(Bitboard* b) {
    const int square = std::countr_zero(*b);
    *b &= *b - 1;
    return square;
}

// Sliding attacks by trimming the rays at their nearest blockers: the form without special
// instructions.
Bitboard GenAttacksR_2(int square, Bitboard occupied);
Bitboard GenAttacksB_2(int square, Bitboard occupied);

#if defined(__BMI2__)
// Attack sets of one square by the pattern of its relevant blockers.
struct SlidingLookup {
    Bitboard mask;  // squares whose occupation matters: the rays without their last squares
    const Bitboard* attacks;  // indexed by the mask's bits of the occupancy, packed
};
extern SlidingLookup RookLookup[64], BishopLookup[64];
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

// 1 if any piece of `side` attacks `square`, whatever stands there.
int SqAtakd(const Position* pos, int square, int side);

// 1 when the king of `side` is attacked. Requires a king.
inline int InCheck(const Position* pos, int side) {
    return SqAtakd(pos, KingSquare(pos, side), side ^ 1);
}

// Small inlines that the parts of the evaluation share: bitboard shifts in a side's own direction,
// blending by the game stage, and the report's bookkeeping. Internal to src/eval.
#pragma once

#include "board/bitboards.h"
#include "eval/evaluate.h"
#include "frontend/pblock.h"

// Squares named by rectangle, from White's point of view.
inline constexpr Bitboard BLOCK_B2_G7 = 0x007E7E7E7E7E7E00u;
inline constexpr Bitboard BLOCK_C3_F6 = 0x00003C3C3C3C0000u;
inline constexpr Bitboard BLOCK_D4_E5 = 0x0000001818000000u;
inline constexpr Bitboard FILES_B_TO_G = BLOCK_B2_G7 >> 8 | BLOCK_B2_G7 | BLOCK_B2_G7 << 8;
inline constexpr Bitboard HOME_HALF[2] = {0x00000000FFFFFFFFu, 0xFFFFFFFF00000000u};

// One rank toward the enemy's back rank; squares beyond the board drop out.
template <int US>
constexpr Bitboard Ahead(Bitboard b) {
    return US == WHITE ? b << 8 : b >> 8;
}
// All squares strictly ahead of those of `b` on their files.
template <int US>
constexpr Bitboard AllAhead(Bitboard b) {
    b = Ahead<US>(b);
    b |= US == WHITE ? b << 8 : b >> 8;
    b |= US == WHITE ? b << 16 : b >> 16;
    b |= US == WHITE ? b << 32 : b >> 32;
    return b;
}
// The neighbours on the same rank.
constexpr Bitboard Sideways(Bitboard b) { return (b & ~FILE_A) >> 1 | (b & ~FILE_H) << 1; }
template <int US>
constexpr Bitboard PawnAttacks(Bitboard pawns) {
    return Ahead<US>(Sideways(pawns));
}

template <int US>
constexpr int RelativeSquare(int square) {
    return square ^ flip_sq[US];
}
template <int US>
constexpr int RelativeRank(int square) {
    return RankOf(square ^ flip_sq[US]);
}

// Mix of an opening and an ending value by the stage, truncated toward zero.
constexpr int Blend(int stage, int opening, int ending) {
    return (opening * (MAX_STAGE - stage) + ending * stage) / MAX_STAGE;
}

constexpr void AddTo(i16* sum, int value) { *sum = static_cast<i16>(*sum + value); }

// Adds one piece's value to its square and its side's line of the report. Only while info->report.
// Never inlined: a compiler that moves its loads before that test would make other threads read the
// report while slot 1 writes it.
[[gnu::noinline, gnu::cold]] inline void ReportPiece(const EvalInfo* info, i16* line, int square,
                                                     int opening, int ending) {
    const int value = Blend(info->stage, opening, ending);
    AddTo(&PBlock.report.squares[square], value);
    AddTo(line, value);
}

// Small inlines that the parts of the evaluation share: bitboard shifts in a side's own direction,
// blending by the game stage, and the report's bookkeeping. Internal to src/eval.
#pragma once

#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "eval/evaluate.h"
#include "eval/personality.h"

// Squares named by rectangle, from White's point of view.
inline constexpr Bitboard BLOCK_B2_G7 = 0x007E7E7E7E7E7E00u;
inline constexpr Bitboard BLOCK_C3_F6 = 0x00003C3C3C3C0000u;
inline constexpr Bitboard BLOCK_D4_E5 = 0x0000001818000000u;
inline constexpr Bitboard FILES_B_TO_G = ~(FILE_A | FILE_H);
inline constexpr Bitboard HOME_HALF[2] = {0x00000000FFFFFFFFu, 0xFFFFFFFF00000000u};

// One rank toward the enemy's back rank; squares beyond the board drop out.
template <int US>
constexpr Bitboard Ahead(Bitboard b) {
    return US == WHITE ? b << NORTH : b >> NORTH;
}
// All squares strictly ahead of those of `b` on their files.
template <int US>
constexpr Bitboard AllAhead(Bitboard b) {
    b = Ahead<US>(b);
    b |= US == WHITE ? b << NORTH : b >> NORTH;
    b |= US == WHITE ? b << 2 * NORTH : b >> 2 * NORTH;
    b |= US == WHITE ? b << 4 * NORTH : b >> 4 * NORTH;
    return b;
}
// The neighbours on the same rank.
constexpr Bitboard Sideways(Bitboard b) { return (b & ~FILE_A) >> 1 | (b & ~FILE_H) << 1; }
template <int US>
constexpr Bitboard PawnAttacks(Bitboard pawns) {
    return Ahead<US>(Sideways(pawns));
}

// Caches are trusted from this ply on: the root computes anew.
inline constexpr int CACHED_FROM_PLY = 2;

// Mix of an opening and an ending value by the stage, truncated toward zero. Requires a stage of
// 0..24.
constexpr int Blend(int stage, int opening, int ending) {
    assert(stage >= 0 && stage <= MAX_STAGE);
    return (opening * (MAX_STAGE - stage) + ending * stage) / MAX_STAGE;
}
constexpr int Blend(int stage, TaperedScore value) {
    return Blend(stage, value.opening, value.ending);
}

// What a part of the evaluation does for the report: nothing in a search's call ...
struct NoReport {
    static constexpr bool IN_SEARCH = true;
    void Charge(const EvalInfo*, ReportTerm, int /*side*/, int /*square*/, TaperedScore) const {}
    void SpecialEnding(int /*side*/, int /*king_square*/, int /*score*/) const {}
    void Totals(const EvalInfo*, double /*factor*/) const {}
};

// ... and notes in *report for those who show it. Every part is compiled for either.
class ReportWriter {
public:
    static constexpr bool IN_SEARCH = false;  // who looks on is not counted as a probe
    explicit ReportWriter(EvalReport* report) : report_(report) {}
    // The man on `square` adds `value` to its side's line `term`.
    void Charge(const EvalInfo* info, ReportTerm term, int side, int square,
                TaperedScore value) const;
    // The following two end an evaluation.
    // A special ending answered: `score`, for the strong side, stands on that side's king.
    void SpecialEnding(int side, int king_square, int score) const;
    void Totals(const EvalInfo* info, double factor) const;

private:
    EvalReport* report_;
};

// Parts of Evaluate. Each adds to the sums of *info and reads what the parts before it left there.

// Fills the pawn entry, the outposts and the positional sums with everything that pawns are worth.
// Needs the attack sets of pawns and kings. (pawns.cpp)
template <typename Report>
void EvaluatePawns(ThreadBlock* tb, EvalInfo* info, Report report);
// Needs every attack set, check square and pressure counter of both sides. (king.cpp)
template <int US, typename Report>
void EvalKing(EvalInfo* info, Report report);
template <int US>
void EvalPinnedPieces(EvalInfo* info);  // (king.cpp)

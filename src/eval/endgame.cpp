// The special endings. Scores are computed for the strong side and turned for the side to move.
#include "eval/endgame.h"

#include <algorithm>
#include <cassert>

#include "board/zobrist.h"
#include "eval/kpk.h"
#include "frontend/pblock.h"

namespace {

// Centipawns. The kings' distance is counted in king steps.
constexpr int UNIT_SCORE = 100;  // per unit of non-pawn material

// Bishop and knight against the lone king.
constexpr int KBNK_SCORE = 700;
constexpr int KBNK_CENTRE_STEP = 4;  // per step of the strong king toward the centre
constexpr int KBNK_KING_STEP = 12;

// A rook or more against the lone king.
constexpr int MOPUP_SCORE = 200;
constexpr int MOPUP_KING_STEP = 10;

// Queen or rook against a lone pawn.
constexpr int PAWN_RANK_STEP = 10;     // per rank that the pawn has advanced
constexpr int PAWN_KING_STEP = 5;      // per step that the strong king is nearer to the pawn
constexpr int ESCORT_DISTANCE = 2;     // a king so near may lead a pawn on the seventh home
constexpr int LATE_KING_DISTANCE = 3;  // a strong king so far off comes too late
constexpr int DRAWISH_DIVISOR = 2;
constexpr Bitboard DRAWING_FILES = FileMask(0) | FileMask(2) | FileMask(5) | FileMask(7);

// clang-format off
// What driving the weak king there is worth, rank 1 first.
constexpr u8 mopup_edge[64] = {
    60, 50, 40, 30, 30, 40, 50, 60,
    50, 40, 30, 20, 20, 30, 40, 50,
    40, 30, 20, 10, 10, 20, 30, 40,
    30, 20, 10,  0,  0, 10, 20, 30,
    30, 20, 10,  0,  0, 10, 20, 30,
    40, 30, 20, 10, 10, 20, 30, 40,
    50, 40, 30, 20, 20, 30, 40, 50,
    60, 50, 40, 30, 30, 40, 50, 60,
};
// Toward the dark corners, for a bishop on dark squares.
constexpr u8 kbnk_corner[64] = {
    120, 100,  80,  60,  40,  20,  10,  10,
    100,  80,  60,  40,  20,   0,  15,  10,
     80,  60,  40,  20,   0,   0,   0,  20,
     60,  40,  20,   0,   0,   0,  20,  40,
     40,  20,   0,   0,   0,  20,  40,  60,
     20,   0,   0,   0,  20,  40,  60,  80,
     10,  15,   0,  20,  40,  60,  80, 100,
     10,  10,  20,  40,  60,  80, 100, 120,
};
constexpr u8 kbnk_centre[64] = {
    0, 0, 0, 0, 0, 0, 0, 0,
    0, 1, 1, 1, 1, 1, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 2, 3, 3, 2, 1, 0,
    0, 1, 2, 3, 3, 2, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 1, 1, 1, 1, 1, 0,
    0, 0, 0, 0, 0, 0, 0, 0,
};
// clang-format on

int EvalKBNK(const EvalInfo* info, int strong) {
    const int own = info->king_square[strong], enemy = info->king_square[strong ^ 1];
    const bool dark = sq_color[GetLSB(info->pos->bb[strong][BISHOP])] != 0;
    const int corner = kbnk_corner[dark ? enemy : enemy ^ LAST_FILE];
    return KBNK_SCORE + KBNK_CENTRE_STEP * kbnk_centre[own] + corner -
           KBNK_KING_STEP * distance(own, enemy);
}

// The strong side's score of the mop-up.
int MopupScore(const EvalInfo* info, int strong) {
    const int own = info->king_square[strong], enemy = info->king_square[strong ^ 1];
    return UNIT_SCORE * info->pos->npm[strong] + MOPUP_SCORE + mopup_edge[enemy] -
           MOPUP_KING_STEP * distance(own, enemy);
}

// True when the pawn of `owner`, one step before promotion, may hold the draw. Distances of the
// kings from the pawn.
bool PawnMayHold(const Position* pos, int owner, int pawn, int weak_distance, int strong_distance) {
    if (pos->side == owner) {
        return weak_distance <= ESCORT_DISTANCE && weak_distance < strong_distance;
    }
    const int promotion = pawn + pawn_dir[owner];
    if (pos->board[promotion] != NO_PIECE || strong_distance < LATE_KING_DISTANCE) { return false; }
    return weak_distance < ESCORT_DISTANCE ||
           (weak_distance == ESCORT_DISTANCE && !SqAtakd(pos, promotion, owner ^ 1));
}

// A queen or rook (of `strong`) against a lone pawn.
int EvalPieceAgainstPawn(const EvalInfo* info, int strong) {
    const Position* pos = info->pos;
    const int owner = strong ^ 1;
    const int pawn = GetLSB(pos->bb[owner][PAWN]);
    const int r = RelativeRank(pawn, owner);
    const int weak_distance = distance(info->king_square[owner], pawn);
    const int strong_distance = distance(info->king_square[strong], pawn);
    const int score = UNIT_SCORE * pos->npm[strong] - PAWN_RANK_STEP * (r - SECOND_RANK) +
                      PAWN_KING_STEP * (weak_distance - strong_distance);
    if (r != SEVENTH_RANK || !(DRAWING_FILES & Bit(pawn))) { return score; }
    const bool holds = PawnMayHold(pos, owner, pawn, weak_distance, strong_distance);
    return holds ? score / DRAWISH_DIVISOR : score;
}

// Material of nobody, one minor piece, two knights, or a minor piece each.
bool IsDeadMaterial(u32 white, u32 black) {
    constexpr u32 knight = msig[KNIGHT], bishop = msig[BISHOP];
    const auto minor = [](u32 sig) { return sig == knight || sig == bishop; };
    const u32 total = white + black;
    if (white == 0 || black == 0) { return total == 0 || minor(total) || total == 2 * knight; }
    return minor(white) && minor(black);
}

}  // namespace

int EvalMopup(const EvalInfo* info, int side) {
    assert(info->pos->sig[WHITE] == 0 || info->pos->sig[BLACK] == 0);
    const int strong = info->pos->sig[WHITE] != 0 ? WHITE : BLACK;
    const int score = MopupScore(info, strong);
    return side == strong ? score : -score;
}

template <typename Report>
bool EvalSpecialEnding(EvalInfo* info, int* score, Report report) {
    constexpr u32 pawn = msig[PAWN], knight = msig[KNIGHT], bishop = msig[BISHOP],
                  rook = msig[ROOK], queen = msig[QUEEN];
    const Position* pos = info->pos;
    const int side = pos->side;
    const u32 white = pos->sig[WHITE], black = pos->sig[BLACK];
    const int strong = white > black ? WHITE : BLACK;  // in the rules that ask for it
    const u32 more = std::max(white, black), less = std::min(white, black);
    if (IsDeadMaterial(white, black)) {
        info->pd->trivial_draw = 1;
        *score = PBlock.root.draw_score[side];
        return true;
    }
    if (less == 0 && more == pawn) {
        *score = EvalKPK(pos, side);
        return true;
    }
    int strong_score;
    if (less == 0 && more == knight + bishop) {
        strong_score = EvalKBNK(info, strong);
    } else if (less == 0 && PawnCount(more) == 0 && more >= rook) {
        strong_score = MopupScore(info, strong);
    } else if (less == pawn && (more == queen || more == rook)) {
        strong_score = EvalPieceAgainstPawn(info, strong);
    } else {
        return false;
    }
    *score = side == strong ? strong_score : -strong_score;
    report.SpecialEnding(strong, info->king_square[strong], strong_score);
    return true;
}
template bool EvalSpecialEnding(EvalInfo* info, int* score, NoReport report);
template bool EvalSpecialEnding(EvalInfo* info, int* score, ReportWriter report);

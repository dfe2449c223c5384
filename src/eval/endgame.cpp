// Endgame knowledge: the king-and-pawn bitbase, endings with a rule of their own, and the factor
// that scales endings which are hard to win. InitKPK once at start-up; afterwards the bitbase is
// read-only and any thread may ask.
#include <algorithm>
#include <cassert>

#include "board/zobrist.h"
#include "eval/evalhelpers.h"
#include "eval/evaluate.h"
#include "frontend/pblock.h"

u8 kpk_db[2][32][64][64];

namespace {

// Value codes of the bitbase while it is built; combined by OR. In the end only draw and win are
// left on ranks 2 to 7.
constexpr u8 KPK_ILLEGAL = 0;
constexpr u8 KPK_DRAW = 1;
constexpr u8 KPK_WIN = 2;
constexpr u8 KPK_UNKNOWN = 4;
constexpr int PAWN_SIDE = 0;  // to move
constexpr int LONE_KING = 1;
constexpr int KPK_PAWNS = 32;  // file + 4 * rank, files a to d

constexpr int KPK_SCORE = 800;
constexpr int KBNK_SCORE = 700;
constexpr int MOPUP_SCORE = 200;
constexpr int UNIT_SCORE = 100;  // per unit of non-pawn material

constexpr int PawnSquare(int pawn) { return (pawn & 3) + 8 * (pawn >> 2); }
constexpr int PawnIndex(int square) { return FileOf(square) + 4 * RankOf(square); }

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

void StartKPK(int pawn, int strong, int weak) {
    const int sq = PawnSquare(pawn);
    u8* pawn_moves = &kpk_db[PAWN_SIDE][pawn][strong][weak];
    u8* king_moves = &kpk_db[LONE_KING][pawn][strong][weak];
    *pawn_moves = *king_moves = KPK_UNKNOWN;
    if (strong == sq || weak == sq || distance(strong, weak) <= 1) {
        *pawn_moves = *king_moves = KPK_ILLEGAL;
    } else if (BB_PawnRays[WHITE][sq] & Bit(weak)) {
        *pawn_moves = KPK_ILLEGAL;
    } else if (RankOf(sq) == 7) {
        *pawn_moves = KPK_WIN;
        if (distance(weak, sq) > 1 || distance(strong, sq) <= 1) { *king_moves = KPK_WIN; }
    }
}

// Best of the pawn side's moves.
u8 PawnSideValue(int pawn, int strong, int weak) {
    const auto& after = kpk_db[LONE_KING];
    int found = after[pawn + 4][strong][weak];
    if (pawn < 8 && found != KPK_ILLEGAL) { found |= after[pawn + 8][strong][weak]; }
    for (Bitboard steps = BB_KingRays[strong]; steps != 0;) {
        found |= after[pawn][PopLSB(&steps)][weak];
    }
    return found & KPK_WIN ? KPK_WIN : found & KPK_UNKNOWN ? KPK_UNKNOWN : KPK_DRAW;
}

// Best of the lone king's moves; no move at all is stalemate.
u8 LoneKingValue(int pawn, int strong, int weak) {
    const int sq = PawnSquare(pawn);
    int found = 0;
    for (Bitboard steps = BB_KingRays[weak]; steps != 0;) {
        const int to = PopLSB(&steps);
        if (to != sq) {
            found |= kpk_db[PAWN_SIDE][pawn][strong][to];
        } else if (distance(strong, sq) > 1) {
            found |= KPK_DRAW;
        }
    }
    if (found == 0 || (found & KPK_DRAW)) { return KPK_DRAW; }
    return found & KPK_UNKNOWN ? KPK_UNKNOWN : KPK_WIN;
}

// One pass over the undecided entries of one side to move; true when it decided any.
bool SweepKPK(int to_move) {
    bool changed = false;
    for (int pawn = 4; pawn < 28; ++pawn) {
        for (int strong = 0; strong < 64; ++strong) {
            for (int weak = 0; weak < 64; ++weak) {
                u8* entry = &kpk_db[to_move][pawn][strong][weak];
                if (*entry != KPK_UNKNOWN) { continue; }
                *entry = to_move == PAWN_SIDE ? PawnSideValue(pawn, strong, weak)
                                              : LoneKingValue(pawn, strong, weak);
                changed |= *entry != KPK_UNKNOWN;
            }
        }
    }
    return changed;
}

// True when the pawn of `owner` on `pawn` wins by itself.
bool PawnWins(const Position* pos, int owner, int pawn, int side) {
    int strong = KingSquare(pos, owner), weak = KingSquare(pos, owner ^ 1);
    if (owner == BLACK) { pawn = 63 - pawn, strong = 63 - strong, weak = 63 - weak; }
    if (FileOf(pawn) > 3) { pawn ^= 7, strong ^= 7, weak ^= 7; }
    return kpk_db[side == owner ? PAWN_SIDE : LONE_KING][PawnIndex(pawn)][strong][weak] == KPK_WIN;
}

int SoleSquare(Bitboard b) { return GetLSB(b); }

int EvalKBNK(const EvalInfo* info, int strong) {
    const int own = info->king_square[strong], enemy = info->king_square[strong ^ 1];
    const bool dark = sq_color[SoleSquare(info->pos->bb[strong][BISHOP])] != 0;
    const int corner = kbnk_corner[dark ? enemy : enemy ^ 7];
    return KBNK_SCORE + 4 * kbnk_centre[own] + corner - 12 * distance(own, enemy);
}

// The strong side's score of the mop-up.
int MopupScore(const EvalInfo* info, int strong) {
    const int own = info->king_square[strong], enemy = info->king_square[strong ^ 1];
    return UNIT_SCORE * info->pos->npm[strong] + MOPUP_SCORE + mopup_edge[enemy] -
           10 * distance(own, enemy);
}

// A queen or rook (of `strong`) against a lone pawn.
int EvalPieceAgainstPawn(const EvalInfo* info, int strong) {
    const Position* pos = info->pos;
    const int owner = strong ^ 1;
    const int pawn = SoleSquare(pos->bb[owner][PAWN]);
    const int r = RelativeRank(pawn, owner);
    const int weak_distance = distance(info->king_square[owner], pawn);
    const int strong_distance = distance(info->king_square[strong], pawn);
    const int score =
        UNIT_SCORE * pos->npm[strong] - 10 * (r - 1) + 5 * (weak_distance - strong_distance);
    constexpr Bitboard drawing_files = FileMask(0) | FileMask(2) | FileMask(5) | FileMask(7);
    if (r != 6 || !(drawing_files & Bit(pawn))) { return score; }
    bool drawish;
    if (pos->side == owner) {
        drawish = weak_distance <= 2 && weak_distance < strong_distance;
    } else {
        const int promotion = FileOf(pawn) + (owner == WHITE ? 56 : 0);
        drawish = pos->board[promotion] == NO_PIECE && strong_distance >= 3 &&
                  (weak_distance <= 1 || (weak_distance == 2 && !SqAtakd(pos, promotion, strong)));
    }
    return drawish ? score / 2 : score;
}

// Material of nobody, one minor piece, two knights, or a minor piece each.
bool IsDeadMaterial(u32 white, u32 black) {
    constexpr u32 knight = msig[KNIGHT], bishop = msig[BISHOP];
    const auto minor = [](u32 sig) { return sig == knight || sig == bishop; };
    const u32 total = white + black;
    if (white == 0 || black == 0) { return total == 0 || minor(total) || total == 2 * knight; }
    return minor(white) && minor(black);
}

// --- drawishness factor; S is the side ahead, W the other ---

constexpr int FIFTY_FREE = 25;  // plies without progress before the score shrinks
constexpr double FIFTY_STEP = 0.01;
constexpr int HEAVY = 14;   // units of non-pawn material; from here only the fifty moves scale
constexpr int MINOR = 4;    // less than this is at most one minor piece
constexpr int ROOKISH = 8;  // less than this is at most a rook, or two minor pieces

// Rook pawns whose bishop cannot drive the king out of the promotion corner.
bool IsWrongCorner(const EvalInfo* info, int s) {
    const Position* pos = info->pos;
    if (info->knights[s] + info->rooks[s] + info->queens[s] != 0) { return false; }
    const Bitboard pawns = pos->bb[s][PAWN];
    for (const int file : {0, 7}) {
        if (pawns & ~FileMask(file)) { continue; }
        const int corner = file + (s == WHITE ? 56 : 0);
        if (distance(info->king_square[s ^ 1], corner) > 1) { return false; }
        return info->bishops[s] == 0 ||
               sq_color[SoleSquare(pos->bb[s][BISHOP])] != sq_color[corner];
    }
    return false;
}

double OppositeBishops(const EvalInfo* info, int s, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (info->bishops[s] != 1 || info->bishops[w] != 1 || info->queens[s] != 0 ||
        info->queens[w] != 0 || pos->npm[s] > std::min(8, int{pos->npm[w]}) ||
        sq_color[SoleSquare(pos->bb[s][BISHOP])] == sq_color[SoleSquare(pos->bb[w][BISHOP])]) {
        return f;
    }
    const int more_pawns = info->pawns[s] - info->pawns[w];
    if (pos->npm[s] < MINOR) {
        if (more_pawns < 2) { return f * 0.25; }
        return more_pawns == 2 ? f * 0.5 : f;
    }
    return more_pawns < 2 ? f * 0.8 : f;
}

double LastPawn(const EvalInfo* info, int s, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (info->pawns[s] != 1 || pos->npm[s] - 1 > pos->npm[w]) { return f; }
    f *= info->knights[w] + info->bishops[w] == 0 ? 0.85 : 0.65;
    const Bitboard pawn = pos->bb[s][PAWN];
    const Bitboard path = s == WHITE ? AllAhead<WHITE>(pawn) : AllAhead<BLACK>(pawn);
    const Bitboard beside = Sideways(path);
    const Bitboard own_king = pos->bb[s][KING], enemy_king = pos->bb[w][KING];
    if (!(own_king & path)) { f *= own_king & beside ? 0.9 : 0.75; }
    if (enemy_king & path) {
        f *= 0.7;
    } else if (enemy_king & beside) {
        f *= 0.85;
    }
    if ((info->attacks_by[w][KNIGHT] | info->attacks_by[w][BISHOP]) & path) { f *= 0.75; }
    return f;
}

// The side ahead is less than a minor piece and a pawn ahead in pieces.
double SmallLead(const EvalInfo* info, int s, int side, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (info->pawns[s] == 0) {
        if (pos->sig[s] == 2 * msig[BISHOP] && pos->sig[w] == msig[KNIGHT]) { return f * 0.9; }
        if (pos->npm[s] < MINOR) { return f * 0.05; }
        if (info->king_confined[w]) { return f * 0.3; }
        return pos->npm[s] < ROOKISH ? f * 0.1 : f * 0.15;
    }
    if (pos->sig[s] == msig[PAWN] && pos->sig[w] == msig[PAWN]) {
        return PawnWins(pos, s, SoleSquare(pos->bb[s][PAWN]), side) ? f : f * 0.25;
    }
    if (pos->npm[s] < MINOR && info->pieces[w] == 0) {
        return IsWrongCorner(info, s) ? f * 0.06 : f;
    }
    if (info->pieces[w] == 0) { return f; }
    return LastPawn(info, s, OppositeBishops(info, s, f));
}

}  // namespace

void InitKPK() {
    for (int pawn = 0; pawn < KPK_PAWNS; ++pawn) {
        for (int strong = 0; strong < 64; ++strong) {
            for (int weak = 0; weak < 64; ++weak) { StartKPK(pawn, strong, weak); }
        }
    }
    for (bool changed = true; changed;) {
        changed = SweepKPK(PAWN_SIDE);
        changed |= SweepKPK(LONE_KING);
    }
    for (auto& half : kpk_db) {
        for (int pawn = 4; pawn < 28; ++pawn) {
            for (auto& row : half[pawn]) {
                for (u8& entry : row) {
                    if (entry != KPK_WIN) { entry = KPK_DRAW; }
                }
            }
        }
    }
}

int EvalKPK(const Position* pos, int side) {
    const int owner = pos->sig[WHITE] != 0 ? WHITE : BLACK;
    assert(pos->bb[owner][PAWN] != 0);
    if (!PawnWins(pos, owner, SoleSquare(pos->bb[owner][PAWN]), side)) { return 0; }
    return side == owner ? KPK_SCORE : -KPK_SCORE;
}

int EvalMopup(const EvalInfo* info, int side) {
    const int strong = info->pos->sig[WHITE] != 0 ? WHITE : BLACK;
    const int score = MopupScore(info, strong);
    return side == strong ? score : -score;
}

template <typename Report>
bool EvalSpecialEnding(EvalInfo* info, int side, int* score, Report report) {
    constexpr u32 knight = msig[KNIGHT], bishop = msig[BISHOP], rook = msig[ROOK],
                  queen = msig[QUEEN];
    const Position* pos = info->pos;
    const u32 white = pos->sig[WHITE], black = pos->sig[BLACK];
    const int strong = white > black ? WHITE : BLACK;  // in the rules that ask for it
    const u32 more = std::max(white, black), less = std::min(white, black);
    int strong_score;
    if (IsDeadMaterial(white, black)) {
        info->pd->trivial_draw = 1;
        *score = PBlock.root.draw_score[side];
        return true;
    }
    if (less == 0 && more == knight + bishop) {
        strong_score = EvalKBNK(info, strong);
    } else if (less == 0 && PawnCount(more) == 0 && more >= rook) {
        strong_score = MopupScore(info, strong);
    } else if (less == 0 && more == msig[PAWN]) {
        *score = EvalKPK(pos, side);
        return true;
    } else if (less == msig[PAWN] && (more == queen || more == rook)) {
        strong_score = EvalPieceAgainstPawn(info, strong);
    } else {
        return false;
    }
    *score = side == strong ? strong_score : -strong_score;
    report.SpecialEnding(strong, info->king_square[strong], strong_score);
    return true;
}
template bool EvalSpecialEnding(EvalInfo* info, int side, int* score, NoReport report);
template bool EvalSpecialEnding(EvalInfo* info, int side, int* score, ReportWriter report);

double DrawishnessFactor(const EvalInfo* info, int side, int score) {
    const int s = score > 0 ? side : side ^ 1, w = s ^ 1;
    const Position* pos = info->pos;
    double f = pos->fifty <= FIFTY_FREE
                   ? 1.0
                   : std::max(1.0 - (pos->fifty - FIFTY_FREE) * FIFTY_STEP, 0.0);
    if (pos->npm[s] >= HEAVY) { return f; }
    if (pos->sig[s] == 2 * msig[KNIGHT]) { return 0.05; }
    const bool lone_major = pos->sig[s] == msig[QUEEN] || pos->sig[s] == msig[ROOK];
    if (lone_major && info->pawns[w] != 0) { f *= 0.9; }
    if (pos->npm[s] - pos->npm[w] < 4) { f = SmallLead(info, s, side, f); }
    return f;
}

// The drawishness factor. In every function S (`s`) is the side ahead, W (`w`) the other; each
// takes the factor so far and returns it with its own share multiplied in, in a fixed order, so
// that the last digit of the result never changes.
#include <algorithm>

#include "board/zobrist.h"
#include "eval/endgame.h"
#include "eval/kpk.h"

namespace {

// Units of non-pawn material.
constexpr int HEAVY = 14;   // from here only the fifty moves scale
constexpr int MINOR = 4;    // less than this is at most one minor piece
constexpr int ROOKISH = 8;  // less than this is at most a rook, or two minor pieces

// The fifty-move rule.
constexpr int FIFTY_FREE = 25;  // plies without progress before the score shrinks
constexpr double FIFTY_STEP = 0.01;

constexpr double TWO_KNIGHTS = 0.05;
constexpr double LONE_MAJOR_AGAINST_PAWNS = 0.9;
constexpr int SMALL_LEAD = 4;  // units; a smaller lead is hard to win with few pawns

// No pawns left to S.
constexpr double BISHOPS_AGAINST_KNIGHT = 0.9;
constexpr double NO_PAWNS_MINOR = 0.05;
constexpr double NO_PAWNS_CONFINED_KING = 0.3;
constexpr double NO_PAWNS_ROOKISH = 0.1;
constexpr double NO_PAWNS_MORE = 0.15;

constexpr double PAWN_EACH_NO_WIN = 0.25;
constexpr double WRONG_CORNER = 0.06;

// Opposite-coloured bishops, by how many pawns more S has.
constexpr int OPPOSITE_BISHOPS_MAX = ROOKISH;  // units of S
constexpr int FEW_MORE_PAWNS = 2;              // fewer than these are not enough
constexpr double BISHOPS_ONLY_FEW_MORE = 0.25;
constexpr double BISHOPS_ONLY_TWO_MORE = 0.5;
constexpr double BISHOPS_AND_PIECES_FEW_MORE = 0.8;

// The last pawn of S.
constexpr double LAST_PAWN_NO_MINOR = 0.85;  // W has none to give for it
constexpr double LAST_PAWN = 0.65;
constexpr double OWN_KING_BESIDE_PATH = 0.9;
constexpr double OWN_KING_AWAY = 0.75;
constexpr double ENEMY_KING_ON_PATH = 0.7;
constexpr double ENEMY_KING_BESIDE_PATH = 0.85;
constexpr double MINOR_COVERS_PATH = 0.75;

double FiftyMoves(const Position* pos) {
    if (pos->fifty <= FIFTY_FREE) { return 1.0; }
    return std::max(1.0 - (pos->fifty - FIFTY_FREE) * FIFTY_STEP, 0.0);
}

double NoPawns(const EvalInfo* info, int s, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (pos->sig[s] == 2 * msig[BISHOP] && pos->sig[w] == msig[KNIGHT]) {
        return f * BISHOPS_AGAINST_KNIGHT;
    }
    if (pos->npm[s] < MINOR) { return f * NO_PAWNS_MINOR; }
    if (info->king_confined[w]) { return f * NO_PAWNS_CONFINED_KING; }
    return f * (pos->npm[s] < ROOKISH ? NO_PAWNS_ROOKISH : NO_PAWNS_MORE);
}

// Rook pawns whose bishop cannot drive the king out of the promotion corner.
bool IsWrongCorner(const EvalInfo* info, int s) {
    const Position* pos = info->pos;
    if (info->knights[s] + info->rooks[s] + info->queens[s] != 0) { return false; }
    const Bitboard pawns = pos->bb[s][PAWN];
    for (const int file : {0, LAST_FILE}) {
        if (pawns & ~FileMask(file)) { continue; }
        const int corner = RelativeSquare(SquareOf(file, LAST_RANK), s);
        if (distance(info->king_square[s ^ 1], corner) > 1) { return false; }
        return info->bishops[s] == 0 || sq_color[GetLSB(pos->bb[s][BISHOP])] != sq_color[corner];
    }
    return false;
}

bool HasOppositeBishops(const EvalInfo* info, int s) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    return info->bishops[s] == 1 && info->bishops[w] == 1 && info->queens[s] == 0 &&
           info->queens[w] == 0 &&
           pos->npm[s] <= std::min(OPPOSITE_BISHOPS_MAX, int{pos->npm[w]}) &&
           sq_color[GetLSB(pos->bb[s][BISHOP])] != sq_color[GetLSB(pos->bb[w][BISHOP])];
}

double OppositeBishops(const EvalInfo* info, int s, double f) {
    if (!HasOppositeBishops(info, s)) { return f; }
    const int more_pawns = info->pawns[s] - info->pawns[s ^ 1];
    if (info->pos->npm[s] < MINOR) {
        if (more_pawns < FEW_MORE_PAWNS) { return f * BISHOPS_ONLY_FEW_MORE; }
        return more_pawns == FEW_MORE_PAWNS ? f * BISHOPS_ONLY_TWO_MORE : f;
    }
    return more_pawns < FEW_MORE_PAWNS ? f * BISHOPS_AND_PIECES_FEW_MORE : f;
}

double LastPawn(const EvalInfo* info, int s, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (info->pawns[s] != 1 || pos->npm[s] - 1 > pos->npm[w]) { return f; }
    f *= info->knights[w] + info->bishops[w] == 0 ? LAST_PAWN_NO_MINOR : LAST_PAWN;
    const Bitboard pawn = pos->bb[s][PAWN];
    const Bitboard path = s == WHITE ? AllAhead<WHITE>(pawn) : AllAhead<BLACK>(pawn);
    const Bitboard beside = Sideways(path);
    const Bitboard own_king = pos->bb[s][KING], enemy_king = pos->bb[w][KING];
    if (!(own_king & path)) { f *= own_king & beside ? OWN_KING_BESIDE_PATH : OWN_KING_AWAY; }
    if (enemy_king & path) {
        f *= ENEMY_KING_ON_PATH;
    } else if (enemy_king & beside) {
        f *= ENEMY_KING_BESIDE_PATH;
    }
    const Bitboard minors = info->attacks_by[w][KNIGHT] | info->attacks_by[w][BISHOP];
    return minors & path ? f * MINOR_COVERS_PATH : f;
}

double SmallLead(const EvalInfo* info, int s, double f) {
    const int w = s ^ 1;
    const Position* pos = info->pos;
    if (info->pawns[s] == 0) { return NoPawns(info, s, f); }
    if (pos->sig[s] == msig[PAWN] && pos->sig[w] == msig[PAWN]) {
        const int pawn = GetLSB(pos->bb[s][PAWN]);
        return PawnWins(pos, s, pawn, pos->side) ? f : f * PAWN_EACH_NO_WIN;
    }
    if (info->pieces[w] == 0) {
        return pos->npm[s] < MINOR && IsWrongCorner(info, s) ? f * WRONG_CORNER : f;
    }
    return LastPawn(info, s, OppositeBishops(info, s, f));
}

}  // namespace

double DrawishnessFactor(const EvalInfo* info, int score) {
    const Position* pos = info->pos;
    const int s = score > 0 ? pos->side : pos->side ^ 1, w = s ^ 1;
    double f = FiftyMoves(pos);
    if (pos->npm[s] >= HEAVY) { return f; }
    if (pos->sig[s] == 2 * msig[KNIGHT]) { return TWO_KNIGHTS; }
    const bool lone_major = pos->sig[s] == msig[QUEEN] || pos->sig[s] == msig[ROOK];
    if (lone_major && info->pawns[w] != 0) { f *= LONE_MAJOR_AGAINST_PAWNS; }
    return pos->npm[s] - pos->npm[w] < SMALL_LEAD ? SmallLead(info, s, f) : f;
}

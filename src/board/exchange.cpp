// Static exchange evaluation: both sides take on one square, each with its least valuable man.
#include <algorithm>
#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"

namespace {

constexpr int KING_TAKEN = 9999;   // capturing a king wins everything
constexpr int MOST_CAPTURES = 64;  // on one square: every man once

// The men around one square that have not taken on it yet.
class Attackers {
public:
    Attackers(const Position* pos, int to, Bitboard occupied)
        : pos_(pos), to_(to), occupied_(occupied) {
        const Bitboard* white = pos->bb[WHITE];
        const Bitboard* black = pos->bb[BLACK];
        const Bitboard queens = white[QUEEN] | black[QUEEN];
        diagonal_ = BB_BishopRays[to] & (white[BISHOP] | black[BISHOP] | queens);
        straight_ = BB_RookRays[to] & (white[ROOK] | black[ROOK] | queens);
        ready_ = (BB_PawnRays[BLACK][to] & white[PAWN]) | (BB_PawnRays[WHITE][to] & black[PAWN]) |
                 (BB_KnightRays[to] & (white[KNIGHT] | black[KNIGHT])) |
                 (BB_KingRays[to] & (white[KING] | black[KING]));
        AddLinePieces();
    }

    // Takes the least valuable attacker of `side` off, the one on the lowest square of several, and
    // returns its type; NO_PIECE when there is none.
    int TakeLeast(int side) {
        const Bitboard* men = pos_->bb[side];
        const Bitboard own = ready_ & men[0];
        if (own == 0) { return NO_PIECE; }
        int type = PAWN;
        while ((own & men[type]) == 0) { ++type; }
        const Bitboard candidates = own & men[type];
        occupied_ ^= candidates & (~candidates + 1);
        AddLinePieces();
        return type;
    }

private:
    // Line pieces come into play when what stood before them is gone; what is gone drops out.
    void AddLinePieces() {
        if (diagonal_) { ready_ |= GenAttacksB(to_, occupied_) & diagonal_; }
        if (straight_) { ready_ |= GenAttacksR(to_, occupied_) & straight_; }
        ready_ &= occupied_;
    }

    const Position* pos_;
    int to_;
    Bitboard occupied_;
    Bitboard diagonal_, straight_;  // line pieces of both colours that may come into play
    Bitboard ready_;                // attackers of both colours, over what is still occupied
};

}  // namespace

int swapoff1(const Position* pos, int side, int from, int to, Bitboard occupied) {
    const bool may_decline = from == NO_SQUARE;
    assert(may_decline || OwnPieceOn(pos, side, from));
    int standing = PieceType(pos->board[to]);
    int taken[MOST_CAPTURES];
    int captures = 0;
    int result = 0;  // of the captures that are left, for the side that comes next
    if (!may_decline) {
        if (standing == KING) { return KING_TAKEN; }
        taken[captures++] = piece_value[standing];
        standing = PieceType(pos->board[from]);
        occupied &= ~Bit(from);
        side ^= 1;
    }
    Attackers attackers(pos, to, occupied);
    while (const int type = attackers.TakeLeast(side)) {
        if (standing == KING) {
            result = KING_TAKEN;
            break;
        }
        taken[captures++] = piece_value[standing];
        standing = type;
        side ^= 1;
    }
    while (captures > 0) {
        result = taken[--captures] - result;
        if (captures > 0 || may_decline) { result = std::max(result, 0); }
    }
    return result;
}

bool ExchangeLoses(const Position* pos, int from, int to) {
    const int us = PieceColour(pos->board[from]);
    const int victim = PieceType(pos->board[to]);
    assert(pos->board[from] != NO_PIECE && !OwnPieceOn(pos, us, to));
    if (victim == KING) { return false; }
    int standing = PieceType(pos->board[from]);
    // What the side that took last keeps above the limit even if its man is lost for nothing.
    int balance = piece_value[victim] - LOSING_EXCHANGE - piece_value[standing];
    if (balance >= 0) { return false; }
    int side = us ^ 1;
    // Most often a pawn or a knight that takes back decides: with it in exchange it is not enough.
    const Bitboard* enemy = pos->bb[side];
    if ((-balance > piece_value[PAWN] && (BB_PawnRays[us][to] & enemy[PAWN]) != 0) ||
        (-balance > piece_value[KNIGHT] && (BB_KnightRays[to] & enemy[KNIGHT]) != 0)) {
        assert(swapoff1(pos, us, from, to, Occupied(pos)) < LOSING_EXCHANGE);
        return true;
    }
    Attackers attackers(pos, to, Occupied(pos) & ~Bit(from));
    // Whoever has to take and cannot loses, and whoever faces a side that stays ahead anyway. The
    // one more: the mover may end at the limit, the enemy must push it below.
    while (const int type = attackers.TakeLeast(side)) {
        side ^= 1;
        balance = -balance - 1 - piece_value[type];
        if (balance >= 0 || standing == KING) { break; }
        standing = type;
    }
    assert((side == us) == (swapoff1(pos, us, from, to, Occupied(pos)) < LOSING_EXCHANGE));
    return side == us;
}

int MoveIsSafe(const Position* pos, Move m) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    assert(OwnPieceOn(pos, pos->side, from));
    if (exchange_scale[PieceType(pos->board[from])] <= exchange_scale[PieceType(pos->board[to])]) {
        return 1;
    }
    return ExchangeLoses(pos, from, to) ? 0 : 1;
}

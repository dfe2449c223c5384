// Static exchange evaluation. The position is changed on the board and in single bitboards and
// restored before return.
#include <algorithm>
#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"

namespace {

constexpr int KING_TAKEN = 9999;  // capturing a king wins everything

int LowestSlider(Bitboard candidates, int to, Bitboard occupied) {
    while (candidates) {
        const int square = PopLSB(&candidates);
        if ((BB_Between[square][to] & occupied) == 0) { return square; }
    }
    return NO_SQUARE;
}

// Least valuable man of `side` that attacks `to`, lowest square first within a kind; NO_SQUARE if
// none.
int LeastAttacker(const Position* pos, int side, int to, Bitboard occupied) {
    const Bitboard* men = pos->bb[side];
    if (const Bitboard b = BB_PawnRays[side ^ 1][to] & men[PAWN]) { return GetLSB(b); }
    if (const Bitboard b = BB_KnightRays[to] & men[KNIGHT]) { return GetLSB(b); }
    int from = LowestSlider(BB_BishopRays[to] & men[BISHOP], to, occupied);
    if (from == NO_SQUARE) { from = LowestSlider(BB_RookRays[to] & men[ROOK], to, occupied); }
    if (from == NO_SQUARE) {
        from = LowestSlider((BB_BishopRays[to] | BB_RookRays[to]) & men[QUEEN], to, occupied);
    }
    if (from != NO_SQUARE) { return from; }
    if (const Bitboard b = BB_KingRays[to] & men[KING]) { return GetLSB(b); }
    return NO_SQUARE;
}

}  // namespace

int swapoff1(Position* pos, int side, int from, int to, Bitboard occupied) {
    const bool may_decline = from == NO_SQUARE;
    if (may_decline) {
        from = LeastAttacker(pos, side, to, occupied);
        if (from == NO_SQUARE) { return 0; }
    }
    assert(OwnPieceOn(pos, side, from));
    const u8 victim = pos->board[to];
    if (PieceType(victim) == KING) { return KING_TAKEN; }
    const u8 attacker = pos->board[from];
    Bitboard* attackers = &pos->bb[side][PieceType(attacker)];
    pos->board[to] = attacker;
    pos->board[from] = 0;
    *attackers ^= Bit(from);
    const int reply = swapoff1(pos, side ^ 1, NO_SQUARE, to, occupied & ~Bit(from));
    *attackers ^= Bit(from);
    pos->board[from] = attacker;
    pos->board[to] = victim;
    const int gain = piece_value[PieceType(victim)] - reply;
    return may_decline ? std::max(gain, 0) : gain;
}

int MoveIsSafe(Position* pos, Move m) {
    const int side = pos->side;
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    assert(OwnPieceOn(pos, side, from));
    const u8 mover = pos->board[from];
    const u8 victim = pos->board[to];
    if (exchange_scale[PieceType(mover)] <= exchange_scale[PieceType(victim)]) { return 1; }
    Bitboard* movers = &pos->bb[side][PieceType(mover)];
    pos->board[to] = mover;
    pos->board[from] = 0;
    *movers ^= Bit(from);
    const int loss = swapoff1(pos, side ^ 1, NO_SQUARE, to, Occupied(pos) & ~Bit(from));
    *movers ^= Bit(from);
    pos->board[from] = mover;
    pos->board[to] = victim;
    return piece_value[PieceType(victim)] - loss >= LOSING_EXCHANGE;
}

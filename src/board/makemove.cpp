// Playing moves and taking them back with incremental keys and material.
#include <cassert>
#include <cstring>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/trace.h"
#include "board/zobrist.h"
#include "frontend/pblock.h"

namespace {

// Castling rights lost when a move starts or ends on a square.
constexpr LookupTable<u8, SQUARE_COUNT> MakeCastlingBits() {
    LookupTable<u8, SQUARE_COUNT> bits{};
    bits[SquareOfText("a1")] = WHITE_QUEEN_SIDE;
    bits[SquareOfText("e1")] = WHITE_KING_SIDE | WHITE_QUEEN_SIDE;
    bits[SquareOfText("h1")] = WHITE_KING_SIDE;
    bits[SquareOfText("a8")] = BLACK_QUEEN_SIDE;
    bits[SquareOfText("e8")] = BLACK_KING_SIDE | BLACK_QUEEN_SIDE;
    bits[SquareOfText("h8")] = BLACK_KING_SIDE;
    return bits;
}
constexpr LookupTable<u8, SQUARE_COUNT> csbits = MakeCastlingBits();

// Moves a piece on the board, in its list and in the bitboards; the keys are the caller's business.
void ShiftPiece(Position* pos, int side, int code, int from, int to) {
    const int type = PieceType(code);
    pos->board[to] = static_cast<u8>(code);
    pos->board[from] = 0;
    const int place = pos->place[from];
    assert(pos->plist[side][type][place] == from);
    pos->plist[side][type][place] = static_cast<u8>(to);
    pos->place[to] = static_cast<u8>(place);
    const Bitboard both = Bit(from) | Bit(to);
    pos->bb[side][0] ^= both;
    pos->bb[side][type] ^= both;
}

// What is left of a pawn's move, whose record is `r`, once the pawn stands on its new square.
void FinishPawnMove(Position* pos, int side, const UndoRecord* r) {
    const int from = MoveFrom(r->move);
    const int to = MoveTo(r->move);
    const int code = PieceCode(side, PAWN);
    pos->pawn_hash ^= rtable[code][from] ^ rtable[code][to];
    pos->hash ^= rtable[code][to];
    pos->fifty = 0;
    const int behind = to - pawn_dir[side];
    if (to == from + 2 * pawn_dir[side]) {
        pos->ep_square = static_cast<u8>(behind);
    } else if (to == r->ep && FileOf(from) != FileOf(to) && r->captured == NO_PIECE) {
        const int enemy_pawn = PieceCode(side ^ 1, PAWN);
        assert(pos->board[behind] == enemy_pawn);
        RemovePiece(pos, behind);
        pos->hash ^= rtable[enemy_pawn][behind];
        pos->pawn_hash ^= rtable[enemy_pawn][behind];
    } else if (IsPromotion(r->move)) {
        const int type = PromotedType(r->move);
        RemovePiece(pos, to);
        AddPiece(pos, side, type, to);
        pos->hash ^= rtable[code][to] ^ rtable[PieceCode(side, type)][to];
        pos->pawn_hash ^= rtable[code][to];
    }
}

// A castling rook's squares by the king's move.
struct RookMove {
    int from;
    int to;
};
RookMove CastlingRook(int king_from, int king_to) {
    return king_to > king_from ? RookMove{king_from + KING_SIDE_ROOK, king_from + EAST}
                               : RookMove{king_from + QUEEN_SIDE_ROOK, king_from - EAST};
}

void MoveCastlingRook(Position* pos, int side, int from, int to) {
    const int rook = PieceCode(side, ROOK);
    const RookMove r = CastlingRook(from, to);
    if (pos->board[r.from] != rook) { return; }
    ShiftPiece(pos, side, rook, r.from, r.to);
    pos->hash ^= rtable[rook][r.from] ^ rtable[rook][r.to];
}

UndoRecord* PushRecord(Position* pos) {
    assert(pos->hist_count < MAX_UNDO_RECORDS - 1);
    UndoRecord* r = &pos->undo[pos->hist_count];
    ++pos->hist_count;
    ++pos->ply;
    r->ep = pos->ep_square;
    r->fifty = pos->fifty;
    r->castle = pos->castle;
    r->hash = pos->hash;
    return r;
}

const UndoRecord* PopRecord(Position* pos) {
    assert(pos->hist_count > 0);
    --pos->hist_count;
    --pos->ply;
    const UndoRecord* r = &pos->undo[pos->hist_count];
    pos->last_move = pos->hist_count > 0 ? r[-1].move : NO_MOVE;
    pos->ep_square = r->ep;
    pos->castle = r->castle;
    pos->fifty = r->fifty;
    pos->hash = r->hash;
    pos->side ^= 1;
    return r;
}

}  // namespace

void MakeMove(Position* pos, Move m) {
    const int side = pos->side;
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    assert(OwnPieceOn(pos, side, from) && !OwnPieceOn(pos, side, to));
    if (PBlock.options.trace != 0) { TraceMove(pos, m); }
    UndoRecord* r = PushRecord(pos);
    const int captured = PieceType(pos->board[to]);
    r->move = m;
    r->captured = static_cast<u8>(captured);
    r->pawn_hash = pos->pawn_hash;

    pos->ep_square = NO_SQUARE;
    pos->last_move = m;
    if (pos->fifty < FIFTY_COUNTER_MAX) { ++pos->fifty; }
    pos->castle = static_cast<u8>(pos->castle & ~(csbits[from] | csbits[to]));
    pos->side ^= 1;

    if (captured) {
        const int code = pos->board[to];
        RemovePiece(pos, to);
        pos->hash ^= rtable[code][to];
        if (captured == PAWN) { pos->pawn_hash ^= rtable[code][to]; }
        pos->fifty = 0;
    }
    const int code = pos->board[from];
    ShiftPiece(pos, side, code, from, to);
    pos->hash ^= rtable[code][from];
    if (PieceType(code) == PAWN) {
        FinishPawnMove(pos, side, r);
    } else {
        pos->hash ^= rtable[code][to];
    }
    if (PieceType(code) == KING && IsTwoFileStep(from, to)) {
        MoveCastlingRook(pos, side, from, to);
        // Classic counting begins anew; by the rules of the game castling is a quiet move.
        if (!PBlock.options.conventions.fen_counters) { pos->fifty = 0; }
    }
    assert(PositionIsSound(pos));
}

void UnmakeMove(Position* pos) {
    const UndoRecord* r = PopRecord(pos);
    assert(r->move != NO_MOVE);
    pos->pawn_hash = r->pawn_hash;
    const int side = pos->side;
    const int from = MoveFrom(r->move);
    const int to = MoveTo(r->move);
    const int code = pos->board[to];
    ShiftPiece(pos, side, code, to, from);
    if (r->captured) {
        AddPiece(pos, side ^ 1, r->captured, to);
    } else if (PieceType(code) == PAWN && to == r->ep && FileOf(from) != FileOf(to)) {
        AddPiece(pos, side ^ 1, PAWN, to - pawn_dir[side]);
    }
    if (PieceType(code) == KING && IsTwoFileStep(from, to)) {
        const RookMove rook = CastlingRook(from, to);
        if (pos->board[rook.to] == PieceCode(side, ROOK)) {
            ShiftPiece(pos, side, PieceCode(side, ROOK), rook.to, rook.from);
        }
    }
    if (IsPromotion(r->move)) {
        RemovePiece(pos, from);
        AddPiece(pos, side, PAWN, from);
    }
    assert(PositionIsSound(pos));
}

void MakeNullMove(Position* pos) {
    if (PBlock.options.trace != 0) { TraceMove(pos, NO_MOVE); }
    UndoRecord* r = PushRecord(pos);
    r->move = NO_MOVE;
    r->captured = 0;
    pos->fifty = 0;
    pos->ep_square = NO_SQUARE;
    pos->side ^= 1;
    pos->last_move = NO_MOVE;
    assert(PositionIsSound(pos));
}

void UnmakeNullMove(Position* pos) {
    [[maybe_unused]] const UndoRecord* r = PopRecord(pos);
    assert(r->move == NO_MOVE);
    assert(PositionIsSound(pos));
}

void PlayGameMove(Position* pos, Move m) {
    if (pos->hist_count >= GAME_HISTORY_LIMIT) {
        std::memmove(pos->undo, pos->undo + pos->hist_count - GAME_HISTORY_KEPT,
                     GAME_HISTORY_KEPT * sizeof pos->undo[0]);
        pos->hist_count = GAME_HISTORY_KEPT;
    }
    MakeMove(pos, m);
    pos->ply = 1;
}

void TakeBackGameMove(Position* pos) {
    UnmakeMove(pos);
    pos->ply = 1;
}

// The move generators. The order in which they write is part of their contract: the search's move
// ordering, and with it every node count, starts from it.
#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"

namespace {

MoveEntry* Add(MoveEntry* list, int from, int to, int piece, int captured, Move flag = 0) {
    list->move = MakeMoveWord(from, to, flag);
    list->piece = static_cast<u8>(piece);
    list->captured = static_cast<u8>(captured);
    list->score = 0;
    return list + 1;
}

// The en passant square if an enemy pawn stands behind it: only then is there anything to take.
Bitboard EnPassantTarget(const Position* pos, int side) {
    const int target = pos->ep_square;
    if (target == NO_SQUARE || pos->board[target] != 0) { return 0; }
    const int victim = target - pawn_dir[side];
    if (victim < 0 || victim > 63) { return 0; }
    return pos->board[victim] == PieceCode(side ^ 1, PAWN) ? Bit(target) : 0;
}

// One sweep of pawn captures: `targets` are the squares reached, each from target - step.
MoveEntry* AddPawnSweep(const Position* pos, int side, Bitboard targets, int step,
                        MoveEntry* list) {
    while (targets) {
        const int to = PopLSB(&targets);
        list = Add(list, to - step, to, PieceCode(side, PAWN), pos->board[to]);
    }
    return list;
}

template <int TYPE>
Bitboard AttacksFrom(int square, Bitboard occupied) {
    if constexpr (TYPE == KNIGHT) { return BB_KnightRays[square]; }
    if constexpr (TYPE == BISHOP) { return GenAttacksB(square, occupied); }
    if constexpr (TYPE == ROOK) { return GenAttacksR(square, occupied); }
    if constexpr (TYPE == QUEEN) {
        return GenAttacksB(square, occupied) | GenAttacksR(square, occupied);
    }
    return BB_KingRays[square];
}

// All moves of the pieces of one type to squares of `targets`, in piece-list order, lowest target
// first.
template <int TYPE>
MoveEntry* AddPieceMoves(const Position* pos, int side, Bitboard targets, MoveEntry* list) {
    const Bitboard occupied = Occupied(pos);
    for (const u8* piece = pos->plist[side][TYPE]; *piece != NO_SQUARE; ++piece) {
        const int from = *piece;
        Bitboard reached = AttacksFrom<TYPE>(from, occupied) & targets;
        while (reached) {
            const int to = PopLSB(&reached);
            list = Add(list, from, to, PieceCode(side, TYPE), pos->board[to]);
        }
    }
    return list;
}

MoveEntry* AddAllPieceMoves(const Position* pos, int side, Bitboard targets, MoveEntry* list) {
    list = AddPieceMoves<KNIGHT>(pos, side, targets, list);
    list = AddPieceMoves<BISHOP>(pos, side, targets, list);
    list = AddPieceMoves<ROOK>(pos, side, targets, list);
    list = AddPieceMoves<QUEEN>(pos, side, targets, list);
    return AddPieceMoves<KING>(pos, side, targets, list);
}

struct PromotionKind {
    Move flag;
    int type;
};
// In the order in which they are generated.
constexpr PromotionKind promotion_kinds[] = {{PROMOTE_QUEEN, QUEEN},
                                             {PROMOTE_KNIGHT, KNIGHT},
                                             {PROMOTE_BISHOP, BISHOP},
                                             {PROMOTE_ROOK, ROOK}};

// A piece list holds nine of a kind: in a set-up position with so many, promotions to it are left
// out.
bool HasRoomFor(const Position* pos, int side, int type) {
    return CountBits(pos->bb[side][type]) < MAX_PIECES_OF_A_KIND;
}

MoveEntry* AddPromotion(const Position* pos, int side, int from, int to, int underpromote,
                        MoveEntry* list) {
    for (const PromotionKind& kind : promotion_kinds) {
        if (HasRoomFor(pos, side, kind.type)) {
            list = Add(list, from, to, PieceCode(side, PAWN), pos->board[to], kind.flag);
        }
        if (!underpromote) { break; }
    }
    return list;
}

MoveEntry* AddPawnPushes(const Position* pos, int side, MoveEntry* list) {
    const int step = pawn_dir[side];
    for (const u8* pawn = pos->plist[side][PAWN]; *pawn != NO_SQUARE; ++pawn) {
        const int from = *pawn;
        const int rank = RelativeRank(from, side);
        // A pawn on the last rank can only be set up; it has no square ahead.
        if (rank >= 6 || pos->board[from + step] != 0) { continue; }
        list = Add(list, from, from + step, PieceCode(side, PAWN), 0);
        if (rank == 1 && pos->board[from + 2 * step] == 0) {
            list = Add(list, from, from + 2 * step, PieceCode(side, PAWN), 0);
        }
    }
    return list;
}

MoveEntry* AddCastling(const Position* pos, int side, MoveEntry* list) {
    const int king = KingSquare(pos, side);
    if (king != init_king_sq[side]) { return list; }
    const int rook = PieceCode(side, ROOK);
    const u8* board = pos->board;
    if ((pos->castle & (WHITE_KING_SIDE << 2 * side)) && !board[king + 1] && !board[king + 2] &&
        board[king + 3] == rook) {
        list = Add(list, king, king + 2, PieceCode(side, KING), 0);
    }
    if ((pos->castle & (WHITE_QUEEN_SIDE << 2 * side)) && !board[king - 1] && !board[king - 2] &&
        !board[king - 3] && board[king - 4] == rook) {
        list = Add(list, king, king - 2, PieceCode(side, KING), 0);
    }
    return list;
}

}  // namespace

MoveEntry* GeneratePawnCaptures(const Position* pos, int side, MoveEntry* list) {
    const Bitboard targets = pos->bb[side ^ 1][0] | EnPassantTarget(pos, side);
    if (side == WHITE) {
        const Bitboard pawns = pos->bb[WHITE][PAWN] & BB_South[6] & BB_North[0];
        list = AddPawnSweep(pos, side, ((pawns & ~FILE_A) << 7) & targets, 7, list);
        return AddPawnSweep(pos, side, ((pawns & ~FILE_H) << 9) & targets, 9, list);
    }
    const Bitboard pawns = pos->bb[BLACK][PAWN] & BB_North[1] & BB_South[7];
    list = AddPawnSweep(pos, side, ((pawns & ~FILE_H) >> 7) & targets, -7, list);
    return AddPawnSweep(pos, side, ((pawns & ~FILE_A) >> 9) & targets, -9, list);
}

MoveEntry* GeneratePieceCaptures(const Position* pos, int side, MoveEntry* list) {
    return AddAllPieceMoves(pos, side, pos->bb[side ^ 1][0], list);
}

MoveEntry* GeneratePromotions(const Position* pos, int side, int underpromote, MoveEntry* list) {
    const Bitboard seventh = RankMask(side == WHITE ? 6 : 1);
    const Bitboard enemy = pos->bb[side ^ 1][0];
    Bitboard pawns = pos->bb[side][PAWN] & seventh;
    while (pawns) {
        const int from = PopLSB(&pawns);
        const int ahead = from + pawn_dir[side];
        if (pos->board[ahead] == 0) {
            list = AddPromotion(pos, side, from, ahead, underpromote, list);
        }
        if (FileOf(from) > 0 && (enemy & Bit(ahead - 1))) {
            list = AddPromotion(pos, side, from, ahead - 1, underpromote, list);
        }
        if (FileOf(from) < 7 && (enemy & Bit(ahead + 1))) {
            list = AddPromotion(pos, side, from, ahead + 1, underpromote, list);
        }
    }
    return list;
}

MoveEntry* GenerateNonCaptures(const Position* pos, int side, MoveEntry* list) {
    list = AddPawnPushes(pos, side, list);
    list = AddAllPieceMoves(pos, side, ~Occupied(pos), list);
    return AddCastling(pos, side, list);
}

MoveEntry* GeneratePseudoLegal(const Position* pos, int side, MoveEntry* list) {
    list = GeneratePawnCaptures(pos, side, list);
    list = GeneratePieceCaptures(pos, side, list);
    list = GeneratePromotions(pos, side, 1, list);
    return GenerateNonCaptures(pos, side, list);
}

void GenerateAll(Position* pos) {
    const int side = pos->side;
    PlyData* pd = &pos->sstack[pos->ply];
    MoveEntry* list = pd->list_start;
    MoveEntry* end = GeneratePseudoLegal(pos, side, list);
    end->move = END_OF_LIST;
    assert(end - list < MAX_LIST_SIZE);
    pd[1].list_start = end + 1;
    pd[2].list_start = end + 2;
    for (MoveEntry* e = list; e != end; ++e) {
        e->score = e->captured != NO_PIECE ? CaptureOrder(e) : i16{0};
    }
}

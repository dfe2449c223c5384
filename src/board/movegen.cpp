// The move generators. The order in which they write is part of their contract: the search's move
// ordering, and with it every node count, starts from it.
#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"

namespace {

MoveEntry* Add(MoveEntry* list, Move m, int piece, int captured) {
    *list = {m, static_cast<u8>(piece), static_cast<u8>(captured), 0};
    return list + 1;
}

// The en passant square if an enemy pawn stands behind it: only then is there anything to take.
Bitboard EnPassantTarget(const Position* pos, int side) {
    const int target = pos->ep_square;
    if (target == NO_SQUARE || pos->board[target] != 0) { return 0; }
    const int victim = target - pawn_dir[side];
    if (victim < 0 || victim > LAST_SQUARE) { return 0; }
    return pos->board[victim] == PieceCode(side ^ 1, PAWN) ? Bit(target) : 0;
}

// One sweep of pawn captures: `targets` are the squares reached, each from target - step.
template <int US>
MoveEntry* AddPawnSweep(const Position* pos, Bitboard targets, int step, MoveEntry* list) {
    while (targets) {
        const int to = PopLSB(&targets);
        list = Add(list, MakeMoveWord(to - step, to), PieceCode(US, PAWN), pos->board[to]);
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

// All moves of the pieces of one type to squares of `targets`, which are all occupied or all empty,
// in piece-list order, lowest target first.
template <int US, int TYPE, bool OCCUPIED>
MoveEntry* AddPieceMoves(const Position* pos, Bitboard targets, MoveEntry* list) {
    const Bitboard occupied = Occupied(pos);
    for (const u8* piece = pos->plist[US][TYPE]; *piece != NO_SQUARE; ++piece) {
        const int from = *piece;
        Bitboard reached = AttacksFrom<TYPE>(from, occupied) & targets;
        while (reached) {
            const int to = PopLSB(&reached);
            const int captured = OCCUPIED ? pos->board[to] : NO_PIECE;
            list = Add(list, MakeMoveWord(from, to), PieceCode(US, TYPE), captured);
        }
    }
    return list;
}

template <int US, bool OCCUPIED>
MoveEntry* AddAllPieceMoves(const Position* pos, Bitboard targets, MoveEntry* list) {
    list = AddPieceMoves<US, KNIGHT, OCCUPIED>(pos, targets, list);
    list = AddPieceMoves<US, BISHOP, OCCUPIED>(pos, targets, list);
    list = AddPieceMoves<US, ROOK, OCCUPIED>(pos, targets, list);
    list = AddPieceMoves<US, QUEEN, OCCUPIED>(pos, targets, list);
    return AddPieceMoves<US, KING, OCCUPIED>(pos, targets, list);
}

Bitboard SeventhRank(int side) {
    return side == WHITE ? RankMask(SEVENTH_RANK) : RankMask(LAST_RANK - SEVENTH_RANK);
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

// The promotions of a pawn by one of its steps.
MoveEntry* AddPromotion(const Position* pos, Move step, int underpromote, MoveEntry* list) {
    const int pawn = pos->board[MoveFrom(step)];
    for (const PromotionKind& kind : promotion_kinds) {
        if (HasRoomFor(pos, PieceColour(pawn), kind.type)) {
            list = Add(list, step | kind.flag, pawn, pos->board[MoveTo(step)]);
        }
        if (!underpromote) { break; }
    }
    return list;
}

template <int US>
MoveEntry* AddPawnPushes(const Position* pos, MoveEntry* list) {
    constexpr int step = pawn_dir[US];
    constexpr int pawn = PieceCode(US, PAWN);
    for (const u8* square = pos->plist[US][PAWN]; *square != NO_SQUARE; ++square) {
        const int from = *square;
        const int rank = RelativeRank(from, US);
        // A pawn on the last rank can only be set up; it has no square ahead.
        if (rank >= SEVENTH_RANK || pos->board[from + step] != 0) { continue; }
        list = Add(list, MakeMoveWord(from, from + step), pawn, 0);
        if (rank == SECOND_RANK && pos->board[from + 2 * step] == 0) {
            list = Add(list, MakeMoveWord(from, from + 2 * step), pawn, 0);
        }
    }
    return list;
}

bool CanCastle(const Position* pos, int side, int right, int rook_square) {
    return (pos->castle & (right << 2 * side)) != 0 &&
           pos->board[rook_square] == PieceCode(side, ROOK) &&
           (BB_Between[init_king_sq[side]][rook_square] & Occupied(pos)) == 0;
}

}  // namespace

MoveEntry* GeneratePawnCaptures(const Position* pos, int side, MoveEntry* list) {
    // Pawns on their seventh rank promote; those on the outer ranks can only be set up.
    constexpr Bitboard inner = ~(RankMask(FIRST_RANK) | RankMask(LAST_RANK));
    constexpr int left = NORTH - EAST, right = NORTH + EAST;
    const Bitboard targets = pos->bb[side ^ 1][0] | EnPassantTarget(pos, side);
    const Bitboard pawns = pos->bb[side][PAWN] & inner & ~SeventhRank(side);
    if (side == WHITE) {
        list = AddPawnSweep<WHITE>(pos, ((pawns & ~FILE_A) << left) & targets, left, list);
        return AddPawnSweep<WHITE>(pos, ((pawns & ~FILE_H) << right) & targets, right, list);
    }
    list = AddPawnSweep<BLACK>(pos, ((pawns & ~FILE_H) >> left) & targets, -left, list);
    return AddPawnSweep<BLACK>(pos, ((pawns & ~FILE_A) >> right) & targets, -right, list);
}

MoveEntry* GeneratePieceCaptures(const Position* pos, int side, MoveEntry* list) {
    const Bitboard enemy = pos->bb[side ^ 1][0];
    return side == WHITE ? AddAllPieceMoves<WHITE, true>(pos, enemy, list)
                         : AddAllPieceMoves<BLACK, true>(pos, enemy, list);
}

MoveEntry* GeneratePromotions(const Position* pos, int side, int underpromote, MoveEntry* list) {
    const Bitboard enemy = pos->bb[side ^ 1][0];
    Bitboard pawns = pos->bb[side][PAWN] & SeventhRank(side);
    while (pawns) {
        const int from = PopLSB(&pawns);
        const int ahead = from + pawn_dir[side];
        if (pos->board[ahead] == 0) {
            list = AddPromotion(pos, MakeMoveWord(from, ahead), underpromote, list);
        }
        Bitboard victims = BB_PawnRays[side][from] & enemy;
        while (victims) {
            list = AddPromotion(pos, MakeMoveWord(from, PopLSB(&victims)), underpromote, list);
        }
    }
    return list;
}

MoveEntry* GenerateCastling(const Position* pos, int side, MoveEntry* list) {
    const int king = init_king_sq[side];
    if (KingSquare(pos, side) != king) { return list; }
    const int code = PieceCode(side, KING);
    if (CanCastle(pos, side, WHITE_KING_SIDE, king + KING_SIDE_ROOK)) {
        list = Add(list, MakeMoveWord(king, king + CASTLING_STEP), code, 0);
    }
    if (CanCastle(pos, side, WHITE_QUEEN_SIDE, king + QUEEN_SIDE_ROOK)) {
        list = Add(list, MakeMoveWord(king, king - CASTLING_STEP), code, 0);
    }
    return list;
}

MoveEntry* GenerateNonCaptures(const Position* pos, int side, MoveEntry* list) {
    const Bitboard empty = ~Occupied(pos);
    if (side == WHITE) {
        list = AddPawnPushes<WHITE>(pos, list);
        list = AddAllPieceMoves<WHITE, false>(pos, empty, list);
    } else {
        list = AddPawnPushes<BLACK>(pos, list);
        list = AddAllPieceMoves<BLACK, false>(pos, empty, list);
    }
    return GenerateCastling(pos, side, list);
}

MoveEntry* GeneratePseudoLegal(const Position* pos, int side, MoveEntry* list) {
    MoveEntry* end = GeneratePawnCaptures(pos, side, list);
    end = GeneratePieceCaptures(pos, side, end);
    end = GeneratePromotions(pos, side, 1, end);
    end = GenerateNonCaptures(pos, side, end);
    assert(end - list < MAX_LIST_SIZE);
    return end;
}

void GenerateAll(Position* pos) {
    assert(pos->ply >= 0 && pos->ply + 2 < SEARCH_STACK_SIZE);
    PlyData* pd = &pos->sstack[pos->ply];
    MoveEntry* list = pd->list_start;
    assert(list != nullptr);
    MoveEntry* end = GeneratePseudoLegal(pos, pos->side, list);
    end->move = END_OF_LIST;
    pd[1].list_start = end + 1;
    pd[2].list_start = end + 2;
    for (MoveEntry* e = list; e != end; ++e) {
        e->score = e->captured != NO_PIECE ? CaptureOrder(e) : i16{0};
    }
}

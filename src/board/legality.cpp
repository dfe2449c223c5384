// Legality and check tests on the unchanged position: bits are flipped where the position after the
// move is needed and restored before return.
#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "board/zobrist.h"

namespace {

constexpr u32 SLIDER_SIGNATURE = 0xFFF00;  // bishops, rooks and queens of a signature

bool CastlingPathIsSafe(const Position* pos, int side, int from, int to) {
    const int enemy = side ^ 1;
    return !SqAtakd(pos, from, enemy) && !SqAtakd(pos, to, enemy) &&
           !SqAtakd(pos, (from + to) / 2, enemy);
}

// 1 when no enemy attacks `square` after the move: its man stands on `to`, the victim is off the
// board. Works on the few words that the attack test reads.
int SafeAfterMove(const Position* pos, int side, int from, int to, int square) {
    const int enemy = side ^ 1;
    Bitboard victim = 0;
    if (pos->board[to]) {
        victim = Bit(to);
    } else if (to == pos->ep_square && PieceType(pos->board[from]) == PAWN) {
        victim = Bit(to - pawn_dir[side]);
    }
    const Bitboard* men = pos->bb[enemy];
    const Bitboard still_there = ~victim;
    if (BB_PawnRays[side][square] & men[PAWN] & still_there) { return 0; }
    if (BB_KnightRays[square] & men[KNIGHT] & still_there) { return 0; }
    if (BB_KingRays[square] & men[KING] & still_there) { return 0; }
    const Bitboard own = pos->bb[side][0] ^ (Bit(from) | Bit(to));
    const Bitboard occupied = own | (men[0] & still_there);
    Bitboard diagonal = BB_BishopRays[square] & (men[BISHOP] | men[QUEEN]) & still_there;
    while (diagonal) {
        if ((BB_Between[PopLSB(&diagonal)][square] & occupied) == 0) { return 0; }
    }
    Bitboard straight = BB_RookRays[square] & (men[ROOK] | men[QUEEN]) & still_there;
    while (straight) {
        if ((BB_Between[PopLSB(&straight)][square] & occupied) == 0) { return 0; }
    }
    return 1;
}

bool IsSingle(Bitboard b) { return b != 0 && (b & (b - 1)) == 0; }

// Line pieces among `men` that attack `square` on an empty board.
Bitboard SlidersOnLines(const Bitboard* men, int square) {
    return (BB_BishopRays[square] & (men[BISHOP] | men[QUEEN])) |
           (BB_RookRays[square] & (men[ROOK] | men[QUEEN]));
}

// Does a line piece of `candidates`, all on lines through `king`, see the king over `occupied`?
bool LineIsOpen(Bitboard candidates, int king, Bitboard occupied) {
    while (candidates) {
        if ((BB_Between[king][PopLSB(&candidates)] & occupied) == 0) { return true; }
    }
    return false;
}

bool AttacksFromSquare(int type, int side, int to, int king, Bitboard occupied) {
    const Bitboard target = Bit(king);
    switch (type) {
        case PAWN:
            return BB_PawnRays[side][to] & target;
        case KNIGHT:
            return BB_KnightRays[to] & target;
        case KING:
            return false;
        default:
            break;
    }
    Bitboard lines = 0;
    if (type != ROOK) { lines |= BB_BishopRays[to]; }
    if (type != BISHOP) { lines |= BB_RookRays[to]; }
    return (lines & target) && (BB_Between[to][king] & occupied) == 0;
}

// A line piece of the side to move on its way.
struct SlidingMove {
    int type;
    int from;
    int to;
};

// Would another man of the side attack `square` with the mover lifted off its square?
bool AttackedWithout(const Position* pos, const SlidingMove& mover, int square) {
    // Restored below; the record itself is the thread's own.
    auto* p = const_cast<Position*>(pos);
    Bitboard* men = p->bb[p->side];
    men[mover.type] ^= Bit(mover.from);
    men[0] ^= Bit(mover.from);
    const int attacked = SqAtakd(p, square, p->side);
    men[mover.type] ^= Bit(mover.from);
    men[0] ^= Bit(mover.from);
    return attacked != 0;
}

// The test along one kind of line. Own men of the type `partner`, which move on the same lines, and
// queens let the attack through.
bool NewlyAttacks(const Position* pos, const SlidingMove& mover, Bitboard area,
                  const SquareSets& rays, int partner) {
    const Bitboard* men = pos->bb[pos->side];
    const Bitboard blockers = Occupied(pos) & ~(men[partner] | men[QUEEN]);
    Bitboard targets = rays[mover.to] & area & ~(rays[mover.from] | Bit(mover.from));
    while (targets) {
        const int target = PopLSB(&targets);
        if ((BB_Between[mover.to][target] & blockers) == 0 && AttackedWithout(pos, mover, target)) {
            return true;
        }
    }
    return false;
}

}  // namespace

int MoveIsLegalNonZero(const Position* pos, int side, Move m) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    assert(m != NO_MOVE && OwnPieceOn(pos, side, from));
    int king = KingSquare(pos, side);
    if (PieceType(pos->board[from]) == KING) {
        if (IsTwoFileStep(from, to)) { return CastlingPathIsSafe(pos, side, from, to); }
        king = to;
    }
    return SafeAfterMove(pos, side, from, to, king);
}

int MoveIsLegal(const Position* pos, int side, Move m) {
    return m == NO_MOVE ? 0 : MoveIsLegalNonZero(pos, side, m);
}

LegalityMasks FindLegality(const Position* pos) {
    const int side = pos->side;
    const int king = KingSquare(pos, side);
    assert(king != NO_SQUARE);
    const Bitboard* enemy = pos->bb[side ^ 1];
    const Bitboard occupied = Occupied(pos);
    Bitboard shields = 0;
    Bitboard checkers = (BB_PawnRays[side][king] & enemy[PAWN]) |
                        (BB_KnightRays[king] & enemy[KNIGHT]) | (BB_KingRays[king] & enemy[KING]);
    Bitboard sliders = SlidersOnLines(enemy, king);
    while (sliders) {
        const int slider = PopLSB(&sliders);
        const Bitboard between = BB_Between[king][slider] & occupied;
        if (between == 0) {
            checkers |= Bit(slider);
        } else if (IsSingle(between)) {
            shields |= between;
        }
    }
    LegalityMasks masks = {shields | Bit(king), ~Bitboard{0}};
    if (checkers != 0) {
        const int checker = GetLSB(checkers);
        masks.targets = IsSingle(checkers) ? BB_Between[king][checker] | checkers : 0;
    }
    return masks;
}

CheckMasks FindChecks(const Position* pos) {
    const int side = pos->side;
    const int king = KingSquare(pos, side ^ 1);
    assert(king != NO_SQUARE && !SqAtakd(pos, king, side));
    const Bitboard occupied = Occupied(pos);
    const Bitboard diagonal = GenAttacksB(king, occupied);
    const Bitboard straight = GenAttacksR(king, occupied);
    CheckMasks masks = {{0, BB_PawnRays[side ^ 1][king], BB_KnightRays[king], diagonal, straight,
                         diagonal | straight, 0, 0},
                        0};
    Bitboard sliders = SlidersOnLines(pos->bb[side], king);
    while (sliders) {
        const Bitboard between = BB_Between[king][PopLSB(&sliders)] & occupied;
        if (IsSingle(between)) { masks.shields |= between; }
    }
    masks.shields &= pos->bb[side][0];
    return masks;
}

int MoveGivesCheck(const Position* pos, int side, const MoveEntry* e) {
    const int from = MoveFrom(e->move);
    const int to = MoveTo(e->move);
    assert(OwnPieceOn(pos, side, from) && pos->board[from] == e->piece);
    const int king = KingSquare(pos, side ^ 1);
    const Bitboard occupied = Occupied(pos);
    if (AttacksFromSquare(ArrivingType(e), side, to, king, occupied)) { return DIRECT_CHECK; }
    if ((pos->sig[side] & SLIDER_SIGNATURE) == 0) { return NO_CHECK; }
    const Bitboard* men = pos->bb[side];
    const Bitboard after = (occupied & ~Bit(from)) | Bit(to);
    if (BB_RookRays[king] & Bit(from)) {
        const Bitboard line = BB_RookRays[king] & BB_RookRays[from] & (men[ROOK] | men[QUEEN]);
        if (LineIsOpen(line, king, after)) { return DISCOVERED_CHECK; }
    }
    if (BB_BishopRays[king] & Bit(from)) {
        const Bitboard line =
            BB_BishopRays[king] & BB_BishopRays[from] & (men[BISHOP] | men[QUEEN]);
        if (LineIsOpen(line, king, after)) { return DISCOVERED_CHECK; }
    }
    return NO_CHECK;
}

int MoveAttacksKingArea(const Position* pos, int type, int from, int to, Bitboard area) {
    assert(pos->board[from] == PieceCode(pos->side, type));
    const SlidingMove mover{type, from, to};
    if ((type == ROOK || type == QUEEN) && NewlyAttacks(pos, mover, area, BB_RookRays, ROOK)) {
        return 1;
    }
    if ((type == BISHOP || type == QUEEN) &&
        NewlyAttacks(pos, mover, area, BB_BishopRays, BISHOP)) {
        return 1;
    }
    return 0;
}

int MoveIsPseudoLegal(const Position* pos, Move m) {
    const int from = MoveFrom(m);
    const int side = pos->side;
    if (m == NO_MOVE || m == END_OF_LIST || !OwnPieceOn(pos, side, from)) { return 0; }
    MoveEntry list[MAX_LIST_SIZE];
    const MoveEntry* end = GeneratePseudoLegal(pos, side, list);
    for (const MoveEntry* e = list; e != end; ++e) {
        if (e->move == m) { return 1; }
    }
    return 0;
}

bool IsLegalMove(const Position* pos, Move m) {
    return MoveIsPseudoLegal(pos, m) != 0 && MoveIsLegal(pos, pos->side, m) != 0;
}

std::vector<Move> LegalMoves(const Position* pos) {
    MoveEntry list[MAX_LIST_SIZE];
    const MoveEntry* end = GeneratePseudoLegal(pos, pos->side, list);
    std::vector<Move> moves;
    for (const MoveEntry* e = list; e != end; ++e) {
        if (MoveIsLegal(pos, pos->side, e->move)) { moves.push_back(e->move); }
    }
    return moves;
}

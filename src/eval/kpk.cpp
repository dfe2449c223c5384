// The bitbase is solved backward from the promotions, pawn by pawn, the foremost first: positions
// that are won a move earlier are added until there are no more; the rest are draws. A set of
// squares holds the lone king's squares for one pawn and king, so that 64 positions are solved at a
// time.
#include "eval/kpk.h"

#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "eval/evalhelpers.h"

u8 kpk_db[2][KPK_PAWNS][SQUARE_COUNT][SQUARE_COUNT];

namespace {

constexpr int PAWN_SIDE = 0;  // to move
constexpr int LONE_KING = 1;

constexpr int PAWN_FILES = 4;  // a to d; the others mirror them
constexpr int FIRST_PAWN = SECOND_RANK * PAWN_FILES;
constexpr int END_OF_PAWNS = LAST_RANK * PAWN_FILES;  // beyond h7
constexpr int END_OF_DOUBLE_STEPS = FIRST_PAWN + PAWN_FILES;

constexpr int PawnSquare(int pawn) { return SquareOf(pawn % PAWN_FILES, pawn / PAWN_FILES); }
constexpr int PawnIndex(int square) { return FileOf(square) + PAWN_FILES * RankOf(square); }
constexpr int HalfTurn(int square) { return LAST_SQUARE - square; }
constexpr int Mirrored(int square) { return square ^ LAST_FILE; }

// For one pawn, by the square of its king: the squares of the lone king where the pawn wins.
struct WonSquares {
    Bitboard to_move[SQUARE_COUNT] = {};  // the pawn's side is to move
    Bitboard waiting[SQUARE_COUNT] = {};  // the lone king is
};

// Squares that are a king's step away from one of `kings`.
Bitboard KingSteps(Bitboard kings) {
    const Bitboard beside = Sideways(kings);
    const Bitboard row = kings | beside;
    return beside | row << NORTH | row >> NORTH;
}

// Where the lone king can stand.
Bitboard Possible(int pawn_square, int strong) {
    if (strong == pawn_square) { return 0; }
    return ~(BB_KingRays[strong] | Bit(strong) | Bit(pawn_square));
}

// A pawn that has arrived wins unless the lone king takes it at once.
void SolveArrived(int sq, WonSquares* won) {
    for (int strong = 0; strong < SQUARE_COUNT; ++strong) {
        const Bitboard takers = distance(strong, sq) > 1 ? BB_KingRays[sq] : 0;
        won->waiting[strong] = Possible(sq, strong) & ~takers;
    }
}

// Where the pawn's side, to move, has a move that wins.
Bitboard WonByAMove(int pawn, int strong, const WonSquares* all) {
    const int sq = PawnSquare(pawn);
    const int ahead = pawn + PAWN_FILES;
    Bitboard won = all[ahead].waiting[strong];
    if (pawn < END_OF_DOUBLE_STEPS && strong != PawnSquare(ahead)) {
        won |= all[ahead + PAWN_FILES].waiting[strong] & ~Bit(PawnSquare(ahead));
    }
    for (Bitboard steps = BB_KingRays[strong]; steps != 0;) {
        won |= all[pawn].waiting[PopLSB(&steps)];
    }
    return won & Possible(sq, strong) & ~BB_PawnRays[WHITE][sq];
}

// Where every move of the lone king, and there is one, loses.
Bitboard WonAgainstEveryMove(int pawn, int strong, const WonSquares& won) {
    const int sq = PawnSquare(pawn);
    const Bitboard possible = Possible(sq, strong);
    const Bitboard targets = possible & ~BB_PawnRays[WHITE][sq];
    const Bitboard takers = distance(strong, sq) > 1 ? BB_KingRays[sq] : 0;
    const Bitboard saved = KingSteps(targets & ~won.to_move[strong]) | takers;
    return possible & KingSteps(targets) & ~saved;
}

// Adds what is won a move earlier until nothing is. The pawns further ahead must have been solved.
void Solve(int pawn, WonSquares* all) {
    WonSquares* won = &all[pawn];
    for (bool changed = true; changed;) {
        changed = false;
        for (int strong = 0; strong < SQUARE_COUNT; ++strong) {
            won->to_move[strong] = WonByAMove(pawn, strong, all);
        }
        for (int strong = 0; strong < SQUARE_COUNT; ++strong) {
            const Bitboard waiting = WonAgainstEveryMove(pawn, strong, *won);
            changed |= waiting != won->waiting[strong];
            won->waiting[strong] = waiting;
        }
    }
}

void Store(const Bitboard (&won)[SQUARE_COUNT], u8 (*entries)[SQUARE_COUNT]) {
    for (int strong = 0; strong < SQUARE_COUNT; ++strong) {
        for (int weak = 0; weak < SQUARE_COUNT; ++weak) {
            entries[strong][weak] = (won[strong] & Bit(weak)) != 0 ? KPK_WIN : KPK_DRAW;
        }
    }
}

}  // namespace

void InitKPK() {
    static WonSquares won[KPK_PAWNS];
    for (int pawn = KPK_PAWNS - 1; pawn >= FIRST_PAWN; --pawn) {
        if (pawn >= END_OF_PAWNS) {
            SolveArrived(PawnSquare(pawn), &won[pawn]);
        } else {
            Solve(pawn, won);
        }
        Store(won[pawn].to_move, kpk_db[PAWN_SIDE][pawn]);
        Store(won[pawn].waiting, kpk_db[LONE_KING][pawn]);
    }
}

bool PawnWins(const Position* pos, int owner, int pawn, int side) {
    assert(RelativeRank(pawn, owner) >= SECOND_RANK && RelativeRank(pawn, owner) <= SEVENTH_RANK);
    int strong = KingSquare(pos, owner), weak = KingSquare(pos, owner ^ 1);
    if (owner == BLACK) {
        pawn = HalfTurn(pawn);
        strong = HalfTurn(strong);
        weak = HalfTurn(weak);
    }
    if (FileOf(pawn) >= PAWN_FILES) {
        pawn = Mirrored(pawn);
        strong = Mirrored(strong);
        weak = Mirrored(weak);
    }
    return kpk_db[side == owner ? PAWN_SIDE : LONE_KING][PawnIndex(pawn)][strong][weak] == KPK_WIN;
}

int EvalKPK(const Position* pos, int side) {
    const int owner = pos->bb[WHITE][PAWN] != 0 ? WHITE : BLACK;
    assert(CountBits(pos->bb[WHITE][PAWN] | pos->bb[BLACK][PAWN]) == 1);
    assert(pos->npm[WHITE] == 0 && pos->npm[BLACK] == 0);
    if (!PawnWins(pos, owner, GetLSB(pos->bb[owner][PAWN]), side)) { return 0; }
    return side == owner ? KPK_SCORE : -KPK_SCORE;
}

// The bitbase is solved by sweeps: every position starts undecided, illegal, or won by a promotion
// that stands, and takes the best of its moves until a sweep changes nothing. What is undecided in
// the end is a draw.
#include "eval/kpk.h"

#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"

u8 kpk_db[2][KPK_PAWNS][SQUARE_COUNT][SQUARE_COUNT];

namespace {

// Further values while the bitbase is built. Values of several moves are combined by OR.
constexpr u8 KPK_ILLEGAL = 0;
constexpr u8 KPK_UNKNOWN = 4;
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

void StartEntries(int pawn, int strong, int weak) {
    const int sq = PawnSquare(pawn);
    u8* pawn_moves = &kpk_db[PAWN_SIDE][pawn][strong][weak];
    u8* king_moves = &kpk_db[LONE_KING][pawn][strong][weak];
    *pawn_moves = *king_moves = KPK_UNKNOWN;
    if (strong == sq || weak == sq || distance(strong, weak) <= 1) {
        *pawn_moves = *king_moves = KPK_ILLEGAL;
    } else if (BB_PawnRays[WHITE][sq] & Bit(weak)) {
        *pawn_moves = KPK_ILLEGAL;
    } else if (RankOf(sq) == LAST_RANK) {
        *pawn_moves = KPK_WIN;
        if (distance(weak, sq) > 1 || distance(strong, sq) <= 1) { *king_moves = KPK_WIN; }
    }
}

// Best of the pawn side's moves.
u8 PawnSideValue(int pawn, int strong, int weak) {
    const auto& after = kpk_db[LONE_KING];
    const int step = pawn + PAWN_FILES;
    int found = after[step][strong][weak];
    if (pawn < END_OF_DOUBLE_STEPS && found != KPK_ILLEGAL) {
        found |= after[step + PAWN_FILES][strong][weak];
    }
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

// Calls visit(pawn, strong, weak) for every placement with a pawn on the indices first..end - 1.
template <typename Visitor>
void ForEachPlacement(int first, int end, const Visitor& visit) {
    for (int pawn = first; pawn < end; ++pawn) {
        for (int strong = 0; strong < SQUARE_COUNT; ++strong) {
            for (int weak = 0; weak < SQUARE_COUNT; ++weak) { visit(pawn, strong, weak); }
        }
    }
}

// One pass over the undecided entries of one side to move; true when it decided any.
bool Sweep(int to_move) {
    bool changed = false;
    ForEachPlacement(FIRST_PAWN, END_OF_PAWNS, [&](int pawn, int strong, int weak) {
        u8* entry = &kpk_db[to_move][pawn][strong][weak];
        if (*entry != KPK_UNKNOWN) { return; }
        *entry = to_move == PAWN_SIDE ? PawnSideValue(pawn, strong, weak)
                                      : LoneKingValue(pawn, strong, weak);
        changed |= *entry != KPK_UNKNOWN;
    });
    return changed;
}

}  // namespace

void InitKPK() {
    ForEachPlacement(0, KPK_PAWNS, StartEntries);
    for (bool changed = true; changed;) {
        changed = Sweep(PAWN_SIDE);
        changed |= Sweep(LONE_KING);
    }
    for (auto& half : kpk_db) {
        ForEachPlacement(FIRST_PAWN, END_OF_PAWNS, [&](int pawn, int strong, int weak) {
            u8& entry = half[pawn][strong][weak];
            if (entry != KPK_WIN) { entry = KPK_DRAW; }
        });
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

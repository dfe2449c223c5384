// The square tables, all constants, and the table forms of the bit scans and sliding attacks.
#include "board/bitboards.h"

#include <algorithm>

namespace {

constexpr u32 BIT_SCAN_FACTOR = 0x783A9B23u;
constexpr int BIT_SCAN_SHIFT = 26;  // leaves six bits, a slot of the table
constexpr int HALF_BITS = 32;       // of a bitboard
constexpr int BYTE_BITS = 8;
constexpr int BYTE_VALUES = 256;

// A direction on the board, or a jump.
struct Step {
    int files;
    int ranks;
};
constexpr Step N{0, 1}, S{0, -1}, E{1, 0}, W{-1, 0}, NE{1, 1}, NW{-1, 1}, SE{1, -1}, SW{-1, -1};
constexpr Step rook_steps[] = {N, S, E, W};
constexpr Step bishop_steps[] = {NE, NW, SE, SW};
constexpr Step king_steps[] = {N, S, E, W, NE, NW, SE, SW};
constexpr Step knight_steps[] = {{1, 2},   {2, 1},   {2, -1}, {1, -2},
                                 {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
constexpr Step side_steps[] = {E, W};
constexpr Step pawn_steps[2][2] = {{NW, NE}, {SW, SE}};

// The square one step on, NO_SQUARE beyond the edge.
constexpr int StepFrom(int square, Step step) {
    const int file = FileOf(square) + step.files;
    const int rank = RankOf(square) + step.ranks;
    if (file < 0 || file >= FILE_COUNT || rank < 0 || rank >= RANK_COUNT) { return NO_SQUARE; }
    return SquareOf(file, rank);
}

constexpr Bitboard Ray(int square, Step step) {
    Bitboard ray = 0;
    for (int s = StepFrom(square, step); s != NO_SQUARE; s = StepFrom(s, step)) { ray |= Bit(s); }
    return ray;
}

// A table of what `set` gives for each square.
template <typename Set>
constexpr SquareSets MakeSets(Set set) {
    SquareSets sets{};
    for (int s = 0; s < SQUARE_COUNT; ++s) { sets[s] = set(s); }
    return sets;
}

constexpr SquareSets MakeRays(Step step) {
    return MakeSets([step](int s) { return Ray(s, step); });
}

template <int COUNT>
constexpr SquareSets MakeJumps(const Step (&steps)[COUNT]) {
    return MakeSets([&steps](int s) {
        Bitboard reached = 0;
        for (const Step& step : steps) {
            if (const int to = StepFrom(s, step); to != NO_SQUARE) { reached |= Bit(to); }
        }
        return reached;
    });
}

template <int COUNT>
constexpr SquareSets MakeLines(const Step (&steps)[COUNT]) {
    return MakeSets([&steps](int s) {
        Bitboard reached = 0;
        for (const Step& step : steps) { reached |= Ray(s, step); }
        return reached;
    });
}

constexpr auto MakeBetween() {
    LookupTable<SquareSets, SQUARE_COUNT> between{};
    for (int from = 0; from < SQUARE_COUNT; ++from) {
        for (const Step& step : king_steps) {
            Bitboard passed = 0;
            for (int s = StepFrom(from, step); s != NO_SQUARE; s = StepFrom(s, step)) {
                between[from][s] = passed;
                passed |= Bit(s);
            }
        }
    }
    return between;
}

constexpr auto MakeNorth() {
    LookupTable<Bitboard, RANK_COUNT> north{};
    for (int rank = LAST_RANK; rank > FIRST_RANK; --rank) {
        north[rank - 1] = north[rank] | RankMask(rank);
    }
    return north;
}

constexpr auto MakeSouth() {
    LookupTable<Bitboard, RANK_COUNT> south{};
    for (int rank = FIRST_RANK; rank < LAST_RANK; ++rank) {
        south[rank + 1] = south[rank] | RankMask(rank);
    }
    return south;
}

constexpr auto MakeAdjacentFiles() {
    LookupTable<Bitboard, FILE_COUNT> files{};
    for (int file = 0; file < FILE_COUNT; ++file) {
        if (file > 0) { files[file] |= FileMask(file - 1); }
        if (file < LAST_FILE) { files[file] |= FileMask(file + 1); }
    }
    return files;
}

constexpr auto MakeDistances() {
    LookupTable<LookupTable<u8, SQUARE_COUNT>, SQUARE_COUNT> distances{};
    for (int a = 0; a < SQUARE_COUNT; ++a) {
        for (int b = 0; b < SQUARE_COUNT; ++b) {
            const int files = FileOf(a) - FileOf(b);
            const int ranks = RankOf(a) - RankOf(b);
            distances[a][b] = static_cast<u8>(std::max({files, -files, ranks, -ranks}));
        }
    }
    return distances;
}

constexpr auto MakeColours() {
    LookupTable<u8, SQUARE_COUNT> dark{};
    for (int s = 0; s < SQUARE_COUNT; ++s) { dark[s] = (FileOf(s) + RankOf(s)) % 2 == 0; }
    return dark;
}

constexpr auto MakeHighestBits() {
    LookupTable<u32, BYTE_VALUES> highest{};
    for (int value = 2; value < BYTE_VALUES; ++value) { highest[value] = highest[value / 2] + 1; }
    return highest;
}

constexpr auto MakeBitCounts() {
    LookupTable<u8, BYTE_VALUES> counts{};
    for (int value = 1; value < BYTE_VALUES; ++value) {
        counts[value] = static_cast<u8>(counts[value / 2] + value % 2);
    }
    return counts;
}

// Slot of the bit-scan table that belongs to the lowest set bit of `b`.
constexpr int BitScanIndex(Bitboard b) {
    const Bitboard m = b ^ (b - 1);
    const u32 fold = static_cast<u32>(m) ^ static_cast<u32>(m >> HALF_BITS);
    return static_cast<int>((fold * BIT_SCAN_FACTOR) >> BIT_SCAN_SHIFT);
}

constexpr auto MakeBitScanTable() {
    LookupTable<u8, SQUARE_COUNT> table{};
    for (int s = 0; s < SQUARE_COUNT; ++s) { table[BitScanIndex(Bit(s))] = static_cast<u8>(s); }
    return table;
}

}  // namespace

constexpr SquareSets BB_RayN = MakeRays(N), BB_RayS = MakeRays(S);
constexpr SquareSets BB_RayE = MakeRays(E), BB_RayW = MakeRays(W);
constexpr SquareSets BB_RayNE = MakeRays(NE), BB_RayNW = MakeRays(NW);
constexpr SquareSets BB_RaySE = MakeRays(SE), BB_RaySW = MakeRays(SW);
constexpr SquareSets BB_RookRays = MakeLines(rook_steps);
constexpr SquareSets BB_BishopRays = MakeLines(bishop_steps);
constexpr SquareSets BB_KingRays = MakeJumps(king_steps);
constexpr SquareSets BB_KnightRays = MakeJumps(knight_steps);
constexpr LookupTable<SquareSets, 2> BB_PawnRays = {
    {MakeJumps(pawn_steps[WHITE]), MakeJumps(pawn_steps[BLACK])}};
constexpr LookupTable<SquareSets, SQUARE_COUNT> BB_Between = MakeBetween();
constexpr SquareSets BB_AdjacentSquares = MakeJumps(side_steps);
constexpr LookupTable<Bitboard, FILE_COUNT> BB_AdjacentFiles = MakeAdjacentFiles();
constexpr LookupTable<Bitboard, RANK_COUNT> BB_North = MakeNorth(), BB_South = MakeSouth();
constexpr LookupTable<SquareSets, 2> BB_PawnSpan = {
    {MakeSets([](int s) {
         return (FileMask(FileOf(s)) | BB_AdjacentFiles[FileOf(s)]) & BB_North[RankOf(s)];
     }),
     MakeSets([](int s) {
         return (FileMask(FileOf(s)) | BB_AdjacentFiles[FileOf(s)]) & BB_South[RankOf(s)];
     })}};
constexpr LookupTable<LookupTable<u8, SQUARE_COUNT>, SQUARE_COUNT> square_distance =
    MakeDistances();
constexpr LookupTable<u8, SQUARE_COUNT> sq_color = MakeColours();
constexpr LookupTable<u32, BYTE_VALUES> MSBTable = MakeHighestBits();
constexpr LookupTable<u8, BYTE_VALUES> bitcnt = MakeBitCounts();
constexpr LookupTable<u8, SQUARE_COUNT> BSFT = MakeBitScanTable();
static_assert(BSFT[0] == 63 && BSFT[1] == 30 && BSFT[2] == 3 && BSFT[3] == 32 && BSFT[4] == 25 &&
              BSFT[5] == 41 && BSFT[6] == 22 && BSFT[7] == 33);

namespace {

#if defined(VESK_HAS_BMI2)

constexpr int ROOK_PATTERNS = 102400;  // sum over the squares of 2^(relevant squares)
constexpr int BISHOP_PATTERNS = 5248;
Bitboard rook_attacks[ROOK_PATTERNS];
Bitboard bishop_attacks[BISHOP_PATTERNS];

// Squares whose occupation can change the attack set along some lines: all but the last of each.
template <int COUNT>
Bitboard Relevant(int square, const Step (&steps)[COUNT]) {
    Bitboard relevant = 0;
    for (const Step& step : steps) {
        int last = square;
        while (StepFrom(last, step) != NO_SQUARE) { last = StepFrom(last, step); }
        relevant |= BB_Between[square][last];
    }
    return relevant;
}

// Fills the part of a table that begins at `attacks` for one square; returns its end.
Bitboard* FillLookup(SlidingLookup* lookup, Bitboard* attacks, int square,
                     Bitboard (*generate)(int, Bitboard)) {
    lookup->attacks = attacks;
    Bitboard subset = 0;
    do {
        attacks[_pext_u64(subset, lookup->mask)] = generate(square, subset);
        subset = (subset - lookup->mask) & lookup->mask;
    } while (subset != 0);
    return attacks + (std::size_t{1} << std::popcount(lookup->mask));
}

void FillSlidingLookups() {
    Bitboard* rook = rook_attacks;
    Bitboard* bishop = bishop_attacks;
    for (int s = 0; s < SQUARE_COUNT; ++s) {
        RookLookup[s].mask = Relevant(s, rook_steps);
        rook = FillLookup(&RookLookup[s], rook, s, GenAttacksR_2);
        BishopLookup[s].mask = Relevant(s, bishop_steps);
        bishop = FillLookup(&BishopLookup[s], bishop, s, GenAttacksB_2);
    }
    assert(rook == std::end(rook_attacks) && bishop == std::end(bishop_attacks));
}

#endif

// The part of a ray up to its nearest blocker, the blocker included.
Bitboard TrimIncreasing(const SquareSets& rays, int square, Bitboard occupied) {
    const Bitboard blockers = rays[square] & occupied;
    return blockers ? rays[square] ^ rays[GetLSB(blockers)] : rays[square];
}

Bitboard TrimDecreasing(const SquareSets& rays, int square, Bitboard occupied) {
    const Bitboard blockers = rays[square] & occupied;
    return blockers ? rays[square] ^ rays[GetMSB(blockers)] : rays[square];
}

}  // namespace

#if defined(VESK_HAS_BMI2)
LookupTable<SlidingLookup, SQUARE_COUNT> RookLookup, BishopLookup;
#endif

int GetLSB_2(Bitboard b) { return BSFT[BitScanIndex(b)]; }

int GetMSB_2(Bitboard b) {
    int base = 0;
    for (int bits = HALF_BITS; bits >= BYTE_BITS; bits /= 2) {
        if (b >> bits) {
            b >>= bits;
            base += bits;
        }
    }
    return base + static_cast<int>(MSBTable[static_cast<int>(b)]);
}

int CountBits_2(Bitboard b) {
    int count = 0;
    for (; b != 0; b >>= BYTE_BITS) { count += bitcnt[static_cast<int>(b % BYTE_VALUES)]; }
    return count;
}

Bitboard GenAttacksR_2(int square, Bitboard occupied) {
    return TrimIncreasing(BB_RayN, square, occupied) | TrimDecreasing(BB_RayS, square, occupied) |
           TrimIncreasing(BB_RayE, square, occupied) | TrimDecreasing(BB_RayW, square, occupied);
}

Bitboard GenAttacksB_2(int square, Bitboard occupied) {
    return TrimIncreasing(BB_RayNW, square, occupied) | TrimIncreasing(BB_RayNE, square, occupied) |
           TrimDecreasing(BB_RaySE, square, occupied) | TrimDecreasing(BB_RaySW, square, occupied);
}

int SqAtakd(const Position* pos, int square, int side) {
    const Bitboard* men = pos->bb[side];
    if (BB_PawnRays[side ^ 1][square] & men[PAWN]) { return 1; }
    if (BB_KnightRays[square] & men[KNIGHT]) { return 1; }
    if (BB_KingRays[square] & men[KING]) { return 1; }
    const Bitboard occupied = Occupied(pos);
    Bitboard diagonal = BB_BishopRays[square] & (men[BISHOP] | men[QUEEN]);
    while (diagonal) {
        if ((BB_Between[PopLSB(&diagonal)][square] & occupied) == 0) { return 1; }
    }
    Bitboard straight = BB_RookRays[square] & (men[ROOK] | men[QUEEN]);
    while (straight) {
        if ((BB_Between[PopLSB(&straight)][square] & occupied) == 0) { return 1; }
    }
    return 0;
}

void InitBitboards() {
#if defined(VESK_HAS_BMI2)
    FillSlidingLookups();
#endif
}

// Fills the square tables and holds the table forms of the bit scans and sliding attacks.
#include "board/bitboards.h"

#include <algorithm>
#include <cstdlib>

Bitboard BB_RayN[64], BB_RayS[64], BB_RayE[64], BB_RayW[64];
Bitboard BB_RayNE[64], BB_RayNW[64], BB_RaySE[64], BB_RaySW[64];
Bitboard BB_RookRays[64], BB_BishopRays[64], BB_KingRays[64], BB_KnightRays[64];
Bitboard BB_PawnRays[2][64];
Bitboard BB_Between[64][64];
Bitboard BB_PawnSpan[2][64];
Bitboard BB_AdjacentFiles[8], BB_AdjacentSquares[64];
Bitboard BB_North[8], BB_South[8];
u32 MSBTable[256];
u8 bitcnt[256];
u8 sq_color[64];
u8 square_distance[64][64];

namespace {

constexpr u32 BIT_SCAN_FACTOR = 0x783A9B23u;

// Slot of the bit-scan table that belongs to the lowest set bit of `b`.
constexpr u32 BitScanIndex(Bitboard b) {
    const Bitboard m = b ^ (b - 1);
    const u32 fold = static_cast<u32>(m) ^ static_cast<u32>(m >> 32);
    return (fold * BIT_SCAN_FACTOR) >> 26;
}

constexpr std::array<u8, 64> MakeBitScanTable() {
    std::array<u8, 64> table{};
    for (int i = 0; i < 64; ++i) { table[BitScanIndex(Bitboard{1} << i)] = static_cast<u8>(i); }
    return table;
}

bool OnBoard(int file, int rank) { return file >= 0 && file < 8 && rank >= 0 && rank < 8; }

Bitboard SquareBit(int file, int rank) { return OnBoard(file, rank) ? Bit(rank * 8 + file) : 0; }

Bitboard Ray(int square, int file_step, int rank_step) {
    Bitboard ray = 0;
    int file = FileOf(square) + file_step;
    int rank = RankOf(square) + rank_step;
    for (; OnBoard(file, rank); file += file_step, rank += rank_step) {
        ray |= SquareBit(file, rank);
    }
    return ray;
}

void FillByteTables() {
    for (unsigned value = 0; value < 256; ++value) {
        bitcnt[value] = static_cast<u8>(std::popcount(value));
        MSBTable[value] = value ? static_cast<u32>(std::bit_width(value) - 1) : 0;
    }
}

void FillRankAndFileTables() {
    for (int i = 0; i < 8; ++i) {
        BB_North[i] = 0;
        BB_South[i] = 0;
        for (int rank = 0; rank < 8; ++rank) {
            if (rank > i) { BB_North[i] |= RankMask(rank); }
            if (rank < i) { BB_South[i] |= RankMask(rank); }
        }
        BB_AdjacentFiles[i] = (i > 0 ? FileMask(i - 1) : 0) | (i < 7 ? FileMask(i + 1) : 0);
    }
}

void FillSquare(int s) {
    const int file = FileOf(s);
    const int rank = RankOf(s);
    BB_RayN[s] = Ray(s, 0, 1);
    BB_RayS[s] = Ray(s, 0, -1);
    BB_RayE[s] = Ray(s, 1, 0);
    BB_RayW[s] = Ray(s, -1, 0);
    BB_RayNE[s] = Ray(s, 1, 1);
    BB_RayNW[s] = Ray(s, -1, 1);
    BB_RaySE[s] = Ray(s, 1, -1);
    BB_RaySW[s] = Ray(s, -1, -1);
    BB_RookRays[s] = BB_RayN[s] | BB_RayS[s] | BB_RayE[s] | BB_RayW[s];
    BB_BishopRays[s] = BB_RayNE[s] | BB_RayNW[s] | BB_RaySE[s] | BB_RaySW[s];
    BB_KingRays[s] = 0;
    BB_KnightRays[s] = 0;
    for (int df = -2; df <= 2; ++df) {
        for (int dr = -2; dr <= 2; ++dr) {
            const int larger = std::max(std::abs(df), std::abs(dr));
            if (larger == 1) { BB_KingRays[s] |= SquareBit(file + df, rank + dr); }
            if (std::abs(df * dr) == 2) { BB_KnightRays[s] |= SquareBit(file + df, rank + dr); }
        }
    }
    BB_AdjacentSquares[s] = SquareBit(file - 1, rank) | SquareBit(file + 1, rank);
    BB_PawnRays[WHITE][s] = SquareBit(file - 1, rank + 1) | SquareBit(file + 1, rank + 1);
    BB_PawnRays[BLACK][s] = SquareBit(file - 1, rank - 1) | SquareBit(file + 1, rank - 1);
    const Bitboard files = FileMask(file) | BB_AdjacentFiles[file];
    BB_PawnSpan[WHITE][s] = files & BB_North[rank];
    BB_PawnSpan[BLACK][s] = files & BB_South[rank];
    sq_color[s] = (file + rank) % 2 == 0;
}

void FillPair(int a, int b) {
    const int df = FileOf(b) - FileOf(a);
    const int dr = RankOf(b) - RankOf(a);
    square_distance[a][b] = static_cast<u8>(std::max(std::abs(df), std::abs(dr)));
    BB_Between[a][b] = 0;
    if (a == b || (df != 0 && dr != 0 && std::abs(df) != std::abs(dr))) { return; }
    const int file_step = (df > 0) - (df < 0);
    const int rank_step = (dr > 0) - (dr < 0);
    BB_Between[a][b] = Ray(a, file_step, rank_step) & Ray(b, -file_step, -rank_step);
}

#if defined(__BMI2__)

constexpr int ROOK_PATTERNS = 102400;  // sum over the squares of 2^(relevant squares)
constexpr int BISHOP_PATTERNS = 5248;
Bitboard rook_attacks[ROOK_PATTERNS];
Bitboard bishop_attacks[BISHOP_PATTERNS];

// Squares of a ray whose occupation can change the attack set: all but the last.
Bitboard Relevant(Bitboard ray, int square, int file_step, int rank_step) {
    Bitboard last = 0;
    int file = FileOf(square) + file_step;
    int rank = RankOf(square) + rank_step;
    for (; OnBoard(file, rank); file += file_step, rank += rank_step) {
        last = SquareBit(file, rank);
    }
    return ray & ~last;
}

Bitboard* FillLookup(SlidingLookup* lookup, Bitboard* attacks, Bitboard relevant, int square,
                     Bitboard (*generate)(int, Bitboard)) {
    lookup->mask = relevant;
    lookup->attacks = attacks;
    Bitboard subset = 0;
    do {
        attacks[_pext_u64(subset, relevant)] = generate(square, subset);
        subset = (subset - relevant) & relevant;
    } while (subset != 0);
    return attacks + (std::size_t{1} << std::popcount(relevant));
}

void FillSlidingLookups() {
    Bitboard* rook = rook_attacks;
    Bitboard* bishop = bishop_attacks;
    for (int s = 0; s < 64; ++s) {
        const Bitboard lines = Relevant(BB_RayN[s], s, 0, 1) | Relevant(BB_RayS[s], s, 0, -1) |
                               Relevant(BB_RayE[s], s, 1, 0) | Relevant(BB_RayW[s], s, -1, 0);
        const Bitboard diagonals =
            Relevant(BB_RayNE[s], s, 1, 1) | Relevant(BB_RayNW[s], s, -1, 1) |
            Relevant(BB_RaySE[s], s, 1, -1) | Relevant(BB_RaySW[s], s, -1, -1);
        rook = FillLookup(&RookLookup[s], rook, lines, s, GenAttacksR_2);
        bishop = FillLookup(&BishopLookup[s], bishop, diagonals, s, GenAttacksB_2);
    }
}

#endif

// The part of a ray up to its nearest blocker, the blocker included.
Bitboard TrimIncreasing(const Bitboard* rays, int square, Bitboard occupied) {
    const Bitboard blockers = rays[square] & occupied;
    return blockers ? rays[square] ^ rays[GetLSB(blockers)] : rays[square];
}

Bitboard TrimDecreasing(const Bitboard* rays, int square, Bitboard occupied) {
    const Bitboard blockers = rays[square] & occupied;
    return blockers ? rays[square] ^ rays[GetMSB(blockers)] : rays[square];
}

}  // namespace

constexpr std::array<u8, 64> BSFT = MakeBitScanTable();
static_assert(BSFT[0] == 63 && BSFT[1] == 30 && BSFT[2] == 3 && BSFT[3] == 32 && BSFT[4] == 25 &&
              BSFT[5] == 41 && BSFT[6] == 22 && BSFT[7] == 33);

#if defined(__BMI2__)
SlidingLookup RookLookup[64], BishopLookup[64];
#endif

int GetLSB_2(Bitboard b) { return BSFT[BitScanIndex(b)]; }

int GetMSB_2(Bitboard b) {
    u32 half = static_cast<u32>(b >> 32);
    int base = 32;
    if (half == 0) {
        half = static_cast<u32>(b);
        base = 0;
    }
    if (half > 0xFFFF) {
        half >>= 16;
        base += 16;
    }
    if (half > 0xFF) {
        half >>= 8;
        base += 8;
    }
    return base + static_cast<int>(MSBTable[half]);
}

int CountBits_2(Bitboard b) {
    int count = 0;
    for (; b != 0; b >>= 8) { count += bitcnt[b & 0xFF]; }
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
    FillByteTables();
    FillRankAndFileTables();
    for (int square = 0; square < 64; ++square) { FillSquare(square); }
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) { FillPair(a, b); }
    }
#if defined(__BMI2__)
    FillSlidingLookups();
#endif
}

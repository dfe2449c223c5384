// Square tables, bit scans and sliding attacks against definitions that walk the board.
#include "board/bitboards.h"

#include <gtest/gtest.h>

#include "board/reference.h"
#include "support/engine.h"

namespace {

Bitboard RandomSet(std::mt19937_64& random) {
    switch (random() % 3) {
        case 0:
            return random();
        case 1:
            return random() & random();
        default:
            return random() & random() & random();
    }
}

TEST(Bitboards, RaysAreWhatAWalkOverTheEmptyBoardSees) {
    const struct {
        const Bitboard* table;
        int step[2];
    } rays[] = {{BB_RayN, {0, 1}},  {BB_RayS, {0, -1}},  {BB_RayE, {1, 0}},   {BB_RayW, {-1, 0}},
                {BB_RayNE, {1, 1}}, {BB_RayNW, {-1, 1}}, {BB_RaySE, {1, -1}}, {BB_RaySW, {-1, -1}}};
    for (int s = 0; s < 64; ++s) {
        for (const auto& ray : rays) EXPECT_EQ(ray.table[s], Walk(s, ray.step, 0)) << s;
        EXPECT_EQ(BB_RookRays[s], WalkLines(s, reference_rook_steps, 0)) << s;
        EXPECT_EQ(BB_BishopRays[s], WalkLines(s, reference_bishop_steps, 0)) << s;
    }
}

TEST(Bitboards, SquareTablesHoldTheSetsTheyName) {
    for (int s = 0; s < 64; ++s) {
        EXPECT_EQ(BB_KingRays[s], KingSteps(s)) << s;
        EXPECT_EQ(BB_KnightRays[s], KnightJumps(s)) << s;
        EXPECT_EQ(BB_AdjacentSquares[s], Offset(s, -1, 0) | Offset(s, 1, 0)) << s;
        EXPECT_EQ(sq_color[s], (FileOf(s) + RankOf(s)) % 2 == 0 ? 1 : 0) << s;
        for (int side : {WHITE, BLACK}) {
            EXPECT_EQ(BB_PawnRays[side][s], PawnAttacks(side, s)) << s;
            Bitboard span = 0;
            for (int ahead = 1; ahead < 8; ++ahead)
                for (int file = -1; file <= 1; ++file)
                    span |= Offset(s, file, side == WHITE ? ahead : -ahead);
            EXPECT_EQ(BB_PawnSpan[side][s], span) << s;
        }
    }
    for (int i = 0; i < 8; ++i) {
        Bitboard files = 0, north = 0, south = 0;
        for (int s = 0; s < 64; ++s) {
            if (FileOf(s) == i - 1 || FileOf(s) == i + 1) files |= Bit(s);
            if (RankOf(s) > i) north |= Bit(s);
            if (RankOf(s) < i) south |= Bit(s);
        }
        EXPECT_EQ(BB_AdjacentFiles[i], files) << i;
        EXPECT_EQ(BB_North[i], north) << i;
        EXPECT_EQ(BB_South[i], south) << i;
    }
}

TEST(Bitboards, BetweenAndDistanceHoldForEveryPair) {
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) {
            Bitboard between = 0;
            for (const auto& steps : {reference_rook_steps, reference_bishop_steps})
                for (int d = 0; d < 4; ++d)
                    if (Walk(a, steps[d], 0) & Bit(b))
                        between = Walk(a, steps[d], Bit(b)) & ~Bit(b);
            EXPECT_EQ(BB_Between[a][b], between) << a << ' ' << b;
            EXPECT_EQ(distance(a, b),
                      std::max(std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b))));
        }
    }
}

TEST(Bitboards, ScansAndCountsAgreeInTableAndProcessorForm) {
    EXPECT_EQ(GetLSB_2(0), 63);
    EXPECT_EQ(GetMSB_2(0), 0);
    const u8 first[] = {63, 30, 3, 32, 25, 41, 22, 33};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(BSFT[i], first[i]);
    for (unsigned v = 0; v < 256; ++v) {
        int highest = 0, count = 0;
        for (int i = 0; i < 8; ++i)
            if (v & (1u << i)) highest = i, ++count;
        EXPECT_EQ(MSBTable[v], static_cast<u32>(highest)) << v;
        EXPECT_EQ(bitcnt[v], count) << v;
    }
    std::mt19937_64 random(1);
    for (int i = 0; i < 64 * 200; ++i) {
        const int lowest = i % 64;
        Bitboard b = (RandomSet(random) | 1) << lowest;
        int highest = 63, count = 0;
        while (!(b & Bit(highest))) --highest;
        for (int s = 0; s < 64; ++s) count += (b & Bit(s)) != 0;
        ASSERT_EQ(GetLSB_2(b), lowest);
        ASSERT_EQ(GetMSB_2(b), highest);
        ASSERT_EQ(CountBits_2(b), count);
        ASSERT_EQ(GetLSB_1(b), lowest);
        ASSERT_EQ(GetMSB_1(b), highest);
        ASSERT_EQ(CountBits_1(b), count);
        ASSERT_EQ(GetLSB(b), lowest);
        ASSERT_EQ(GetMSB(b), highest);
        ASSERT_EQ(CountBits(b), count);
        const Bitboard rest = b & ~Bit(lowest);
        ASSERT_EQ(PopLSB(&b), lowest);
        ASSERT_EQ(b, rest);
    }
    EXPECT_EQ(GetLSB_1(0), 63);
    EXPECT_EQ(GetMSB_1(0), 0);
    EXPECT_EQ(CountBits(0), 0);
}

void ExpectSlidingAttacks(int square, Bitboard occupied) {
    const Bitboard rook = WalkLines(square, reference_rook_steps, occupied);
    const Bitboard bishop = WalkLines(square, reference_bishop_steps, occupied);
    ASSERT_EQ(GenAttacksR(square, occupied), rook) << square << ' ' << occupied;
    ASSERT_EQ(GenAttacksR_2(square, occupied), rook) << square << ' ' << occupied;
    ASSERT_EQ(GenAttacksB(square, occupied), bishop) << square << ' ' << occupied;
    ASSERT_EQ(GenAttacksB_2(square, occupied), bishop) << square << ' ' << occupied;
}

TEST(SlidingAttacks, AgreeWithAWalkForRandomOccupancies) {
    std::mt19937_64 random(2);
    for (int s = 0; s < 64; ++s)
        for (int i = 0; i < 500; ++i) ExpectSlidingAttacks(s, RandomSet(random));
}

TEST(SlidingAttacks, AgreeWithAWalkForEveryBlockerPatternOfCornerEdgeAndCentre) {
    for (int s : {0, 7, 27, 36, 39, 56, 61, 63}) {
        for (Bitboard mask : {BB_RookRays[s], BB_BishopRays[s]}) {
            Bitboard subset = 0;
            do {
                ExpectSlidingAttacks(s, subset);
                subset = (subset - mask) & mask;
            } while (subset != 0);
        }
    }
}

TEST(AttackTest, AgreesWithWalkedAttacksInRandomPositions) {
    ResetEngine();
    std::mt19937 random(3);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        for (int ply = 0; ply < 60; ++ply) {
            for (int side : {WHITE, BLACK}) {
                const Bitboard attacked = ReferenceAttacked(pos, side);
                for (int s = 0; s < 64; ++s)
                    ASSERT_EQ(SqAtakd(pos, s, side), (attacked & Bit(s)) != 0) << fen << ' ' << s;
            }
            const Move m = RandomMove(pos, random);
            if (m == NO_MOVE) break;
            PlayGameMove(pos, m);
        }
    }
}

}  // namespace

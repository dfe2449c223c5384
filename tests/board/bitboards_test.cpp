// Square tables, bit scans and sliding attacks against definitions that walk the board.
#include "board/bitboards.h"

#include <gtest/gtest.h>

#include "board/reference.h"

namespace {

Bitboard RandomSet(std::mt19937_64& random) {
    Bitboard set = random();
    for (auto thinnings = random() % 3; thinnings > 0; --thinnings) { set &= random(); }
    return set;
}

// The single rays show in the attacks further down.
TEST(Bitboards, SquareTablesHoldTheSetsTheyName) {
    for (int s = 0; s < 64; ++s) {
        EXPECT_EQ(BB_RookRays[s], Walk(s, rook_steps)) << s;
        EXPECT_EQ(BB_BishopRays[s], Walk(s, bishop_steps)) << s;
        EXPECT_EQ(BB_KingRays[s], Walk(s, king_steps, 1)) << s;
        EXPECT_EQ(BB_KnightRays[s], Walk(s, knight_steps, 1)) << s;
        for (int side : {WHITE, BLACK}) {
            EXPECT_EQ(BB_PawnRays[side][s], Walk(s, pawn_steps[side], 1)) << s;
        }
        EXPECT_EQ(BB_AdjacentSquares[s], Walk(s, {{-1, 0}, {1, 0}}, 1)) << s;
        EXPECT_EQ(sq_color[s], (FileOf(s) + RankOf(s)) % 2 == 0 ? 1 : 0) << s;
        const int i = s % 8;
        Bitboard files = 0, north = 0, south = 0, span[2] = {};
        for (int t = 0; t < 64; ++t) {
            if (FileOf(t) == i - 1 || FileOf(t) == i + 1) { files |= Bit(t); }
            if (RankOf(t) > i) { north |= Bit(t); }
            if (RankOf(t) < i) { south |= Bit(t); }
            if (std::abs(FileOf(t) - i) <= 1 && RankOf(t) != RankOf(s)) {
                span[RankOf(t) > RankOf(s) ? WHITE : BLACK] |= Bit(t);
            }
        }
        EXPECT_EQ(BB_AdjacentFiles[i], files) << i;
        EXPECT_EQ(BB_North[i], north) << i;
        EXPECT_EQ(BB_South[i], south) << i;
        for (int side : {WHITE, BLACK}) { EXPECT_EQ(BB_PawnSpan[side][s], span[side]) << s; }
    }
}

TEST(Bitboards, BetweenAndDistanceHoldForEveryPair) {
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) {
            Bitboard between = 0;
            for (const auto& step : king_steps) {
                if (Walk(a, {step}) & Bit(b)) { between = Walk(a, {step}, 7, Bit(b)) & ~Bit(b); }
            }
            EXPECT_EQ(BB_Between[a][b], between) << a << ' ' << b;
            EXPECT_EQ(distance(a, b),
                      std::max(std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b))));
        }
    }
}

TEST(Bitboards, ScansAndCountsAgreeInTableAndProcessorForm) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 64 * 200; ++i) {
        const int lowest = i % 64;
        Bitboard b = (RandomSet(random) | 1) << lowest;
        int highest = 63, count = 0;
        while (!(b & Bit(highest))) { --highest; }
        for (int s = 0; s < 64; ++s) { count += (b & Bit(s)) != 0; }
        for (const auto scan : {GetLSB_1, GetLSB_2, GetLSB}) { ASSERT_EQ(scan(b), lowest); }
        for (const auto scan : {GetMSB_1, GetMSB_2, GetMSB}) { ASSERT_EQ(scan(b), highest); }
        for (const auto scan : {CountBits_1, CountBits_2, CountBits}) { ASSERT_EQ(scan(b), count); }
        const Bitboard rest = b & ~Bit(lowest);
        ASSERT_EQ(PopLSB(&b), lowest);
        ASSERT_EQ(b, rest);
    }
    for (const auto scan : {GetLSB_1, GetLSB_2}) { EXPECT_EQ(scan(0), 63); }
    for (const auto scan : {GetMSB_1, GetMSB_2, CountBits_1, CountBits_2}) {
        EXPECT_EQ(scan(0), 0);
    }
}

void ExpectSlidingAttacks(int square, Bitboard occupied) {
    for (const auto attacks : {GenAttacksR, GenAttacksR_2}) {
        ASSERT_EQ(attacks(square, occupied), Walk(square, rook_steps, 7, occupied)) << square;
    }
    for (const auto attacks : {GenAttacksB, GenAttacksB_2}) {
        ASSERT_EQ(attacks(square, occupied), Walk(square, bishop_steps, 7, occupied)) << square;
    }
}

TEST(SlidingAttacks, AgreeWithAWalkForRandomOccupanciesAndEveryBlockerPatternOfSomeSquares) {
    std::mt19937_64 random(2);
    for (int s = 0; s < 64; ++s) {
        for (int i = 0; i < 500; ++i) { ExpectSlidingAttacks(s, RandomSet(random)); }
    }
    for (int s : {0, 7, 27, 36, 39, 56, 61, 63}) {
        for (Bitboard lines : {BB_RookRays[s], BB_BishopRays[s]}) {
            Bitboard subset = 0;
            do {
                ExpectSlidingAttacks(s, subset);
                subset = (subset - lines) & lines;
            } while (subset != 0);
        }
    }
}

TEST(AttackTest, AgreesWithWalkedAttacksInRandomPositions) {
    ResetEngine();
    std::mt19937 random(3);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        Move m = NO_MOVE;
        for (int ply = 0; ply < 60; ++ply) {
            for (int side : {WHITE, BLACK}) {
                const Bitboard attacked = ReferenceAttacked(pos, side);
                for (int s = 0; s < 64; ++s) {
                    ASSERT_EQ(SqAtakd(pos, s, side), (attacked & Bit(s)) != 0) << fen << ' ' << s;
                }
            }
            if ((m = RandomMove(pos, random)) == NO_MOVE) { break; }
            PlayGameMove(pos, m);
        }
    }
}

}  // namespace

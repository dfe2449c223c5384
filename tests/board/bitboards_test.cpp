// Square tables, bit scans and sliding attacks against plain definitions.
#include "board/bitboards.h"

#include <bit>

#include "board/reference.h"

namespace {

TEST(Bitboards, SquareTablesHoldForEverySquareAndPair) {
    for (int s = 0; s < 64; ++s) {
        EXPECT_EQ(BB_RookRays[s], AttacksFrom(s, ROOK)) << s;
        EXPECT_EQ(BB_BishopRays[s], AttacksFrom(s, BISHOP)) << s;
        EXPECT_EQ(BB_KingRays[s], AttacksFrom(s, KING)) << s;
        EXPECT_EQ(BB_KnightRays[s], AttacksFrom(s, KNIGHT)) << s;
        EXPECT_EQ(BB_PawnRays[WHITE][s], AttacksFrom(s, PieceCode(WHITE, PAWN))) << s;
        EXPECT_EQ(BB_PawnRays[BLACK][s], AttacksFrom(s, PieceCode(BLACK, PAWN))) << s;
        EXPECT_EQ(sq_color[s], (FileOf(s) + RankOf(s)) % 2 == 0) << s;
        for (int t = 0; t < 64; ++t) {
            SCOPED_TRACE(square_name[s] + std::string(square_name[t]));
            const auto has_t = [t](Bitboard set) { return (set & Bit(t)) != 0; };
            const int files = std::abs(FileOf(t) - FileOf(s)), ranks = RankOf(t) - RankOf(s);
            EXPECT_EQ(distance(s, t), std::max(files, std::abs(ranks)));
            EXPECT_EQ(has_t(BB_AdjacentSquares[s]), files == 1 && ranks == 0);
            EXPECT_EQ(has_t(BB_AdjacentFiles[FileOf(s)]), files == 1);
            EXPECT_EQ(has_t(BB_North[RankOf(s)]), ranks > 0);
            EXPECT_EQ(has_t(BB_South[RankOf(s)]), ranks < 0);
            EXPECT_EQ(has_t(BB_PawnSpan[WHITE][s]), files <= 1 && ranks > 0);
            EXPECT_EQ(has_t(BB_PawnSpan[BLACK][s]), files <= 1 && ranks < 0);
            Bitboard between = 0;
            for (int line : {ROOK, BISHOP}) {
                if (!has_t(AttacksFrom(s, line))) { continue; }
                between = AttacksFrom(s, line, Bit(t)) & AttacksFrom(t, line, Bit(s));
            }
            EXPECT_EQ(BB_Between[s][t], between);
        }
    }
}

TEST(Bitboards, ScansAndCountsAgreeInTableAndProcessorForm) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 64 * 200; ++i) {
        const int s = i % 64;
        for (Bitboard b : {(random() & random()) << s | Bit(s), random() >> s | Bit(63 - s)}) {
            const int lowest = std::countr_zero(b), highest = 63 - std::countl_zero(b);
            for (const auto scan : {GetLSB_1, GetLSB_2}) { ASSERT_EQ(scan(b), lowest); }
            for (const auto scan : {GetMSB_1, GetMSB_2}) { ASSERT_EQ(scan(b), highest); }
            for (const auto n : {CountBits_1, CountBits_2}) { ASSERT_EQ(n(b), std::popcount(b)); }
            const Bitboard rest = b & ~Bit(lowest);
            ASSERT_EQ(PopLSB(&b), lowest);
            ASSERT_EQ(b, rest);
        }
    }
    for (const auto scan : {GetLSB_1, GetLSB_2}) { EXPECT_EQ(scan(0), 63); }
    for (const auto get : {GetMSB_1, GetMSB_2, CountBits_1, CountBits_2}) { EXPECT_EQ(get(0), 0); }
}

TEST(Bitboards, AttacksAgreeInRandomPositions) {
    ResetEngine();
    ForRandomPositions(100, [](const Position* pos) {
        SCOPED_TRACE(Epd(pos));
        const Bitboard occupied = Occupied(pos);
        Bitboard attacked[2] = {};
        for (int s = 0; s < SQUARE_COUNT; ++s) {
            ASSERT_EQ(GenAttacksR(s, occupied), AttacksFrom(s, ROOK, occupied)) << s;
            ASSERT_EQ(GenAttacksR_2(s, occupied), AttacksFrom(s, ROOK, occupied)) << s;
            ASSERT_EQ(GenAttacksB(s, occupied), AttacksFrom(s, BISHOP, occupied)) << s;
            ASSERT_EQ(GenAttacksB_2(s, occupied), AttacksFrom(s, BISHOP, occupied)) << s;
            attacked[PieceColour(pos->board[s])] |= AttacksFrom(s, pos->board[s], occupied);
        }
        for (int s = 0; s < SQUARE_COUNT; ++s) {
            ASSERT_EQ(SqAtakd(pos, s, WHITE), (attacked[WHITE] & Bit(s)) != 0) << s;
            ASSERT_EQ(SqAtakd(pos, s, BLACK), (attacked[BLACK] & Bit(s)) != 0) << s;
        }
    });
}

}  // namespace

// The keys: single ones, their distances, and those of positions.
#include "board/zobrist.h"

#include <gtest/gtest.h>

#include "board/reference.h"

namespace {

using ZobristTest = EngineTest;

TEST_F(ZobristTest, KeysAreTheSameInEveryRunAndLieFarApart) {
    EXPECT_EQ(InitZobrist(), 0);
    EXPECT_EQ(rtable[0][0], 0x075D4EE240B5DA0Fu);
    EXPECT_EQ(rtable[PieceCode(WHITE, PAWN)][SquareOfText("e2")], 0xBCC897CAE04423D7u);
    EXPECT_EQ(rtable2[0], 0xD994B218E344824Du);
    EXPECT_EQ(rtable2[NO_SQUARE], 0x1842BD98D3EF37CDu);
    const u64* keys = &rtable[0][0];
    for (int i = 0; i < 1024; ++i) {
        for (int j = 0; j < i; ++j) {
            for (u64 half : {(keys[i] ^ keys[j]) >> 32, (keys[i] ^ keys[j]) & 0xFFFFFFFFu}) {
                ASSERT_GE(CountBits(half), 4) << i << ' ' << j;
            }
        }
    }
}

TEST_F(ZobristTest, KeysAndMaterialOfPositionsAgreeWithTheTable) {
    const std::vector<std::vector<std::string>> rows = ReadTable("keys.tsv");
    EXPECT_GT(rows.size(), 500u);
    for (const auto& row : rows) {
        const Position* pos = SetGame(row[0]);
        EXPECT_EQ(pos->hash, std::stoull(row[1], nullptr, 16)) << row[0];
        EXPECT_EQ(pos->pawn_hash, std::stoull(row[2], nullptr, 16)) << row[0];
        EXPECT_EQ(SearchKey(pos), std::stoull(row[3], nullptr, 16)) << row[0];
        for (std::size_t c : {0u, 1u}) {
            EXPECT_EQ(pos->sig[c], std::stoul(row[4 + c], nullptr, 16)) << row[0];
            EXPECT_EQ(pos->npm[c], std::stoi(row[6 + c])) << row[0];
        }
    }
}

TEST_F(ZobristTest, SignatureTellsTheNumberOfEachPiece) {
    const u32 sig = SetGame("QRRBBBNN/NNPPPPP1/8/8/8/8/8/k6K w - -")->sig[WHITE];
    EXPECT_EQ(QueenCount(sig), 1);
    EXPECT_EQ(RookCount(sig), 2);
    EXPECT_EQ(BishopCount(sig), 3);
    EXPECT_EQ(KnightCount(sig), 4);
    EXPECT_EQ(PawnCount(sig), 5);
}

}  // namespace

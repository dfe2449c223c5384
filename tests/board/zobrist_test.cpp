// The keys and the material signature of positions.
#include "board/zobrist.h"

#include "board/reference.h"

namespace {

using ZobristTest = EngineTest;

// Every key is drawn after the one before it, so that a change of any shows here.
TEST_F(ZobristTest, KeysAndMaterialOfPositionsAgreeWithTheTable) {
    EXPECT_EQ(InitZobrist(), 0);
    ForEachRow("keys.tsv", [](const Position* pos, const Row& row) {
        const auto hex = [&row](std::size_t i) { return std::stoull(row[i], nullptr, 16); };
        EXPECT_EQ(pos->hash, hex(1));
        EXPECT_EQ(pos->pawn_hash, hex(2));
        EXPECT_EQ(SearchKey(pos), hex(3));
        for (std::size_t c : {0u, 1u}) {
            EXPECT_EQ(pos->sig[c], hex(4 + c));
            EXPECT_EQ(pos->npm[c], std::stoi(row[6 + c]));
            EXPECT_EQ(PawnCount(pos->sig[c]), CountBits(pos->bb[c][PAWN]));
            EXPECT_EQ(KnightCount(pos->sig[c]), CountBits(pos->bb[c][KNIGHT]));
            EXPECT_EQ(BishopCount(pos->sig[c]), CountBits(pos->bb[c][BISHOP]));
            EXPECT_EQ(RookCount(pos->sig[c]), CountBits(pos->bb[c][ROOK]));
            EXPECT_EQ(QueenCount(pos->sig[c]), CountBits(pos->bb[c][QUEEN]));
        }
    });
}

}  // namespace

// Exchanges: those of single moves, and what each side wins on each square of a position.
#include "board/reference.h"

namespace {

using ExchangeTest = EngineTest;

TEST_F(ExchangeTest, ForcedCapturesAndSafetyAgreeWithTheTable) {
    ForEachMoveOfTable([](Position* pos, const MoveEntry* e, const Row& row) {
        const std::string before = Describe(pos, true);
        const int from = MoveFrom(e->move), to = MoveTo(e->move);
        EXPECT_EQ(std::to_string(MoveIsSafe(pos, e->move)), row[SAFE]);
        EXPECT_EQ(std::to_string(swapoff1(pos, pos->side, from, to, Occupied(pos))), row[EXCHANGE]);
        EXPECT_EQ(Describe(pos, true), before);
    });
}

TEST_F(ExchangeTest, FreeExchangesAgreeWithTheTable) {
    ForEachRow("keys.tsv", [](Position* pos, const Row& row) {
        std::ostringstream gains;
        for (int s = 0; s < SQUARE_COUNT; ++s) {
            const int taker = PieceColour(pos->board[s]) ^ 1;
            const int gain = swapoff1(pos, taker, NO_SQUARE, s, Occupied(pos));
            if (gain != 0) { gains << square_name[s] << ':' << gain << ' '; }
        }
        EXPECT_EQ(gains.str(), row[10].empty() ? "" : row[10] + ' ');
    });
}

}  // namespace

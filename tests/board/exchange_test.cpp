// Exchanges: those of single moves, and what each side wins on each square of a position.
#include <gtest/gtest.h>

#include "board/reference.h"

namespace {

using ExchangeTest = EngineTest;

TEST_F(ExchangeTest, ForcedCapturesAndSafetyAgreeWithTheTable) {
    ForEachMoveOfTable([](Position* pos, const MoveEntry* e, const auto& row) {
        const std::string where = row[FEN] + " " + row[COORD];
        const std::string before = Describe(pos, true);
        EXPECT_EQ(std::to_string(MoveIsSafe(pos, e->move)), row[SAFE]) << where;
        EXPECT_EQ(std::to_string(
                      swapoff1(pos, pos->side, MoveFrom(e->move), MoveTo(e->move), Occupied(pos))),
                  row[EXCHANGE])
            << where;
        EXPECT_EQ(Describe(pos, true), before) << where;
    });
}

TEST_F(ExchangeTest, FreeExchangesAgreeWithTheTable) {
    for (const auto& row : ReadTable("keys.tsv")) {
        Position* pos = SetGame(row[0]);
        std::string gains;
        for (int s = 0; s < SQUARE_COUNT; ++s) {
            if (pos->board[s] == NO_PIECE) { continue; }
            const int gain =
                swapoff1(pos, PieceColour(pos->board[s]) ^ 1, NO_SQUARE, s, Occupied(pos));
            if (gain == 0) { continue; }
            gains += (gains.empty() ? "" : " ") + std::string(square_name[s]) + ":" +
                     std::to_string(gain);
        }
        EXPECT_EQ(gains, row[10]) << row[0];
    }
}

}  // namespace

// The generators: lists in their order, special moves, and how long a list can be.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "board/reference.h"

namespace {

using MoveGenTest = EngineTest;

TEST_F(MoveGenTest, EveryListAgreesWithTheTableInOrder) {
    std::map<std::string, std::ptrdiff_t> lengths;
    ForEachMoveOfTable([&](const Position* pos, const MoveEntry* e, const auto& row) {
        const std::string where = row[FEN] + " " + row[COORD];
        ASSERT_EQ(std::to_string(e->move), row[MOVE]) << where;
        EXPECT_EQ(std::to_string(e->piece), row[MOVER]) << where;
        EXPECT_EQ(std::to_string(e->captured), row[CAPTURED]) << where;
        EXPECT_EQ(std::to_string(e->score), row[SCORE]) << where;
        const MoveEntry* list = pos->sstack[pos->ply].list_start;
        lengths[row[FEN]] = e + 1 - list;
    });
    for (const auto& [fen, length] : lengths) {
        Position* pos = SetGame(fen);
        EXPECT_EQ(std::ssize(AllMoves(pos)), length) << fen;
        const PlyData* pd = &pos->sstack[pos->ply];
        EXPECT_EQ(pd[1].list_start, pd->list_start + length + 1) << fen;
        EXPECT_EQ(pd[2].list_start, pd->list_start + length + 2) << fen;
    }
}

TEST_F(MoveGenTest, CastlingAndEnPassantNeedTheirPieces) {
    for (const auto& row : ReadTable("unusual_moves.tsv")) {
        Position* pos = SetGame(row[0]);
        int generated = 0, legal = 0;
        for (const MoveEntry& e : AllMoves(pos)) {
            if (MoveText(e.move) != row[1]) { continue; }
            ++generated;
            legal += MoveIsLegal(pos, pos->side, e.move);
        }
        EXPECT_EQ(std::to_string(generated), row[2]) << row[0] << ' ' << row[1];
        EXPECT_EQ(std::to_string(legal), row[3]) << row[0] << ' ' << row[1];
    }
}

// Nine of a kind are all that a piece list holds: promotions to it are left out.
TEST_F(MoveGenTest, FullBoardsFitTheListAndPromoteOnlyWhereThereIsRoom) {
    const struct {
        const char* fen;
        int moves;
        int promotions;
    } cases[] = {
        {"BBQ3QB/R3Q3/1Q5R/R6Q/Q4Q1N/B2Q3Q/B2N1K1N/B1RBRkRB w - -", 232, 0},
        {"NBRBNBRQ/BQ1Q1R1P/Q3R1PP/Q2NQNPP/Q1Q1NBNP/Q2R1RkP/P1K1R1RP/BRBNBNBN w - -", 160, 0},
        {"1n6/P7/8/QQQQQQQQ/Q7/8/8/k6K w - -", 0, 6},
        {"n1n5/1P6/8/RRRRRRRR/R7/8/8/k6K w - -", 0, 9},
        {"7K/8/8/r7/rrrrrrrr/bbbbbbbb/bp6/2Nk4 b - -", 0, 4},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        const std::vector<MoveEntry> moves = AllMoves(pos);
        EXPECT_LT(std::ssize(moves), MAX_LIST_SIZE) << c.fen;
        if (c.moves != 0) { EXPECT_EQ(std::ssize(moves), c.moves) << c.fen; }
        EXPECT_EQ(
            std::ranges::count_if(moves, [](const MoveEntry& e) { return IsPromotion(e.move); }),
            c.promotions)
            << c.fen;
        for (const MoveEntry& e : moves) {
            MakeMove(pos, e.move);
            EXPECT_TRUE(PositionIsSound(pos)) << c.fen << ' ' << MoveText(e.move);
            UnmakeMove(pos);
        }
    }
}

}  // namespace

// The generators: lists in their order, special moves, and how long a list can be.
#include "board/reference.h"

namespace {

using MoveGenTest = EngineTest;

TEST_F(MoveGenTest, EveryListAgreesWithTheTableInOrder) {
    std::size_t entries = 0;
    ForEachMoveOfTable([&entries](Position* pos, const MoveEntry* e, const Row& row) {
        EXPECT_EQ(std::to_string(e->move), row[MOVE]);
        EXPECT_EQ(std::to_string(e->piece), row[MOVER]);
        EXPECT_EQ(std::to_string(e->captured), row[CAPTURED]);
        EXPECT_EQ(std::to_string(e->score), row[SCORE]);
        if (row[INDEX] != "0") { return; }
        const PlyData* pd = &pos->sstack[pos->ply];
        EXPECT_EQ(pd[1].list_start[-1].move, END_OF_LIST);
        EXPECT_EQ(pd[1].list_start + 1, pd[2].list_start);
        entries += AllMoves(pos).size();
    });
    EXPECT_EQ(entries, ReadTable("moves.tsv").size());
}

TEST_F(MoveGenTest, CastlingEnPassantAndUnusualChecksAgreeWithTheTable) {
    ForEachRow("unusual_moves.tsv", [](Position* pos, const Row& row) {
        int generated = 0;
        for (const MoveEntry& e : AllMoves(pos)) {
            if (MoveText(e.move) != row[1]) { continue; }
            ++generated;
            EXPECT_EQ(std::to_string(MoveIsLegal(pos, pos->side, e.move)), row[3]);
            EXPECT_EQ(std::to_string(MoveGivesCheck(pos, pos->side, &e)), row[4]);
        }
        EXPECT_EQ(std::to_string(generated), row[2]);
    });
}

// Nine of a kind are all that a piece list holds: promotions to it are left out.
TEST_F(MoveGenTest, FullBoardsFitTheListAndPromoteOnlyWhereThereIsRoom) {
    ForEachRow("full_lists.tsv", [](Position* pos, const Row& row) {
        const std::vector<MoveEntry> moves = AllMoves(pos);
        int promotions = 0;
        for (const MoveEntry& e : moves) {
            promotions += IsPromotion(e.move);
            MakeMove(pos, e.move);
            EXPECT_TRUE(PositionIsSound(pos)) << MoveText(e.move);
            UnmakeMove(pos);
        }
        EXPECT_EQ(std::to_string(moves.size()), row[1]);
        EXPECT_EQ(std::to_string(promotions), row[2]);
    });
}

}  // namespace

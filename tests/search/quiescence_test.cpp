// Quiescence search: which moves it lists, in which order, and which of them it leaves out.
#include "search/searching.h"

namespace {

class QuiescenceTest : public SearchingTest {};

// Captures come best first, then quiet checks and pushes to the seventh rank. Moves that promise
// too little are listed but not searched; "!" says that some move was searched.
TEST_F(QuiescenceTest, ListsMovesAndLeavesOutThoseThatPromiseTooLittle) {
    for (const auto& row : ReadTable("quiescence.tsv")) {
        const auto number = [&row](std::size_t i) { return std::stoi(row[i]); };
        ThreadBlock* tb = SetNode(row[0], 3);
        tb->pos.last_move = row[1] == "-" ? NO_MOVE : Word(row[1]);
        PlyData& ply = tb->ply_data[3];
        ply.static_eval = static_cast<i16>(number(4));
        ply.list_start->move = END_OF_LIST;
        tb->nodes = 0;
        Q_Search(tb, number(3), {number(5), number(6)}, number(2), pv_);
        std::string moves = tb->nodes > 0 ? "!" : "-";
        for (const MoveEntry* e = ply.list_start; e->move != END_OF_LIST; ++e) {
            moves += ' ' + MoveText(e->move);
        }
        EXPECT_EQ(moves, row[7]) << testing::PrintToString(row);
    }
}

}  // namespace

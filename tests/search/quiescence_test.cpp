// Quiescence search: which moves it lists, in which order, and which of them it leaves out.
#include "search/searching.h"

namespace {

class QuiescenceTest : public SearchingTest {
protected:
    // Searches the position at ply 3, the last move having been `last_move` ("-" = none).
    ThreadBlock* Quiesce(const std::vector<std::string>& row, int depth, Window window, int type,
                         int stand) {
        ThreadBlock* tb = SetNode(row[0], 3);
        tb->pos.last_move = row[1] == "-" ? NO_MOVE : Word(row[1]);
        tb->ply_data[3].static_eval = static_cast<i16>(stand);
        tb->nodes = 0;
        Q_Search(tb, depth, window, type, pv_);
        return tb;
    }
};

// Hopeless captures are listed but not searched, so that the list is picked to its end.
TEST_F(QuiescenceTest, ListsCapturesBestFirstThenQuietChecksAndSeventhRankPushes) {
    for (const auto& row : ReadTable("quiescence_lists.tsv")) {
        const ThreadBlock* tb =
            Quiesce(row, std::stoi(row[2]), {9000, INFINITE_SCORE}, NODE_CUT, -9000);
        std::string moves;
        for (const MoveEntry* e = tb->ply_data[3].list_start; e->move != END_OF_LIST; ++e) {
            moves += (moves.empty() ? "" : " ") + MoveText(e->move);
        }
        EXPECT_EQ(moves, row[3]) << row[0];
    }
}

TEST_F(QuiescenceTest, LeavesOutMovesThatPromiseTooLittle) {
    for (const auto& row : ReadTable("quiescence_pruning.tsv")) {
        const auto number = [&row](std::size_t i) { return std::stoi(row[i]); };
        const ThreadBlock* tb =
            Quiesce(row, number(3), {number(5), number(6)}, number(2), number(4));
        EXPECT_EQ(tb->nodes > 0, row[7] == "1") << testing::PrintToString(row);
    }
}

}  // namespace

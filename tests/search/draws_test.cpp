// Draws by repetition and by the fifty-move rule, near the root and further on.
#include "search/draws.h"

#include "search/searching.h"

namespace {

class DrawsTest : public SearchingTest {
protected:
    static void Shuffle(Position* pos, int plies, bool game_moves) {
        const Move moves[] = {Word("g1f3"), Word("g8f6"), Word("f3g1"), Word("f6g8")};
        for (int i = 0; i < plies; ++i) {
            (game_moves ? PlayGameMove : MakeMove)(pos, moves[pos->hist_count % 4]);
        }
    }
};

TEST_F(DrawsTest, RepetitionsAndFiftyMovesAreDrawsUnlessTheSideIsMated) {
    for (const auto& row : ReadTable("draws.tsv")) {
        Position* pos = SetGame(row[0]);
        InitSearch();
        PBlock.root.draw_score[WHITE] = PBlock.root.draw_score[BLACK] = 777;
        Shuffle(pos, std::stoi(row[1]), true);
        Shuffle(pos, std::stoi(row[2]), false);
        if (row[3] != "-") { pos->fifty = static_cast<u8>(std::stoi(row[3])); }
        StandAtPly(std::stoi(row[4]));
        const int score = NodeScore(std::stoi(row[5]));
        const bool mated = score < MATED_SCORE;
        EXPECT_EQ(score == 777 ? "draw"
                  : mated      ? std::to_string(score)
                               : "-",
                  row[6])
            << testing::PrintToString(row);
    }
}

TEST_F(DrawsTest, AFullMoveBufferDoesNotHideTheDraw) {
    ThreadBlock* tb = SetNode("7k/8/8/8/8/8/R7/K7 b - -", 3);
    tb->pos.fifty = FIFTY_MOVE_PLIES + 1;
    tb->ply_data[3].list_start = tb->move_buffer + MOVE_BUFFER_SIZE;
    EXPECT_TRUE(IsFiftyMoveDraw(tb, 0));
}

}  // namespace

// Draws by repetition and by the fifty-move rule, near the root and further on.
#include "search/draws.h"

#include "search/searching.h"

namespace {

class DrawsTest : public SearchingTest {};

// Knights go there and back, first as moves of the game, then as moves of the search.
TEST_F(DrawsTest, RepetitionsAndFiftyMovesAreDrawsUnlessTheSideIsMated) {
    const Move shuffle[] = {Word("g1f3"), Word("g8f6"), Word("f3g1"), Word("f6g8")};
    for (const auto& row : ReadTable("draws.tsv")) {
        Position* pos = SetGame(row[0]);
        InitSearch();
        PBlock.root.draw_score[WHITE] = PBlock.root.draw_score[BLACK] = 777;
        const int game_plies = std::stoi(row[1]), search_plies = std::stoi(row[2]);
        for (int i = 0; i < game_plies + search_plies; ++i) {
            (i < game_plies ? PlayGameMove : MakeMove)(pos, shuffle[i % 4]);
        }
        if (row[3] != "-") { pos->fifty = static_cast<u8>(std::stoi(row[3])); }
        StandAtPly(std::stoi(row[4]));
        if (row[6] == "full") {
            CurrentPly(ThreadData[0])->list_start = ThreadData[0]->move_buffer + MOVE_BUFFER_SIZE;
        }
        const int score = NodeScore(std::stoi(row[5]));
        const bool decided = score == 777 || score < MATED_SCORE;
        EXPECT_EQ(decided ? std::to_string(score) : "-", row[7]) << testing::PrintToString(row);
    }
}

}  // namespace

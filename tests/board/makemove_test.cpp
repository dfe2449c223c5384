// Make and unmake, null moves, the game history and its guard.
#include "board/reference.h"

namespace {

using MakeMoveTest = EngineTest;

TEST_F(MakeMoveTest, RandomWalksKeepTheRecordSoundAndComeBackExactly) {
    std::mt19937 random(8);
    for (int walk = 0; walk < 30; ++walk) {
        ForEachRow("samples.tsv", [&random](Position* pos, const Row&) {
            std::vector<std::string> before;
            Move m = NO_MOVE;
            while (before.size() < 60 && (m = RandomMove(pos, random)) != NO_MOVE) {
                before.push_back(Describe(pos, false));
                if (random() % 8 == 0 && !InCheck(pos, pos->side)) {
                    MakeNullMove(pos);
                    m = NO_MOVE;
                } else {
                    MakeMove(pos, m);
                }
                ASSERT_TRUE(PositionIsSound(pos)) << before.back() << ' ' << m;
                ASSERT_EQ(pos->last_move, m);
                ASSERT_EQ(RecaptureSquare(pos), m == NO_MOVE ? NO_SQUARE : MoveTo(m));
            }
            for (; !before.empty(); before.pop_back()) {
                Play(pos, "-");
                ASSERT_EQ(Describe(pos, false), before.back());
            }
        });
    }
}

TEST_F(MakeMoveTest, RightsFiftyCounterAndPieceListsInOrderOfArrivalAgreeWithTheTable) {
    ForEachRow("made_moves.tsv", [](Position* pos, const Row& row) {
        pos->fifty = 30;
        Play(pos, row[1]);
        EXPECT_EQ(Epd(pos), row[2]);
        EXPECT_EQ(std::to_string(pos->fifty), row[3]);
        int colour = WHITE;
        const int type = PieceTypeOfLetter(row[4][0], &colour);
        std::string squares;
        const u8* list = pos->plist[colour][type];
        while (*list != NO_SQUARE) { squares += square_name[*list++]; }
        EXPECT_EQ(squares, row[5]);
    });
}

TEST_F(MakeMoveTest, FiftyStopsAtItsLimitAndAVeryLongGameStaysWithinTheHistory) {
    Position* pos = SetGame(fen_opn);
    const Move moves[] = {Word("g1f3"), Word("g8f6"), Word("f3g1"), Word("f6g8")};
    for (int i = 0; i < 6001; ++i) {
        PlayGameMove(pos, moves[i % 4]);
        ASSERT_EQ(pos->fifty, std::min(i + 1, FIFTY_COUNTER_MAX));
        ASSERT_LE(pos->hist_count, GAME_HISTORY_LIMIT);
        ASSERT_GE(pos->hist_count, std::min(i + 1, GAME_HISTORY_KEPT));
        ASSERT_EQ(pos->ply, 1);
    }
    for (int last = 6000; pos->hist_count > 0; --last) {
        ASSERT_EQ(pos->last_move, moves[last % 4]);
        TakeBackGameMove(pos);
        ASSERT_EQ(pos->ply, 1);
        ASSERT_TRUE(PositionIsSound(pos));
    }
    EXPECT_EQ(pos->last_move, NO_MOVE);
    EXPECT_EQ(pos->fifty, FIFTY_COUNTER_MAX) << "the oldest part was dropped";
}

}  // namespace

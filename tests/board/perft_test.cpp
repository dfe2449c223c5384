// Leaf counts through the move picker, the mate test, and the move buffer's guard.
#include "board/perft_lines.h"
#include "search/picker.h"

namespace {

TEST(Perft, CountsOfTheCollectionUpTo300000Leaves) { ExpectPerftCounts(300'000, 30'000); }

TEST(Perft, DepthZeroCountsThePosition) {
    ResetEngine();
    SetGame(fen_opn);
    EXPECT_EQ(CountLeaves(0), 1u);
}

TEST(MateTest, TellsMateStalemateAndALegalMoveApart) {
    ResetEngine();
    const struct {
        const char* fen;
        int result;
    } cases[] = {
        {"6k1/5ppp/8/8/8/8/8/K3R3 w - -", 0},
        {"4R1k1/5ppp/8/8/8/8/8/K7 b - -", 1},
        {"7k/5Q2/6K1/8/8/8/8/8 b - -", 2},
        {"7k/5Q2/6K1/8/8/8/p7/8 b - -", 0},
        // The only way out is an en passant capture.
        {"8/4b3/2k5/Pp6/K7/7r/8/8 w - b6", 0},
        {"8/4b3/2k5/Pp6/K7/7r/8/8 w - -", 1},
        {"6rk/6pp/8/6N1/8/8/8/K7 w - -", 0},
        {"6rk/5Npp/8/8/8/8/8/K7 b - -", 1},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        const std::string before = Describe(pos, true);
        EXPECT_EQ(IsMate(pos, InCheck(pos, pos->side)), c.result) << c.fen;
        EXPECT_EQ(Describe(pos, true), before);
    }
}

TEST(MoveBuffer, AListThatWouldNotFitIsLeftOut) {
    ResetEngine();
    ThreadBlock* tb = ThreadData[0];
    const char* queens = "kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -";
    SetGame(queens);
    const u64 all = CountLeaves(2);
    for (int room : {MOVE_BUFFER_SIZE, 1400, 700, 500, 300, 200, 100, 60, 5, 1, 0}) {
        Position* pos = SetGame(queens);
        for (auto& row : tb->history)
            for (i16& value : row) value = 77;
        pos->sstack[1].list_start = tb->move_buffer + MOVE_BUFFER_SIZE - room;
        tb->nodes = 0;
        const int whole = Perft(tb, pos->side, 1, 2);
        if (room >= 2 * MAX_LIST_SIZE) {
            EXPECT_EQ(whole, 1) << room;
        } else if (room <= 100) {
            EXPECT_EQ(whole, 0) << room;
            EXPECT_FALSE(MoveListFits(pos)) << room;
        }
        EXPECT_EQ(tb->nodes == all, whole == 1) << room;
        for (const auto& row : tb->history)
            for (i16 value : row) ASSERT_EQ(value, 77) << "written past the buffer";
        EXPECT_TRUE(PositionIsSound(pos));
    }
}

}  // namespace

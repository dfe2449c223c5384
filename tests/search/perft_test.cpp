// Leaf counts through the move picker, the mate test, and the move buffer's guard.
#include "search/perft_lines.h"
#include "search/picker.h"

namespace {

TEST(Perft, CountsOfTheCollectionUpTo300000Leaves) { ExpectPerftCounts(300'000, 30'000); }

TEST(Perft, DepthZeroCountsThePosition) {
    SetGame(fen_opn);
    EXPECT_EQ(CountLeaves(0), 1u);
}

TEST(MateTest, TellsMateStalemateAndALegalMoveApart) {
    for (const auto& row : ReadTable("mates.tsv")) {
        Position* pos = SetGame(row[0]);
        const std::string before = Describe(pos, true);
        EXPECT_EQ(std::to_string(IsMate(ThreadData[0], InCheck(pos, pos->side))), row[1]) << row[0];
        EXPECT_EQ(Describe(pos, true), before);
    }
}

// What lies after the buffer stays as it was.
TEST(MoveBuffer, AListThatWouldNotFitIsLeftOut) {
    ResetEngine();
    ThreadBlock* tb = ThreadData[0];
    const std::vector<i16> untouched(64, 77);
    for (int room : {MOVE_BUFFER_SIZE, 1400, 700, 500, 300, 200, 100, 60, 5, 1, 0}) {
        Position* pos = SetGame("kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -");
        i16* after = &tb->history[0][0];
        std::copy(untouched.begin(), untouched.end(), after);
        pos->sstack[1].list_start = tb->move_buffer + MOVE_BUFFER_SIZE - room;
        tb->nodes = 0;
        const bool whole = Perft(tb, 2);
        EXPECT_EQ(whole, tb->nodes == 6004) << tb->nodes;
        EXPECT_TRUE(room < 2 * MAX_LIST_SIZE || whole) << room;
        EXPECT_TRUE(room > 100 || !whole) << room;
        EXPECT_TRUE(std::equal(untouched.begin(), untouched.end(), after)) << room;
    }
}

}  // namespace

// Leaf counts through the move picker, the mate test, and the move buffer's guard.
#include "search/perft.h"

#include <algorithm>

#include "search/searching.h"

namespace {

// On the fresh position, and once more after random moves, all taken back, have shuffled its piece
// lists.
TEST(Perft, LeavesOfTheCollection) {
    ResetEngine();
    ThreadBlock* tb = ThreadData[0];
    std::mt19937 random(9);
    for (const auto& row : ReadTable("perft.tsv")) {
        Position* pos = SetGame(row[0]);
        for (const u64 most : {u64{VESK_MOST_LEAVES}, u64{VESK_MOST_LEAVES} / 10}) {
            for (std::size_t column = 1; column < row.size(); ++column) {
                if (row[column] == "-" || std::stoull(row[column]) > most) { continue; }
                tb->nodes = 0;
                EXPECT_TRUE(Perft(tb, static_cast<int>(column) - 1));
                EXPECT_EQ(std::to_string(tb->nodes), row[column]) << row[0];
            }
            for (int made = 0; made < 150; ++made) {
                if (const Move m = RandomMove(pos, random)) { PlayGameMove(pos, m); }
            }
            while (pos->hist_count > 0) { TakeBackGameMove(pos); }
        }
    }
}

TEST(MateTest, TellsMateStalemateAndALegalMoveApart) {
    for (const auto& row : ReadTable("mates.tsv")) {
        const Position* pos = SetGame(row[0]);
        EXPECT_EQ(std::to_string(IsMate(ThreadData[0], InCheck(pos, pos->side))), row[1]) << row[0];
    }
}

// What lies after the buffer stays as it was.
TEST(MoveBuffer, AListThatWouldNotFitIsLeftOut) {
    ResetEngine();
    ThreadBlock* tb = ThreadData[0];
    for (int room : {MOVE_BUFFER_SIZE, 1400, 700, 500, 300, 200, 100, 60, 5, 1, 0}) {
        Position* pos = SetGame("kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -");
        i16* after = &tb->history[0][0];
        std::fill_n(after, 64, i16{77});
        pos->sstack[1].list_start = tb->move_buffer + MOVE_BUFFER_SIZE - room;
        tb->nodes = 0;
        const bool whole = Perft(tb, 2);
        EXPECT_EQ(whole, tb->nodes == 6004) << tb->nodes;
        EXPECT_TRUE(room < 2 * MAX_LIST_SIZE || whole) << room;
        EXPECT_TRUE(room > 100 || !whole) << room;
        EXPECT_EQ(std::count(after, after + 64, 77), 64) << room;
    }
}

}  // namespace

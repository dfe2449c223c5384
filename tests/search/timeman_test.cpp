// Time management: targets, the rules that end a search, the branching factor.
#include <algorithm>
#include <tuple>

#include "eval/personality.h"
#include "platform/clock.h"
#include "search/searching.h"

namespace {

constexpr Move e2e4 = Word("e2e4");

class TimeTest : public SearchingTest {};

TEST_F(TimeTest, TargetsAgreeWithTheTable) {
    int side = WHITE;
    for (const auto& row : ReadTable("times.tsv")) {
        SCOPED_TRACE(testing::PrintToString(row));
        side ^= 1;
        PBlock.time.clock[side] = std::stod(row[0]);
        PBlock.time.base_time = std::stod(row[1]);
        PBlock.time.increment = std::stod(row[2]);
        PBlock.time.moves_per_control = static_cast<u8>(std::stoi(row[3]));
        PBlock.time.moves_to_go = static_cast<u16>(std::stoi(row[4]));
        PBlock.options.ponder = static_cast<u16>(std::stoi(row[6]));
        PBlock.options.protocol = static_cast<u16>(row[7] == "1" ? PROTOCOL_UCI : PROTOCOL_CONSOLE);
        SetTargetTime(side, std::stoi(row[5]));
        EXPECT_NEAR(PBlock.time.target_time, std::stod(row[8]), 1e-9);
        EXPECT_EQ(PBlock.time.moves_to_go, std::stoi(row[9]));
        EXPECT_EQ(PBlock.time.clock[side], std::stod(row[row[3] == "1" ? 1 : 0]));
    }
}

TEST_F(TimeTest, NewSearchTakesOverTheGame) {
    Personality.draw_score = 12;
    PlayGameMove(game_position, e2e4);
    InitSearch();
    EXPECT_EQ(PBlock.root.draw_score[BLACK], 12);
    EXPECT_EQ(PBlock.root.draw_score[WHITE], -12);
    EXPECT_EQ(PBlock.root.tt_age, 1);
    EXPECT_EQ(ThreadData[1]->pos.undo[0].move, e2e4);
    EXPECT_TRUE(PositionIsSound(&ThreadData[1]->pos));
}

// Slot 1 prefers e2e4, slot 2 d2d4. 1 % of the clock, which the instability of the result adds, is
// 10 s in its rows. The last column is how long the command loop may sleep before it looks again.
TEST_F(TimeTest, SearchEndsByItsLimitAndTheInstabilityOfItsResult) {
    PBlock.options.threads = 2;
    ASSERT_NE(NewThreadBlock(2), nullptr);
    ThreadBlock *main = ThreadData[1], *other = ThreadData[2];
    for (const auto& row : ReadTable("stops.tsv")) {
        SCOPED_TRACE(testing::PrintToString(row));
        InitSearch();
        PBlock.control.search_state = static_cast<u8>(std::stoi(row[0]));
        PBlock.time.start_time = MonotonicSeconds() - std::stoi(row[2]);
        PBlock.time.target_time = std::stoi(row[3]);
        PBlock.time.clock[WHITE] = std::stod(row[4]);
        PBlock.time.moves_per_control = static_cast<u8>(std::stoi(row[5]));
        PBlock.options.comm_overhead = std::stod(row[6]);
        PBlock.progress.easy_move = static_cast<u8>(std::stoi(row[7]));
        ResultSnapshot result;
        result.score = std::stoi(row[9]);
        result.depth_done = std::stoi(row[1]);
        result.change_depth = std::stoi(row[10]);
        result.pv[1] = e2e4;
        PBlock.result.PublishSnapshot(result);
        main->best_score_by_depth[7] = static_cast<i16>(std::stoi(row[8]));
        main->root_move = e2e4;
        main->iteration_depth = 8;
        main->running_score = static_cast<i16>(std::stoi(row[11]));
        main->root_status = static_cast<u8>(std::stoi(row[12]));
        other->root_move = Word("d2d4");
        other->iteration_depth = static_cast<i8>(std::stoi(row[13]));
        other->running_score = static_cast<i16>(std::stoi(row[14]));
        other->root_status = static_cast<u8>(std::stoi(row[15]));
        const double wait = SecondsToTimeout();
        SearchTimeout();
        EXPECT_EQ(PBlock.control.stop, std::stoi(row[16]));
        EXPECT_DOUBLE_EQ(wait, std::stod(row[17]));
    }
}

TEST_F(TimeTest, BranchingFactorSpansFourIterations) {
    ThreadBlock* tb = ThreadData[1];
    std::fill_n(tb->nodes_by_depth, 9, u64{1});
    tb->nodes_by_depth[8] = 81000;
    for (const auto& [completed, earlier, factor] :
         {std::tuple(8, 1000, 3.0), std::tuple(8, 0, 2.0), std::tuple(5, 1000, 2.0)}) {
        PBlock.progress.completed_depth = static_cast<i8>(completed);
        tb->nodes_by_depth[4] = static_cast<u64>(earlier);
        EXPECT_DOUBLE_EQ(EffectiveBranchingFactor(), factor);
    }
}

}  // namespace

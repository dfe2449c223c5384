// Time management: targets, the rules that end a search, the branching factor.
#include <gtest/gtest.h>

#include <cmath>

#include "eval/personality.h"
#include "frontend/pblock.h"
#include "search/search.h"
#include "support/engine.h"

namespace {

class TimeTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine(1);
        SetGame(fen_opn);
        PBlock.start_request = SEARCH_THINK;
    }

    // A search that stands at iteration `depth` and published e2e4 with `score`; half a minute old
    // clocks, far from any limit.
    void Pretend(int depth, int score) {
        InitSearch();
        GetElapsedTime(1);
        PBlock.search_state = SEARCH_THINK;
        PBlock.moves_per_control = 0;
        PBlock.clock[WHITE] = PBlock.clock[BLACK] = 1000.0;
        PBlock.target_time = 500.0;
        PBlock.iteration_depth = static_cast<i8>(depth);
        PBlock.depth_done = static_cast<i8>(depth);
        PBlock.change_depth = 1;
        PBlock.score = static_cast<i16>(score);
        PBlock.pv[1] = e2e4;
        ThreadBlock* tb = ThreadData[1];
        tb->iteration_depth = static_cast<i8>(depth);
        tb->root_move = tb->pv[1] = e2e4;
        tb->running_score = static_cast<i16>(score);
        tb->root_status = ROOT_NORMAL;
        tb->best_score_by_depth[depth - 1] = static_cast<i16>(score);
    }

    static int StopAfterPoll() {
        PBlock.stop = STOP_NONE;
        SearchTimeout();
        return PBlock.stop;
    }

    // The instability percentage behind SearchTimeout's limit. With 1000 s on the clock each
    // percent adds 10 s, so a target of -10p-5 s ends the search exactly when the percentage is at
    // most p.
    static int Instability() {
        for (int p = 0; p <= 20; ++p) {
            PBlock.target_time = -10.0 * p - 5.0;
            if (StopAfterPoll() != STOP_NONE) return p;
        }
        return -1;
    }

    static void WaitUntil(double seconds) {
        do GetElapsedTime(0);
        while (PBlock.elapsed <= seconds);
    }

    static constexpr Move e2e4 = MakeMoveWord(12, 28);
    static constexpr Move d2d4 = MakeMoveWord(11, 27);
};

TEST_F(TimeTest, TargetsAgreeWithTheTable) {
    int line = 0;
    for (const auto& row : ReadTable("times.tsv")) {
        const int side = ++line % 2;
        PBlock.clock[side] = std::stod(row[0]);
        PBlock.clock[side ^ 1] = 12345.0;
        PBlock.base_time = std::stod(row[1]);
        PBlock.increment = std::stod(row[2]);
        PBlock.moves_per_control = static_cast<u8>(std::stoi(row[3]));
        PBlock.moves_to_go = static_cast<u16>(std::stoi(row[4]));
        PBlock.ponder = static_cast<u16>(std::stoi(row[6]));
        PBlock.protocol = static_cast<u16>(row[7] == "1" ? PROTOCOL_UCI : PROTOCOL_CONSOLE);
        const int history = std::stoi(row[5]);
        if (line % 3 == 0) {
            game_position->side = static_cast<u8>(side);
            game_position->hist_count = static_cast<i16>(history);
            InitSearch();
            game_position->hist_count = 0;
        } else {
            SetTargetTime(side, history);
        }
        EXPECT_NEAR(PBlock.target_time, std::stod(row[8]), 1e-9) << "line " << line;
        EXPECT_EQ(PBlock.moves_to_go, std::stoi(row[9])) << "line " << line;
        EXPECT_EQ(PBlock.clock[side ^ 1], 12345.0);
    }
    EXPECT_GT(line, 2000);
    PBlock.moves_per_control = 1;
    PBlock.base_time = 2.0;
    InitSearch();
    EXPECT_EQ(PBlock.target_time, 2.0);
    EXPECT_EQ(PBlock.clock[game_position->side], 2.0);
}

TEST_F(TimeTest, NewSearchStartsFromClearedFields) {
    ThreadBlock* tb = ThreadData[1];
    PBlock.stop = STOP_QUIT;
    PBlock.score = 5;
    PBlock.depth_done = 9;
    PBlock.pv[1] = PBlock.pv[40] = e2e4;
    tb->nodes = 99;
    tb->root_status = ROOT_ABANDONED;
    Personality.draw_score = 12;
    PlayGameMove(game_position, e2e4);
    InitSearch();
    EXPECT_EQ(PBlock.stop, STOP_NONE);
    EXPECT_EQ(PBlock.score, -10000);
    EXPECT_EQ(PBlock.depth_done, 0);
    for (Move m : PBlock.pv) EXPECT_EQ(m, NO_MOVE);
    EXPECT_EQ(PBlock.draw_score[BLACK], 12);
    EXPECT_EQ(PBlock.draw_score[WHITE], -12);
    EXPECT_EQ(PBlock.tt_age, 1);
    EXPECT_EQ(tb->nodes, 0u);
    EXPECT_EQ(tb->root_status, ROOT_NORMAL);
    EXPECT_EQ(tb->pos.undo, tb->undo);
    EXPECT_EQ(tb->undo[0].move, e2e4);
    EXPECT_EQ(tb->undo[1].move, NO_MOVE);
    EXPECT_TRUE(PositionIsSound(&tb->pos));
}

TEST_F(TimeTest, LimitsEndTheSearchOnlyFromDepthTwoAndNotWhilePondering) {
    Pretend(2, 10);
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    PBlock.target_time = 0.0;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
    PBlock.depth_done = 1;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    PBlock.depth_done = 2;
    PBlock.search_state = SEARCH_PONDER;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    PBlock.search_state = SEARCH_ANALYSE;
    EXPECT_EQ(StopAfterPoll(), STOP_ABANDON);
    PBlock.search_state = SEARCH_THINK;
    PBlock.stop = STOP_QUIT;
    SearchTimeout();
    EXPECT_EQ(PBlock.stop, STOP_QUIT);

    // The clock's last tenths, and the overhead, count except with a fixed time per move.
    PBlock.target_time = 50.0;
    PBlock.clock[WHITE] = 0.12;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
    PBlock.moves_per_control = 1;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    PBlock.clock[WHITE] = 1000.0;
    PBlock.comm_overhead = 40.0;
    PBlock.target_time = 30.0;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    PBlock.moves_per_control = 0;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
}

TEST_F(TimeTest, EasyMovesEndEarly) {
    Pretend(8, 10);
    PBlock.easy_move = 1;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
    PBlock.easy_move = 2;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
    WaitUntil(0.03);
    PBlock.target_time = 0.05;
    PBlock.comm_overhead = 0.0;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
    PBlock.easy_move = 0;
    PBlock.target_time = 500.0;
    EXPECT_EQ(StopAfterPoll(), STOP_NONE);
}

TEST_F(TimeTest, InstabilityStretchesTheTarget) {
    PBlock.threads = 2;
    ASSERT_NE(NewThreadBlock(2), nullptr);
    ThreadBlock* main = ThreadData[1];
    ThreadBlock* other = ThreadData[2];
    Pretend(8, 50);
    EXPECT_EQ(Instability(), 0);
    main->root_status = ROOT_FIRST_FAILS_LOW;
    main->running_score = 20;
    EXPECT_EQ(Instability(), 0) << "too early to judge";
    WaitUntil(0.02);
    EXPECT_EQ(Instability(), 15);
    main->running_score = 50;
    EXPECT_EQ(Instability(), 0);

    // Another thread that prefers another move.
    const struct {
        int depth, score, status, percent;
    } others[] = {{8, 51, ROOT_FAILS_HIGH, 10}, {8, 51, ROOT_LATER_FAILS_HIGH, 4},
                  {8, 66, ROOT_NORMAL, 3},      {8, 65, ROOT_NORMAL, 0},
                  {8, 50, ROOT_FAILS_HIGH, 0},  {7, 90, ROOT_FAILS_HIGH, 0},
                  {9, 90, ROOT_FAILS_HIGH, 10}};
    main->root_status = ROOT_NORMAL;
    for (const auto& c : others) {
        other->iteration_depth = static_cast<i8>(c.depth);
        other->root_move = other->pv[1] = d2d4;
        other->running_score = static_cast<i16>(c.score);
        other->root_status = static_cast<u8>(c.status);
        EXPECT_EQ(Instability(), c.percent) << c.depth << ' ' << c.score << ' ' << c.status;
    }
    other->iteration_depth = 0;

    // The score falls against the last iteration's: steps of |previous| / 16 + 15.
    const struct {
        int previous, score, percent;
    } drops[] = {{0, -15, 0},   {0, -16, 3},   {0, -30, 3},     {0, -31, 6},
                 {0, -60, 6},   {0, -61, 14},  {799, 735, 0},   {799, 734, 3},
                 {800, 735, 0}, {800, 734, 3}, {-160, -185, 0}, {-160, -186, 3}};
    for (const auto& c : drops) {
        main->best_score_by_depth[7] = static_cast<i16>(c.previous);
        PBlock.score = main->running_score = static_cast<i16>(c.score);
        EXPECT_EQ(Instability(), c.percent) << c.previous << ' ' << c.score;
    }
    main->best_score_by_depth[7] = PBlock.score = 0;
    for (int change : {6, 7, 8}) {
        PBlock.change_depth = static_cast<i8>(change);
        EXPECT_EQ(Instability(), change >= 7 ? 1 : 0) << change;
    }
}

TEST_F(TimeTest, BranchingFactorSpansFourIterations) {
    ThreadBlock* tb = ThreadData[1];
    tb->nodes_by_depth[8] = 81000;
    tb->nodes_by_depth[4] = 1000;
    tb->nodes_by_depth[5] = 1;
    PBlock.completed_depth = 8;
    EXPECT_DOUBLE_EQ(EffectiveBranchingFactor(), 3.0);
    tb->nodes_by_depth[4] = 0;
    EXPECT_EQ(EffectiveBranchingFactor(), 2.0);
    PBlock.completed_depth = 5;
    EXPECT_EQ(EffectiveBranchingFactor(), 2.0);
}

}  // namespace

// Time management: targets, the rules that end a search, the branching factor.
#include "eval/personality.h"
#include "search/searching.h"

namespace {

class TimeTest : public SearchingTest {
protected:
    void SetUp() override {
        SearchingTest::SetUp();
        PBlock.control.start_request = SEARCH_THINK;
    }

    // A search that stands at iteration `depth` and published e2e4 with a score of 50; its clocks
    // are far from any limit.
    static void Pretend(int depth) {
        InitSearch();
        GetElapsedTime(1);
        PBlock.time.clock[WHITE] = PBlock.time.clock[BLACK] = 1000.0;
        PBlock.time.target_time = 500.0;
        PretendResult(50, depth, 1);
        ThreadBlock* tb = ThreadData[1];
        tb->iteration_depth = static_cast<i8>(depth);
        tb->root_move = tb->pv[1] = e2e4;
        tb->running_score = tb->best_score_by_depth[depth - 1] = 50;
    }

    static void PretendResult(int score, int depth, int change_depth) {
        ResultSnapshot result;
        result.score = score;
        result.depth_done = depth;
        result.change_depth = change_depth;
        result.pv[1] = e2e4;
        PBlock.result.PublishSnapshot(result);
    }

    static int StopAfterPoll() {
        PBlock.control.stop = STOP_NONE;
        SearchTimeout();
        return PBlock.control.stop;
    }

    // The instability percentage behind SearchTimeout's limit. With 1000 s on the clock each
    // percent adds 10 s, so a target of -10p-5 s ends the search exactly when the percentage is at
    // most p.
    static int Instability() {
        for (int p = 0; p <= 20; ++p) {
            PBlock.time.target_time = -10.0 * p - 5.0;
            if (StopAfterPoll() != STOP_NONE) { return p; }
        }
        return -1;
    }

    static constexpr Move e2e4 = Word("e2e4");
};

TEST_F(TimeTest, TargetsAgreeWithTheTable) {
    int line = 0;
    for (const auto& row : ReadTable("times.tsv")) {
        const int side = ++line % 2;
        PBlock.time.clock[side] = std::stod(row[0]);
        PBlock.time.base_time = std::stod(row[1]);
        PBlock.time.increment = std::stod(row[2]);
        PBlock.time.moves_per_control = static_cast<u8>(std::stoi(row[3]));
        PBlock.time.moves_to_go = static_cast<u16>(std::stoi(row[4]));
        PBlock.options.ponder = static_cast<u16>(std::stoi(row[6]));
        PBlock.options.protocol = static_cast<u16>(row[7] == "1" ? PROTOCOL_UCI : PROTOCOL_CONSOLE);
        SetTargetTime(side, std::stoi(row[5]));
        EXPECT_NEAR(PBlock.time.target_time, std::stod(row[8]), 1e-9) << "line " << line;
        EXPECT_EQ(PBlock.time.moves_to_go, std::stoi(row[9])) << "line " << line;
    }
}

TEST_F(TimeTest, NewSearchStartsFromClearedFields) {
    ThreadBlock* tb = ThreadData[1];
    PBlock.control.stop = STOP_QUIT;
    PretendResult(50, 40, 1);
    tb->root_status = ROOT_ABANDONED;
    Personality.draw_score = 12;
    PBlock.time.moves_per_control = 1;
    PBlock.time.base_time = 2.0;
    PlayGameMove(game_position, e2e4);
    InitSearch();
    EXPECT_EQ(PBlock.time.target_time, 2.0);
    EXPECT_EQ(PBlock.time.clock[BLACK], 2.0);
    EXPECT_EQ(PBlock.control.stop, STOP_NONE);
    EXPECT_EQ(Line(PBlock.result.Snapshot().pv), "");
    EXPECT_EQ(PBlock.root.draw_score[BLACK], 12);
    EXPECT_EQ(PBlock.root.draw_score[WHITE], -12);
    EXPECT_EQ(tb->root_status, ROOT_NORMAL);
    EXPECT_EQ(tb->pos.undo[0].move, e2e4);
    EXPECT_TRUE(PositionIsSound(&tb->pos));
}

// The last column is how long the command loop may sleep before it looks at the time.
TEST_F(TimeTest, LimitsEndTheSearchOnlyFromDepthTwoAndNotWhilePondering) {
    for (const auto& row : ReadTable("limits.tsv")) {
        Pretend(2);
        PBlock.control.search_state = static_cast<u8>(std::stoi(row[0]));
        PretendResult(50, std::stoi(row[1]), 1);
        PBlock.time.target_time = std::stod(row[2]);
        PBlock.time.clock[WHITE] = std::stod(row[3]);
        PBlock.time.moves_per_control = static_cast<u8>(std::stoi(row[4]));
        PBlock.options.comm_overhead = std::stod(row[5]);
        PBlock.progress.easy_move = static_cast<u8>(std::stoi(row[6]));
        EXPECT_DOUBLE_EQ(SecondsToTimeout(), std::stod(row[8])) << testing::PrintToString(row);
        EXPECT_EQ(std::to_string(StopAfterPoll()), row[7]) << testing::PrintToString(row);
    }
    // A clear best move is played after half its time; an order to quit stays one.
    Pretend(8);
    PBlock.progress.easy_move = 2;
    PBlock.options.comm_overhead = -1000.0;
    while (PBlock.time.elapsed <= 0.02) { GetElapsedTime(0); }
    PBlock.time.target_time = 0.039;
    EXPECT_EQ(StopAfterPoll(), STOP_FINISH);
    PBlock.control.stop = STOP_QUIT;
    SearchTimeout();
    EXPECT_EQ(PBlock.control.stop, STOP_QUIT);
}

TEST_F(TimeTest, InstabilityStretchesTheTarget) {
    PBlock.options.threads = 2;
    ASSERT_NE(NewThreadBlock(2), nullptr);
    ThreadBlock* main = ThreadData[1];
    ThreadBlock* other = ThreadData[2];
    Pretend(8);
    main->root_status = ROOT_FIRST_FAILS_LOW;
    main->running_score = 20;
    EXPECT_EQ(Instability(), 0) << "too early to judge";
    while (PBlock.time.elapsed <= 0.02) { GetElapsedTime(0); }
    EXPECT_EQ(Instability(), 15);
    main->running_score = 50;
    EXPECT_EQ(Instability(), 0);

    // The score against the last iteration's, in steps of |previous| / 16 + 15; a change of the
    // move late in the search; another thread that prefers another move.
    main->root_status = ROOT_NORMAL;
    other->root_move = other->pv[1] = Word("d2d4");
    for (const auto& row : ReadTable("instability.tsv")) {
        main->best_score_by_depth[7] = static_cast<i16>(std::stoi(row[0]));
        main->running_score = static_cast<i16>(std::stoi(row[1]));
        PretendResult(main->running_score, 8, std::stoi(row[2]));
        other->iteration_depth = static_cast<i8>(std::stoi(row[3]));
        other->running_score = static_cast<i16>(std::stoi(row[4]));
        other->root_status = static_cast<u8>(std::stoi(row[5]));
        EXPECT_EQ(std::to_string(Instability()), row[6]) << testing::PrintToString(row);
    }
}

TEST_F(TimeTest, BranchingFactorSpansFourIterations) {
    ThreadBlock* tb = ThreadData[1];
    tb->nodes_by_depth[8] = 81000;
    tb->nodes_by_depth[4] = 1000;
    tb->nodes_by_depth[5] = tb->nodes_by_depth[1] = 1;
    PBlock.progress.completed_depth = 8;
    EXPECT_DOUBLE_EQ(EffectiveBranchingFactor(), 3.0);
    tb->nodes_by_depth[4] = 0;
    EXPECT_EQ(EffectiveBranchingFactor(), 2.0);
    PBlock.progress.completed_depth = 5;
    EXPECT_EQ(EffectiveBranchingFactor(), 2.0);
}

}  // namespace

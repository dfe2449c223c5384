// The pool of search threads: creation, growth and shrinkage, ending it while it searches, totals.
#include "search/threads.h"

#include <gtest/gtest.h>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "search/search.h"

namespace {

class PoolTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine(1);
        SetGame(SamplePositions()[1]);
        SpinLockCreate(&spinlock1);
        SpinLockCreate(&spinlock2);
        AlertCreate(&front_end_alert);
    }

    void TearDown() override {
        KillThreadPool(PBlock.options.threads);
        AlertDestroy(&front_end_alert);
        SpinLockDestroy(&spinlock2);
        SpinLockDestroy(&spinlock1);
    }

    void Resize(int n) {
        if (running_) { KillThreadPool(PBlock.options.threads); }
        PBlock.options.threads = static_cast<u8>(n);
        ASSERT_EQ(CreateThreadPool(n), 0);
        running_ = true;
        EXPECT_EQ(BusyThreads(), 0);
    }

    static void Start(int depth) {
        PBlock.limits.max_depth = static_cast<i8>(depth);
        PBlock.control.start_request = SEARCH_THINK;
        GetElapsedTime(1);
        InitSearch();
        StartSearch();
    }

    bool running_ = false;
};

TEST_F(PoolTest, SearchesOnOneFourAndTwoThreadsPublishALegalMoveAndTheirTotals) {
    for (int n : {1, 4, 2}) {
        Resize(n);
        Start(8);
        while (BusyThreads() > 0) {
            SearchTimeout();
            SleepEx(1, &front_end_alert);
        }
        WaitUntilIdle();
        EXPECT_NE(PBlock.control.stop, STOP_NONE);
        EXPECT_EQ(PBlock.result.DepthDone(), 8);
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove()));
        ThreadData[0]->nodes = 1u << 30;  // never part of the totals
        Collect();
        u64 nodes = 0, hits = 0;
        for (int slot = 1; slot <= n; ++slot) {
            nodes += ThreadData[slot]->nodes;
            hits += ThreadData[slot]->eval_hits;
            EXPECT_EQ(ThreadData[slot]->pos.hash, game_position->hash);
        }
        EXPECT_GT(ThreadData[1]->nodes, 0u);
        EXPECT_EQ(sstats.nodes, nodes);
        EXPECT_EQ(sstats.eval_hits, hits);
    }
}

TEST_F(PoolTest, EndingThePoolStopsARunningSearchFirst) {
    Resize(3);
    Start(MAX_DEPTH);
    SleepEx(20, &front_end_alert);
    EXPECT_GT(BusyThreads(), 0);
    KillThreadPool(3);
    EXPECT_EQ(BusyThreads(), 0);
    EXPECT_EQ(PBlock.control.stop, STOP_QUIT);
    for (int slot = 1; slot <= 3; ++slot) {
        EXPECT_TRUE(PositionIsSound(&ThreadData[slot]->pos)) << slot;
    }
    ASSERT_EQ(CreateThreadPool(3), 0);
    Start(2);
    WaitUntilIdle();
    EXPECT_EQ(PBlock.result.DepthDone(), 2);
}

}  // namespace

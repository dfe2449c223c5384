// The pool of search threads: creation, growth and shrinkage, ending it while it searches, totals.
#include "search/threads.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "platform/sleep.h"
#include "search/search.h"

namespace {

class PoolTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine(1);
        SetGame(SamplePositions()[1]);
        CreateAlert();
    }

    void TearDown() override {
        KillThreadPool(PBlock.options.threads);
        DestroyAlert();
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
            SleepEx(1);
        }
        WaitUntilIdle();
        EXPECT_NE(PBlock.control.stop, STOP_NONE);
        EXPECT_EQ(PBlock.result.DepthDone(), 8);
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove()));
        ThreadData[0]->nodes = 1u << 30;  // never part of the totals
        const SearchStats totals = Collect();
        u64 nodes = 0, hits = 0;
        for (int slot = 1; slot <= n; ++slot) {
            nodes += ThreadData[slot]->nodes;
            hits += ThreadData[slot]->eval_hits;
            EXPECT_EQ(ThreadData[slot]->pos.hash, game_position->hash);
        }
        EXPECT_GT(ThreadData[1]->nodes, 0u);
        EXPECT_EQ(totals.nodes, nodes);
        EXPECT_EQ(totals.eval_hits, hits);
    }
}

TEST_F(PoolTest, EndingThePoolStopsARunningSearchFirst) {
    Resize(3);
    Start(MAX_DEPTH);
    SleepEx(20);
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

// The system gives neither memory nor threads; what has started is ended like any pool.
#ifndef VESK_INSTRUMENTED
TEST_F(PoolTest, MemoryAndThreadsThatCannotBeHadAreReported) {
    Resize(1);  // its stack stays cached
    KillThreadPool(1);
    FreeThreadBlock(1);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const rlimit tight = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    const int without_memory = CreateThreadPool(1);
    KillThreadPool(1);
    const int without_threads = CreateThreadPool(8);
    KillThreadPool(8);
    setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(without_memory, NO_THREAD_RECORD);
    EXPECT_EQ(without_threads, EAGAIN);
    ASSERT_EQ(CreateThreadPool(1), 0);
}
#endif

}  // namespace

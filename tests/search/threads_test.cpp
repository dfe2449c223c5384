// The pool of search threads: creation, growth and shrinkage, ending it while it searches, totals.
#include "search/threads.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/clock.h"
#include "platform/sleep.h"
#include "search/searching.h"

namespace {

class PoolTest : public SearchingTest {
protected:
    void SetUp() override {
        SearchingTest::SetUp();
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
        Prepare(depth);
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

TEST_F(PoolTest, HelpersBeginFiveMillisecondsAfterTheMainThread) {
    Resize(2);
    const double start = MonotonicSeconds();
    Start(MAX_DEPTH);
    while (ThreadData[2]->command != COMMAND_RUNNING) { std::this_thread::yield(); }
    EXPECT_GE(MonotonicSeconds() - start, 0.005);
}

// Without threads: what the front end makes of the commands.
TEST_F(PoolTest, HelpersThatHaveNotBegunWhenTheSearchEndsDoNotBegin) {
    PBlock.options.threads = 2;
    ASSERT_NE(NewThreadBlock(2), nullptr);
    const struct {
        int slot, command, stop, busy;
    } cases[] = {{2, COMMAND_SEARCH, STOP_NONE, 1},
                 {2, COMMAND_SEARCH, STOP_FINISH, 0},
                 {2, COMMAND_RUNNING, STOP_FINISH, 1},
                 {1, COMMAND_SEARCH, STOP_FINISH, 1}};
    for (const auto& c : cases) {
        PBlock.control.stop = static_cast<u8>(c.stop);
        ThreadData[c.slot]->command = static_cast<u8>(c.command);
        EXPECT_EQ(BusyThreads(), c.busy);
        EXPECT_EQ(ThreadData[c.slot]->command, c.busy ? c.command : COMMAND_IDLE);
        ThreadData[c.slot]->command = COMMAND_IDLE;
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
    int without_memory = 0, without_threads = 0;
    {
        const MemoryLimit limit(0);
        without_memory = CreateThreadPool(1);
        KillThreadPool(1);
        without_threads = CreateThreadPool(8);
        KillThreadPool(8);
    }
    EXPECT_EQ(without_memory, NO_THREAD_RECORD);
    EXPECT_EQ(without_threads, EAGAIN);
    ASSERT_EQ(CreateThreadPool(1), 0);
}
#endif

}  // namespace

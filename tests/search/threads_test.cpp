// The pool of search threads: creation, growth and shrinkage, ending it while it searches, totals.
#include "search/threads.h"

#include <cerrno>
#include <valarray>

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
        KillThreadPool(MAX_THREADS);
        DestroyAlert();
    }

    static void Create(int n) {
        PBlock.options.threads = static_cast<u8>(n);
        ASSERT_EQ(CreateThreadPool(n), 0);
        EXPECT_EQ(BusyThreads(), 0);
    }

    static void Start(int depth) {
        Prepare(depth);
        StartSearch();
    }

    // Of one thread or of all.
    template <typename Counter>
    static std::valarray<u64> Counts(const Counter& c) {
        return {c.nodes,   c.eval_probes, c.eval_hits, c.tt_probes,
                c.tt_hits, c.pawn_probes, c.pawn_hits};
    }
};

TEST_F(PoolTest, SearchesPublishAMoveAndTheirTotalsAndAreStoppedWithTheirPool) {
    for (int n : {1, 4, 2}) {
        Create(n);
        Start(8);
        WaitUntilIdle();
        EXPECT_EQ(PBlock.control.stop, STOP_FINISH);
        EXPECT_EQ(PBlock.result.DepthDone(), 8);
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove()));
        ThreadData[0]->nodes = 1u << 30;  // never part of the totals
        std::valarray<u64> counts = Counts(SearchStats{});
        for (int slot = 1; slot <= n; ++slot) { counts += Counts(*ThreadData[slot]); }
        EXPECT_TRUE((Counts(Collect()) == counts).min());
        EXPECT_GT(ThreadData[1]->pawn_hits, 0u);

        Start(MAX_DEPTH);
        SleepEx(20);
        EXPECT_GT(BusyThreads(), 0);
        KillThreadPool(n);
        EXPECT_EQ(BusyThreads(), 0);
        EXPECT_EQ(PBlock.control.stop, STOP_QUIT);
        for (int slot = 1; slot <= n; ++slot) {
            EXPECT_EQ(ThreadData[slot]->pos.hash, game_position->hash);
            EXPECT_TRUE(PositionIsSound(&ThreadData[slot]->pos)) << slot;
        }
    }
}

TEST_F(PoolTest, HelpersBeginFiveMillisecondsAfterTheMainThread) {
    Create(2);
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
        int slot, stop;
        u8 command, left;
    } cases[] = {{2, STOP_NONE, COMMAND_SEARCH, COMMAND_SEARCH},
                 {2, STOP_FINISH, COMMAND_SEARCH, COMMAND_IDLE},
                 {2, STOP_FINISH, COMMAND_RUNNING, COMMAND_RUNNING},
                 {1, STOP_FINISH, COMMAND_SEARCH, COMMAND_SEARCH}};
    for (const auto& c : cases) {
        PBlock.control.stop = static_cast<u8>(c.stop);
        ThreadData[c.slot]->command = c.command;
        EXPECT_EQ(BusyThreads(), c.left == COMMAND_IDLE ? 0 : 1);
        EXPECT_EQ(ThreadData[c.slot]->command.exchange(COMMAND_IDLE), c.left);
    }
}

// The system gives neither memory nor threads; what has started is ended like any pool.
#ifndef VESK_INSTRUMENTED
TEST_F(PoolTest, MemoryAndThreadsThatCannotBeHadAreReported) {
    Create(1);  // its stack stays cached
    KillThreadPool(1);
    FreeThreadBlock(1);
    WithMemory(0, [] {
        EXPECT_EQ(CreateThreadPool(1), NO_THREAD_RECORD);
        KillThreadPool(1);
        EXPECT_EQ(CreateThreadPool(8), EAGAIN);
        KillThreadPool(8);
    });
    Create(1);
}
#endif

}  // namespace

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
    }

    // Of one thread or of all.
    template <typename Counter>
    static std::valarray<u64> Counts(const Counter& c) {
        return {c.nodes,   c.eval_probes, c.eval_hits, c.tt_probes,
                c.tt_hits, c.pawn_probes, c.pawn_hits};
    }
};

TEST_F(PoolTest, SearchesPublishAMoveAndTheirTotalsAndAreStoppedWithTheirPool) {
    double head_start = 1.0;  // the shortest one, since a busy machine adds to it
    for (int n : {1, 4, 2, 3, 2, 2, 2, 2}) {
        Create(n);
        Prepare(8);
        StartSearch();
        WaitUntilIdle();
        EXPECT_EQ(PBlock.control.stop, STOP_FINISH);
        EXPECT_EQ(PBlock.result.DepthDone(), 8);
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove()));
        ThreadData[0]->nodes = 1u << 30;  // never part of the totals
        std::valarray<u64> counts = Counts(SearchStats{});
        for (int slot = 1; slot <= n; ++slot) { counts += Counts(*ThreadData[slot]); }
        EXPECT_TRUE((Counts(Collect()) == counts).min());
        EXPECT_GT(ThreadData[1]->pawn_hits, 0u);

        Prepare(MAX_DEPTH);
        const double start = MonotonicSeconds();
        StartSearch();
        while (ThreadData[std::min(n, 2)]->command != COMMAND_RUNNING) { SleepEx(1); }
        if (n > 1) { head_start = std::min(head_start, MonotonicSeconds() - start); }
        EXPECT_GT(BusyThreads(), 0);
        KillThreadPool(n);
        EXPECT_EQ(BusyThreads(), 0);
        EXPECT_EQ(PBlock.control.stop, STOP_QUIT);
        for (int slot = 1; slot <= n; ++slot) {
            EXPECT_TRUE(PositionIsSound(&ThreadData[slot]->pos)) << slot;
        }
    }
    EXPECT_GE(head_start, 0.005);
}

// Without threads: what the front end makes of the commands.
TEST_F(PoolTest, HelpersThatHaveNotBegunWhenTheSearchEndsDoNotBegin) {
    PBlock.options.threads = 2;
    ASSERT_NE(NewThreadBlock(2), nullptr);
    const u8 cases[][4] = {{2, STOP_NONE, COMMAND_SEARCH, COMMAND_SEARCH},
                           {2, STOP_FINISH, COMMAND_SEARCH, COMMAND_IDLE},
                           {2, STOP_FINISH, COMMAND_RUNNING, COMMAND_RUNNING},
                           {1, STOP_FINISH, COMMAND_SEARCH, COMMAND_SEARCH}};
    for (const auto& [slot, stop, command, left] : cases) {
        PBlock.control.stop = stop;
        ThreadData[slot]->command = command;
        EXPECT_EQ(BusyThreads(), left == COMMAND_IDLE ? 0 : 1);
        EXPECT_EQ(ThreadData[slot]->command.exchange(COMMAND_IDLE), left);
    }
}

// The system gives neither memory nor threads; what has started is ended like any pool.
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

}  // namespace

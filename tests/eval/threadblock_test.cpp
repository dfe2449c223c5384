// Thread records: their links, and what makes and empties them.
#include "eval/threadblock.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/engine.h"

namespace {

class ThreadBlockTest : public EngineTest {
protected:
    void TearDown() override { FreeThreadBlock(SLOT); }
    static constexpr int SLOT = 5;
};

TEST_F(ThreadBlockTest, ANewBlockIsZeroWithItsLinksSet) {
    ThreadBlock* tb = NewThreadBlock(SLOT);
    ASSERT_NE(tb, nullptr);
    EXPECT_EQ(ThreadData[SLOT], tb);
    EXPECT_EQ(tb->slot, SLOT);
    EXPECT_EQ(tb->pos.undo, tb->undo);
    EXPECT_EQ(tb->pos.sstack, tb->ply_data);
    EXPECT_EQ(tb->pos.ply, 1);
    EXPECT_EQ(tb->ply_data[1].list_start, tb->move_buffer);
    EXPECT_EQ(tb->nodes, 0u);
    EXPECT_NE(tb->seed, ThreadData[1]->seed) << "the order of the root's moves would be the same";
    // A second one takes the place of the first.
    tb->nodes = 7;
    EXPECT_EQ(NewThreadBlock(SLOT)->nodes, 0u);
    FreeThreadBlock(SLOT);
    EXPECT_EQ(ThreadData[SLOT], nullptr);
    FreeThreadBlock(SLOT);  // nothing
}

// The two sides of a position have entries of their own, and every entry is within the cache.
TEST_F(ThreadBlockTest, CacheSlots) {
    ThreadBlock* tb = ThreadData[0];
    for (const u64 key : {u64{0}, u64{1}, u64{16383}, u64{0x123456789ABCDEF0}, ~u64{0}}) {
        EXPECT_EQ(EvalCacheSlot(tb, key, BLACK), EvalCacheSlot(tb, key, WHITE) + 1);
        EXPECT_LT(EvalCacheSlot(tb, key, BLACK), std::end(tb->eval_cache));
        EXPECT_LT(PawnCacheSlot(tb, key), std::end(tb->pawn_cache));
    }
}

TEST_F(ThreadBlockTest, ClearingReachesEveryBlock) {
    ASSERT_NE(NewThreadBlock(SLOT), nullptr);
    for (const int slot : {0, 1, SLOT}) {
        ThreadData[slot]->eval_cache[EVAL_CACHE_SIZE - 1].key = 1;
        ThreadData[slot]->pawn_cache[PAWN_CACHE_SIZE - 1].key = 1;
    }
    ClearEvalCaches();
    for (const int slot : {0, 1, SLOT}) {
        EXPECT_EQ(ThreadData[slot]->eval_cache[EVAL_CACHE_SIZE - 1].key, 0u) << slot;
        EXPECT_EQ(ThreadData[slot]->pawn_cache[PAWN_CACHE_SIZE - 1].key, 0u) << slot;
    }
}

}  // namespace

// Thread records: their links, and what makes and empties them.
#include "eval/threadblock.h"

#include <iterator>

#include "support/engine.h"

namespace {

using ThreadBlockTest = EngineTest;

constexpr int SLOT = 5;

TEST_F(ThreadBlockTest, ANewBlockIsZeroWithItsLinksSetAndTakesThePlaceOfAnOlder) {
    ThreadData[1]->nodes = 7;
    for (const int slot : {1, SLOT}) {
        const ThreadBlock* tb = NewThreadBlock(slot);
        ASSERT_EQ(ThreadData[slot], tb);
        EXPECT_EQ(tb->nodes, 0u);
        EXPECT_EQ(tb->slot, slot);
        EXPECT_EQ(tb->pos.thread_id, slot);
        EXPECT_EQ(tb->pos.undo, tb->undo);
        EXPECT_EQ(tb->pos.sstack, tb->ply_data);
        EXPECT_EQ(tb->pos.ply, 1);
        EXPECT_EQ(tb->ply_data[1].list_start, tb->move_buffer);
    }
    EXPECT_NE(ThreadData[SLOT]->seed, ThreadData[1]->seed) << "their roots have one order";
    FreeThreadBlock(SLOT);
    EXPECT_EQ(ThreadData[SLOT], nullptr);
    FreeThreadBlock(SLOT);  // nothing
}

// The two sides of a position have entries of their own, every entry is within its cache, and
// clearing reaches them in every block.
TEST_F(ThreadBlockTest, CacheSlotsAreWithinTheCachesAndAreCleared) {
    for (ThreadBlock* tb : {NewThreadBlock(SLOT), ThreadData[0]}) {
        for (const u64 key : {u64{0}, u64{1}, u64{16383}, u64{0x123456789ABCDEF0}, ~u64{0}}) {
            EvalCacheEntry* const entry = EvalCacheSlot(tb, key, BLACK);
            EXPECT_EQ(entry, EvalCacheSlot(tb, key, WHITE) + 1);
            ASSERT_LT(entry, std::end(tb->eval_cache));
            ASSERT_LT(PawnCacheSlot(tb, key), std::end(tb->pawn_cache));
            entry->key = PawnCacheSlot(tb, key)->key = 1;
            ClearEvalCaches();
            EXPECT_EQ(entry->key + PawnCacheSlot(tb, key)->key, 0u);
        }
    }
    FreeThreadBlock(SLOT);
}

}  // namespace

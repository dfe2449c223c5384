// Allocation of the thread records and the table of all of them. Needs nothing but memory. The
// front end calls this while the slot's thread is not running; a thread may create the record of
// its own slot.
#include "eval/threadblock.h"

#include <cassert>
#include <cstring>
#include <new>

#include "platform/memory.h"

ThreadBlock* ThreadData[THREAD_SLOTS];

namespace {

constexpr u32 SEED_PER_SLOT = 123;  // secondary threads order their root moves differently

// A whole huge page: the caches are read at random, and small pages would cost a translation each.
constexpr std::size_t BLOCK_BYTES = std::size_t{2} << 20;
static_assert(sizeof(ThreadBlock) <= BLOCK_BYTES);

}  // namespace

ThreadBlock* NewThreadBlock(int slot) {
    assert(slot >= 0 && slot < THREAD_SLOTS);
    FreeThreadBlock(slot);
    void* memory = AllocateLargeBlock(BLOCK_BYTES);
    if (memory == nullptr) { return nullptr; }
    ThreadBlock* tb = new (memory) ThreadBlock();
    tb->slot = static_cast<u8>(slot);
    tb->seed = SEED_PER_SLOT * static_cast<u32>(slot);
    tb->node_target = NO_NODE_TARGET;
    tb->pos.undo = tb->undo;
    tb->pos.sstack = tb->ply_data;
    tb->pos.thread_id = static_cast<u8>(slot);
    tb->pos.ply = 1;
    tb->ply_data[0].list_start = tb->move_buffer;
    tb->ply_data[1].list_start = tb->move_buffer;
    ThreadData[slot] = tb;
    return tb;
}

void FreeThreadBlock(int slot) {
    assert(slot >= 0 && slot < THREAD_SLOTS);
    ThreadBlock* tb = ThreadData[slot];
    if (tb == nullptr) { return; }
    ThreadData[slot] = nullptr;
    tb->~ThreadBlock();
    FreeLargeBlock(tb, BLOCK_BYTES);
}

void ClearEvalCaches() {
    for (ThreadBlock* tb : ThreadData) {
        if (tb == nullptr) { continue; }
        std::memset(tb->eval_cache, 0, sizeof tb->eval_cache);
        std::memset(tb->pawn_cache, 0, sizeof tb->pawn_cache);
        tb->eval_info = EvalInfo{};
    }
}

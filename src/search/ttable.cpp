// The transposition table: sizing, clearing, probing, storing, and reading a line back out of it.
#include "search/ttable.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <utility>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/memory.h"
#include "search/draws.h"
#include "search/picker.h"

TranspositionTable hash_table;

namespace {

constexpr u64 SLOTS_PER_MEGABYTE = 65536;
constexpr u64 BYTES_PER_MEGABYTE = SLOTS_PER_MEGABYTE * sizeof(TTSlot);
// The table may take three of four parts of the memory; threads and files need room as well.
constexpr u64 TABLE_PARTS = 3;
constexpr u64 MEMORY_PARTS = 4;
constexpr u64 SPARE_SLOTS = 32;  // the buckets at both ends reach past the counted slots
constexpr int BUCKET_SLOTS = 4;
constexpr int CHECK_SCORE_OFFSET = 15000;
constexpr int AGE_WEIGHT = 32;        // one search of age outweighs this many plies of depth
constexpr int KEEP_DEPTH_MARGIN = 2;  // a store this much shallower than the slot may be skipped
constexpr int SHALLOWEST_LINE_DEPTH = 1;  // a line is read back from results at least this deep
constexpr int KEEP_ITERATION_MARGIN = 5;  // when the slot is this close to the iteration depth

constexpr u64 ALIGNED_SLOTS = 16;  // the memory holds a multiple of so many

// Fields of a slot's words, by their lowest bit. The move and the key half stand at bit 0.
constexpr int SCORE_BIT = 16;
constexpr int BOUND_BIT = 32;
constexpr int DEPTH_BIT = 40;
constexpr int AGE_BIT = 48;
constexpr int CHECK_BIT = 32;
constexpr u64 AGE_FIELD = u64{0xFFFF} << AGE_BIT;
constexpr int KEY_HALF_BITS = 32;  // the lower half chooses the bucket, the upper one the slot

u32 CheckWord(u32 move, int score, u64 key) {
    return (move << SCORE_BIT) ^ static_cast<u32>(score + CHECK_SCORE_OFFSET) ^
           static_cast<u32>(key);
}

u64 PackData(u32 move, int score, int bound, int depth, int age) {
    return u64{static_cast<u16>(move)} | u64{static_cast<u16>(score)} << SCORE_BIT |
           u64{static_cast<u8>(bound)} << BOUND_BIT |
           u64{static_cast<u8>(depth - TT_EMPTY_DEPTH)} << DEPTH_BIT |
           u64{static_cast<u16>(age)} << AGE_BIT;
}

u64 PackKeys(u32 key_high, u32 check) { return u64{key_high} | u64{check} << CHECK_BIT; }

int ScoreOf(u64 data) { return static_cast<i16>(data >> SCORE_BIT); }
// Stored above the depth of an empty slot, so that zeroed memory is an empty table.
int DepthOf(u64 data) {
    return static_cast<i8>((data >> DEPTH_BIT) + static_cast<u64>(TT_EMPTY_DEPTH));
}
int AgeOf(u64 data) { return static_cast<i16>(data >> AGE_BIT); }
u32 UpperHalf(u64 key) { return static_cast<u32>(key >> KEY_HALF_BITS); }

TTSlot* Bucket(int side, u64 key) {
    const u64 index = static_cast<u32>(key) & hash_table.mask;
    return side == WHITE ? hash_table.white + index : hash_table.black - index;
}

// No table for this search, or one of 0 MB.
bool TableIsOff() { return PBlock.options.hash_mode == 0 || hash_table.entries == 0; }

bool MoveFitsBoard(const Position* pos, Move move) {
    const Bitboard own = pos->bb[pos->side][0];
    return (own & Bit(MoveFrom(move))) != 0 && (own & Bit(MoveTo(move))) == 0;
}

// What is known of a table that has just become empty.
void ForgetContents() {
    for (TranspositionTable::Count& count : hash_table.used) { count.stores = 0; }
    PBlock.root.tt_age = 0;
    PBlock.progress.hash_fill = 0.0;
}

// Does the line end here by a draw? No search has placed the lists of its plies.
bool LineEndsByDraw(ThreadBlock* tb) {
    PlyData* pd = CurrentPly(tb);
    pd->list_start = tb->ply_data[1].list_start;
    pd->hash_move = NO_MOVE;
    return IsDrawnByRule(tb, InCheck(&tb->pos, tb->pos.side));
}

}  // namespace

int HashThatFits(int wanted, u64 memory) {
    assert(wanted >= 0 && wanted <= MAX_HASH_MB);
    const u64 room = memory / MEMORY_PARTS * TABLE_PARTS / BYTES_PER_MEGABYTE;
    return static_cast<int>(std::min(room, static_cast<u64>(wanted)));
}

bool FitHashToMemory() {
    const int wanted = PBlock.options.hash_mb;
    PBlock.options.hash_mb = static_cast<u16>(HashThatFits(wanted, MemoryLimit()));
    return PBlock.options.hash_mb < wanted;
}

int InitTTable() {
    TranspositionTable& t = hash_table;
    if (!t.keys_exist) {
        for (int bad = InitZobrist(); bad > 0; --bad) { ShowMessage("bad hashcode"); }
        t.keys_exist = true;
    }
    FreeTTable();
    const u64 entries = PBlock.options.hash_mb * SLOTS_PER_MEGABYTE;
    const u64 bytes = ((entries & ~(ALIGNED_SLOTS - 1)) + SPARE_SLOTS) * sizeof(TTSlot);
    if (!std::in_range<std::size_t>(bytes)) { return -1; }
    t.bytes = static_cast<std::size_t>(bytes);
    t.slots = static_cast<TTSlot*>(AllocateLargeBlock(t.bytes));
    if (t.slots == nullptr) { return -1; }
    t.entries = entries;
    if (entries > 0) { t.mask = std::bit_floor(entries) - 1; }
    t.white = t.slots;
    t.black = t.slots + entries;
    ForgetContents();
    return 0;
}

void FreeTTable() {
    TranspositionTable& t = hash_table;
    if (t.slots != nullptr) { FreeLargeBlock(t.slots, t.bytes); }
    t.slots = t.white = t.black = nullptr;
    t.entries = 0;
    t.mask = ~u64{0};
}

void ClearTTable() {
    TranspositionTable& t = hash_table;
    if (t.slots != nullptr) { ClearLargeBlock(t.slots, t.bytes); }
    ForgetContents();
}

void PrefetchTTable(int side, u64 key) {
    if (TableIsOff()) { return; }
    const TTSlot* bucket = Bucket(side, key);
    __builtin_prefetch(bucket);
    __builtin_prefetch(bucket + BUCKET_SLOTS - 1);
}

void ProbeTTable(const Position* pos, TTEntry* out) {
    assert(out->depth == TT_PRESET_DEPTH);
    out->move = NO_MOVE;
    if (TableIsOff()) { return; }
    const u64 key = SearchKey(pos);
    const u32 key_high = UpperHalf(key);
    TTSlot* bucket = Bucket(pos->side, key);
    TTSlot* slot = nullptr;
    u64 keys = 0;
    for (int i = 0; i < BUCKET_SLOTS; ++i) {
        const u64 k = bucket[i].keys.load(std::memory_order_relaxed);
        if (static_cast<u32>(k) == key_high) {
            slot = &bucket[i];
            keys = k;
        }
    }
    if (slot == nullptr) { return; }
    u64 data = slot->data.load(std::memory_order_relaxed);
    const int age = PBlock.root.tt_age;
    if (AgeOf(data) != age) {
        data = (data & ~AGE_FIELD) | u64{static_cast<u16>(age)} << AGE_BIT;
        slot->data.store(data, std::memory_order_relaxed);
    }
    out->move = static_cast<u16>(data);
    out->score = static_cast<i16>(ScoreOf(data));
    out->bound = static_cast<u8>(data >> BOUND_BIT);
    out->depth = static_cast<i8>(DepthOf(data));
    out->age = static_cast<i16>(age);
    out->key_high = key_high;
    out->check = static_cast<u32>(keys >> CHECK_BIT);
    if (CheckWord(out->move, out->score, key) != out->check) {
        out->depth = TT_BAD_CHECK_DEPTH;
    } else if (out->move != NO_MOVE && !MoveFitsBoard(pos, out->move)) {
        out->depth = TT_BAD_MOVE_DEPTH;
    }
}

void StoreInTTable(const Position* pos, Move move, int depth, int score, int bound) {
    assert(depth > TT_EMPTY_DEPTH && depth <= INT8_MAX);
    assert(bound >= BOUND_UPPER && bound <= BOUND_EXACT);
    if (TableIsOff()) { return; }
    const u64 key = SearchKey(pos);
    const u32 key_high = UpperHalf(key);
    TTSlot* bucket = Bucket(pos->side, key);
    TTSlot* target = nullptr;
    u64 target_data = 0;
    int lowest = 0;
    for (int i = 0; i < BUCKET_SLOTS; ++i) {
        const u64 data = bucket[i].data.load(std::memory_order_relaxed);
        if (static_cast<u32>(bucket[i].keys.load(std::memory_order_relaxed)) == key_high) {
            target = &bucket[i];
            target_data = data;
            break;
        }
        const int priority = AgeOf(data) * AGE_WEIGHT + DepthOf(data);
        if (target == nullptr || priority < lowest) {
            target = &bucket[i];
            target_data = data;
            lowest = priority;
        }
    }
    const int age = PBlock.root.tt_age;
    const int target_depth = DepthOf(target_data);
    if (depth < target_depth - KEEP_DEPTH_MARGIN &&
        target_depth >= PBlock.progress.iteration_depth - KEEP_ITERATION_MARGIN &&
        AgeOf(target_data) == age) {
        return;
    }
    if (target_depth == TT_EMPTY_DEPTH) { hash_table.used[pos->thread_id].stores += 1; }
    target->data.store(PackData(move, score, bound, depth, age), std::memory_order_relaxed);
    target->keys.store(PackKeys(key_high, CheckWord(move, score, key)), std::memory_order_relaxed);
}

void RetrievePV(ThreadBlock* tb, Move* pv) {
    Position* pos = &tb->pos;
    const int ply = pos->ply;
    assert(ply >= 1 && ply <= MAX_DEPTH);
    if (pv[ply] == NO_MOVE) {
        TTEntry entry = {};
        entry.depth = TT_PRESET_DEPTH;
        ProbeTTable(pos, &entry);
        pv[ply + 1] = NO_MOVE;
        if (entry.depth < SHALLOWEST_LINE_DEPTH || entry.move == NO_MOVE) { return; }
        if (LineEndsByDraw(tb)) { return; }
        // The table's move may belong to another position with the same key.
        if (!MoveIsPseudoLegal(pos, entry.move)) { return; }
        if (!MoveIsLegal(pos, pos->side, entry.move)) { return; }
        pv[ply] = entry.move;
    } else if (!MoveIsLegal(pos, pos->side, pv[ply])) {
        return;
    }
    MakeMove(pos, pv[ply]);
    if (ply < MAX_DEPTH) { RetrievePV(tb, pv); }
    UnmakeMove(pos);
}

u64 UsedSlots() {
    u64 used = 0;
    for (const TranspositionTable::Count& count : hash_table.used) { used += count.stores; }
    return used;
}

double HashFill() {
    if (hash_table.entries == 0) { return 0.0; }
    return static_cast<double>(UsedSlots()) / static_cast<double>(hash_table.entries);
}

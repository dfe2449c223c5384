// The transposition table: sizing, clearing, probing, storing, and reading a line back out of it.
#include "search/ttable.h"

#include <cassert>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/memory.h"
#include "search/perft.h"
#include "search/picker.h"
#include "search/search.h"

TTSlot* hashtable = nullptr;
u64 entries = 0;
u64 mask = ~u64{0};
TTSlot* whitetable = nullptr;
TTSlot* blacktable = nullptr;
alignas(64) std::atomic<u64> ttcnt{0};  // a line of its own: every thread writes it

namespace {

constexpr u64 SLOTS_PER_MEGABYTE = 65536;
constexpr u64 SPARE_SLOTS = 32;  // the buckets at both ends reach past the counted slots
constexpr u64 CLEARED_SPARE = 16;
constexpr int BUCKET_SLOTS = 4;
constexpr int CHECK_SCORE_OFFSET = 15000;
constexpr int AGE_WEIGHT = 32;        // one search of age outweighs this many plies of depth
constexpr int KEEP_DEPTH_MARGIN = 2;  // a store this much shallower than the slot may be skipped
constexpr int KEEP_ITERATION_MARGIN = 5;  // when the slot is this close to the iteration depth

int rx = 0;  // 1 once the key tables exist
u64 allocated_bytes = 0;

u32 CheckWord(u32 move, int score, u64 key) {
    return (move << 16) ^ static_cast<u32>(score + CHECK_SCORE_OFFSET) ^ static_cast<u32>(key);
}

u64 PackData(u32 move, int score, int bound, int depth, int age) {
    return u64{move & 0xFFFF} | u64{static_cast<u16>(score)} << 16 |
           u64{static_cast<u8>(bound)} << 32 | u64{static_cast<u8>(depth)} << 40 |
           u64{static_cast<u16>(age)} << 48;
}

u64 PackKeys(u32 key_high, u32 check) { return u64{key_high} | u64{check} << 32; }

constexpr u64 AGE_FIELD = u64{0xFFFF} << 48;

int DepthOf(u64 data) { return static_cast<i8>(data >> 40); }
int AgeOf(u64 data) { return static_cast<i16>(data >> 48); }

TTSlot* Bucket(int side, u64 key) {
    const u64 index = key & 0xFFFFFFFFu & mask;
    return side == WHITE ? whitetable + index : blacktable - index;
}

// No table for this search, or one of 0 MB.
bool TableIsOff() { return PBlock.options.hash_mode == 0 || entries == 0; }

bool MoveFitsBoard(const Position* pos, Move move) {
    const Bitboard own = pos->bb[pos->side][0];
    return (own & Bit(MoveFrom(move))) != 0 && (own & Bit(MoveTo(move))) == 0;
}

// Does the position repeat, as seen from ply `ply` of a line?
bool LineRepeats(const Position* pos, int ply) {
    const int h = pos->fifty;
    if (h <= 3) { return false; }
    int limit = ply < 5 ? 2 : 1;
    if (h > FIFTY_MOVE_PLIES && ply <= 2) { limit = 2; }
    return CountRepetitions(pos, limit) >= limit;
}

// A line ends where the fifty-move counter has run out, unless the side to move is mated.
bool LineEndsByFiftyMoves(ThreadBlock* tb, int ply) {
    if (tb->pos.fifty <= FIFTY_MOVE_PLIES || ply <= 2) { return false; }
    PlyData* pd = CurrentPly(tb);
    pd->list_start = tb->ply_data[1].list_start;
    pd->hash_move = NO_MOVE;
    return IsMate(tb, 0) == 0;
}

}  // namespace

int InitTTable() {
    if (!rx) {
        for (int bad = InitZobrist(); bad > 0; --bad) { ShowMessage("bad hashcode"); }
        rx = 1;
    }
    FreeTTable();
    entries = PBlock.options.hash_mb * SLOTS_PER_MEGABYTE;
    allocated_bytes = ((entries & ~u64{15}) + SPARE_SLOTS) * sizeof(TTSlot);
    hashtable = static_cast<TTSlot*>(AllocateLargeBlock(allocated_bytes));
    if (hashtable == nullptr) {
        entries = 0;
        return -1;
    }
    mask = ~u64{0};
    if (entries > 0) { mask = std::bit_floor(entries) - 1; }
    whitetable = hashtable;
    blacktable = hashtable + entries;
    ClearTTable();
    return 0;
}

void FreeTTable() {
    if (hashtable != nullptr) { FreeLargeBlock(hashtable, allocated_bytes); }
    hashtable = whitetable = blacktable = nullptr;
    entries = 0;
    mask = ~u64{0};
}

void ClearTTable() {
    if (hashtable != nullptr) {
        const u64 empty = PackData(0, 0, 0, TT_EMPTY_DEPTH, 0);
        for (u64 i = 0; i < entries + CLEARED_SPARE; ++i) {
            hashtable[i].data.store(empty, std::memory_order_relaxed);
            hashtable[i].keys.store(0, std::memory_order_relaxed);
        }
    }
    ttcnt.store(0, std::memory_order_relaxed);
    PBlock.root.tt_age = 0;
    PBlock.progress.hash_fill = 0.0;
}

void PrefetchTTable(int side, u64 key) {
    if (TableIsOff()) { return; }
    const TTSlot* bucket = Bucket(side, key);
    __builtin_prefetch(bucket);
    __builtin_prefetch(bucket + BUCKET_SLOTS - 1);
}

void ProbeTTable(const Position* pos, TTEntry* out) {
    out->move = NO_MOVE;
    if (TableIsOff()) { return; }
    const u64 key = SearchKey(pos);
    const u32 key_high = static_cast<u32>(key >> 32);
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
        data = (data & ~AGE_FIELD) | u64{static_cast<u16>(age)} << 48;
        slot->data.store(data, std::memory_order_relaxed);
    }
    out->move = static_cast<u16>(data);
    out->score = static_cast<i16>(data >> 16);
    out->bound = static_cast<u8>(data >> 32);
    out->depth = static_cast<i8>(data >> 40);
    out->age = static_cast<i16>(age);
    out->key_high = key_high;
    out->check = static_cast<u32>(keys >> 32);
    if (CheckWord(out->move, out->score, key) != out->check) {
        out->depth = TT_BAD_CHECK_DEPTH;
    } else if (out->move != NO_MOVE && !MoveFitsBoard(pos, out->move)) {
        out->depth = TT_BAD_MOVE_DEPTH;
    }
}

void StoreInTTable(const Position* pos, Move move, int depth, int score, int bound) {
    if (TableIsOff()) { return; }
    const u64 key = SearchKey(pos);
    const u32 key_high = static_cast<u32>(key >> 32);
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
    if (target_depth == TT_EMPTY_DEPTH) {
        ttcnt.store(ttcnt.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    target->data.store(PackData(move, score, bound, depth, age), std::memory_order_relaxed);
    target->keys.store(PackKeys(key_high, CheckWord(move, score, key)), std::memory_order_relaxed);
}

void RetrievePV(ThreadBlock* tb, int ply, Move* pv) {
    Position* pos = &tb->pos;
    if (pv[ply] == NO_MOVE) {
        TTEntry entry = {};
        entry.depth = TT_PRESET_DEPTH;
        ProbeTTable(pos, &entry);
        pv[ply + 1] = NO_MOVE;
        if (entry.depth < 1 || entry.move == NO_MOVE) { return; }
        if (LineEndsByFiftyMoves(tb, ply) || LineRepeats(pos, ply)) { return; }
        // The table's move may belong to another position with the same key.
        if (!MoveIsPseudoLegal(pos, entry.move)) { return; }
        if (!MoveIsLegal(pos, pos->side, entry.move)) { return; }
        pv[ply] = entry.move;
    } else if (!MoveIsLegal(pos, pos->side, pv[ply])) {
        return;
    }
    MakeMove(pos, pv[ply]);
    if (ply + 1 <= MAX_DEPTH) { RetrievePV(tb, ply + 1, pv); }
    UnmakeMove(pos);
}

double HashFill() {
    if (entries == 0) { return 0.0; }
    return static_cast<double>(ttcnt.load(std::memory_order_relaxed)) /
           static_cast<double>(entries);
}

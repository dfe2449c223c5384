// The transposition table: where entries go, what they replace, what a probe believes.
#include "search/ttable.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstring>

#include "board/reference.h"
#include "board/zobrist.h"
#include "frontend/pblock.h"
#include "search/search.h"
#include "support/engine.h"

namespace {

constexpr Move e2e4 = MakeMoveWord(12, 28);

TTEntry ReadSlot(const TTSlot& slot) {
    const u64 halves[2] = {slot.data.load(), slot.keys.load()};
    TTEntry entry;
    std::memcpy(&entry, halves, sizeof entry);
    return entry;
}

void WriteSlot(TTSlot& slot, const TTEntry& entry) {
    u64 halves[2];
    std::memcpy(halves, &entry, sizeof entry);
    slot.data.store(halves[0]);
    slot.keys.store(halves[1]);
}

TTEntry Probe(const Position* pos) {
    TTEntry out{};
    out.depth = TT_PRESET_DEPTH;
    out.score = NO_SCORE;
    out.move = 999;
    ProbeTTable(pos, &out);
    return out;
}

// The position's bucket, lowest-numbered slot first.
TTSlot* Bucket(const Position* pos) {
    const u64 index = SearchKey(pos) & 0xFFFFFFFFu & mask;
    return pos->side == WHITE ? whitetable + index : blacktable - index;
}

class TTableTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine(1);
        pos_ = *SetGame(fen_opn);
    }

    // The start position with another upper key half: same bucket, another entry.
    Position Rival(u64 n) const {
        Position rival = pos_;
        rival.hash ^= n << 32;
        return rival;
    }

    Position pos_;
};

TEST_F(TTableTest, EntryComesBackAsStoredFromItsBucket) {
    EXPECT_EQ(entries, 65536u);
    EXPECT_EQ(mask, 65535u);
    EXPECT_EQ(Probe(&pos_).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(Probe(&pos_).score, NO_SCORE);
    EXPECT_EQ(Probe(&pos_).move, NO_MOVE);
    PBlock.tt_age = 7;
    StoreInTTable(&pos_, e2e4, 5, -33, BOUND_LOWER);
    const TTEntry raw = ReadSlot(Bucket(&pos_)[0]);
    const u64 key = SearchKey(&pos_);
    EXPECT_EQ(raw.key_high, static_cast<u32>(key >> 32));
    EXPECT_EQ(raw.check, (u32{e2e4} << 16) ^ static_cast<u32>(-33 + 15000) ^ static_cast<u32>(key));
    EXPECT_EQ(raw.age, 7);
    PBlock.tt_age = 9;
    const TTEntry found = Probe(&pos_);
    EXPECT_EQ(found.move, e2e4);
    EXPECT_EQ(found.score, -33);
    EXPECT_EQ(found.bound, BOUND_LOWER);
    EXPECT_EQ(found.depth, 5);
    EXPECT_EQ(ReadSlot(Bucket(&pos_)[0]).age, 9) << "a probe renews the age";
    EXPECT_EQ(ttcnt, 1u);
    StoreInTTable(&pos_, e2e4, 6, 1, BOUND_EXACT);
    EXPECT_EQ(ttcnt, 1u) << "the same slot again";
    EXPECT_DOUBLE_EQ(HashFill(), 1.0 / 65536);
    ClearTTable();
    EXPECT_EQ(Probe(&pos_).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(ttcnt, 0u);
    EXPECT_EQ(PBlock.tt_age, 0);
    EXPECT_EQ(HashFill(), 0.0);
    EXPECT_EQ(ReadSlot(Bucket(&pos_)[0]).depth, TT_EMPTY_DEPTH);
}

TEST_F(TTableTest, BothSidesAddressTheWholeOfTablesOfAnySize) {
    for (int mb : {1, 3, 5, 16}) {
        PBlock.hash_mb = static_cast<u16>(mb);
        ASSERT_EQ(InitTTable(), 0);
        EXPECT_EQ(entries, u64(mb) * 65536);
        EXPECT_EQ(mask + 1, std::bit_floor(entries));
        EXPECT_EQ(blacktable - whitetable, static_cast<std::ptrdiff_t>(entries));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(hashtable) % 64, 0u);
        for (int side : {WHITE, BLACK}) {
            ClearTTable();
            Position p = pos_;
            p.side = static_cast<u8>(side);
            for (u64 low : {u64{0}, mask, mask / 2, u64{0xFFFFFFFF}}) {
                const u64 key = SearchKey(&p);
                p.hash ^= (key & 0xFFFFFFFFu) ^ low;
                TTSlot* bucket = Bucket(&p);
                ASSERT_GE(bucket, hashtable);
                ASSERT_LE(bucket + 4, hashtable + entries / 16 * 16 + 32);
                const Move m = side == WHITE ? e2e4 : MakeMoveWord(52, 36);
                StoreInTTable(&p, m, 3, 10, BOUND_EXACT);
                EXPECT_EQ(Probe(&p).depth, 3);
                p.side ^= 1;
                EXPECT_LT(Probe(&p).depth, TT_HIT_DEPTH) << "the other side's entry";
                p.side ^= 1;
                p.castle ^= 1;
                EXPECT_LT(Probe(&p).depth, TT_HIT_DEPTH) << "other rights";
                p.castle ^= 1;
            }
        }
    }
}

TEST_F(TTableTest, FullBucketGivesUpItsOldestThenShallowestThenFirstSlot) {
    const struct {
        int ages[4], depths[4], replaced;
    } cases[] = {{{4, 4, 4, 4}, {9, 8, 7, 8}, 2},
                 {{4, 3, 4, 4}, {1, 30, 1, 1}, 1},
                 {{4, 4, 4, 4}, {5, 2, 2, 5}, 1},
                 {{4, 4, 2, 4}, {-1, -1, 63, -1}, 0},
                 {{1, 0, 1, 1}, {0, 33, 2, 1}, 0}};
    for (const auto& c : cases) {
        ClearTTable();
        for (u64 i = 0; i < 4; ++i) {
            PBlock.tt_age = static_cast<i16>(c.ages[i]);
            const Position rival = Rival(i + 1);
            StoreInTTable(&rival, e2e4, c.depths[i], 0, BOUND_EXACT);
        }
        EXPECT_EQ(ttcnt, 4u);
        PBlock.tt_age = 100;
        StoreInTTable(&pos_, e2e4, 12, 0, BOUND_EXACT);
        EXPECT_EQ(ReadSlot(Bucket(&pos_)[c.replaced]).depth, 12);
        EXPECT_EQ(ttcnt, 4u);
        for (u64 i = 0; i < 4; ++i) {
            const Position rival = Rival(i + 1);
            EXPECT_EQ(Probe(&rival).depth,
                      i == u64(c.replaced) ? int{TT_PRESET_DEPTH} : c.depths[i]);
        }
    }
}

TEST_F(TTableTest, ShallowResultsDoNotReplaceDeepOnesOfTheSameSearch) {
    const struct {
        int old_depth, old_age, new_depth, iteration;
        bool written;
    } cases[] = {{6, 5, 3, 10, false}, {6, 5, 4, 10, true},  {6, 4, 3, 10, true},
                 {4, 5, 1, 10, true},  {5, 5, 2, 10, false}, {4, 5, 1, 9, false}};
    for (const auto& c : cases) {
        ClearTTable();
        PBlock.iteration_depth = static_cast<i8>(c.iteration);
        PBlock.tt_age = static_cast<i16>(c.old_age);
        StoreInTTable(&pos_, e2e4, c.old_depth, 0, BOUND_EXACT);
        PBlock.tt_age = 5;
        StoreInTTable(&pos_, e2e4, c.new_depth, 0, BOUND_EXACT);
        EXPECT_EQ(Probe(&pos_).depth, c.written ? c.new_depth : c.old_depth)
            << c.old_depth << ' ' << c.new_depth << ' ' << c.iteration;
    }
}

TEST_F(TTableTest, DamagedAndImplausibleEntriesAreMisses) {
    const auto depth_after = [this](Move m, int score_damage) {
        ClearTTable();
        StoreInTTable(&pos_, m, 5, 100, BOUND_EXACT);
        TTEntry raw = ReadSlot(Bucket(&pos_)[0]);
        raw.score = static_cast<i16>(raw.score + score_damage);
        WriteSlot(Bucket(&pos_)[0], raw);
        return int{Probe(&pos_).depth};
    };
    EXPECT_EQ(depth_after(e2e4, 0), 5);
    EXPECT_EQ(depth_after(e2e4, 1), TT_BAD_CHECK_DEPTH);
    EXPECT_EQ(depth_after(NO_MOVE, 0), 5);
    EXPECT_EQ(depth_after(MakeMoveWord(28, 36), 0), TT_BAD_MOVE_DEPTH);  // from an empty square
    EXPECT_EQ(depth_after(MakeMoveWord(52, 36), 0), TT_BAD_MOVE_DEPTH);  // an enemy's move
    EXPECT_EQ(depth_after(MakeMoveWord(0, 8), 0), TT_BAD_MOVE_DEPTH);    // onto an own piece
}

TEST_F(TTableTest, MateScoresCountFromTheNode) {
    EXPECT_EQ(ScoreToTable(9995, 3), 9998);
    EXPECT_EQ(ScoreFromTable(9998, 7), 9991);
    EXPECT_EQ(ScoreToTable(-9995, 3), -9998);
    EXPECT_EQ(ScoreFromTable(-9998, 7), -9991);
    for (int score : {9870, -9871, 0, 300}) {
        EXPECT_EQ(ScoreToTable(score, 9), score);
        EXPECT_EQ(ScoreFromTable(score, 9), score);
    }
}

TEST_F(TTableTest, SwitchedOffTableNeitherStoresNorFinds) {
    StoreInTTable(&pos_, e2e4, 5, 0, BOUND_EXACT);
    PBlock.hash_mode = 0;
    EXPECT_EQ(Probe(&pos_).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(Probe(&pos_).move, NO_MOVE);
    const Position rival = Rival(1);
    StoreInTTable(&rival, e2e4, 5, 0, BOUND_EXACT);
    PBlock.hash_mode = 1;
    EXPECT_EQ(Probe(&rival).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(Probe(&pos_).depth, 5);
}

TEST_F(TTableTest, SearchWithoutATableWorksAndTheModeComesBackWithATable) {
    PBlock.hash_mode = 2;
    for (int mb : {0, 2, 0, 1}) {
        PBlock.hash_mb = static_cast<u16>(mb);
        ASSERT_EQ(InitTTable(), 0);
        SetGame(fen_opn);
        PBlock.max_depth = 4;
        PBlock.start_request = SEARCH_THINK;
        InitSearch();
        EXPECT_EQ(PBlock.hash_mode, mb == 0 ? 0 : 2) << mb;
        SearchIterations(1);
        EXPECT_EQ(PBlock.depth_done, 4);
        EXPECT_EQ(ThreadData[1]->tt_hits > 0, mb != 0);
        EXPECT_EQ(HashFill() > 0, mb != 0);
    }
}

// The address-space limit that this test sets would end the sanitizers' own run time.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(TTableTest, MemoryThatIsNotToBeHadIsReported) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = rlim_t{4} << 30;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    PBlock.hash_mb = MAX_HASH_MB;
    EXPECT_EQ(InitTTable(), -1);
    EXPECT_EQ(hashtable, nullptr);
    setrlimit(RLIMIT_AS, &before);
    PBlock.hash_mb = 1;
    EXPECT_EQ(InitTTable(), 0);
    StoreInTTable(&pos_, e2e4, 5, 0, BOUND_EXACT);
    EXPECT_EQ(Probe(&pos_).depth, 5);
}
#endif

TEST_F(TTableTest, LineIsReadBackToItsEndRepetitionOrLimit) {
    Position* pos = game_position;
    const std::string before = Describe(pos, true);
    const Move line[] = {e2e4, MakeMoveWord(52, 36), MakeMoveWord(6, 21)};
    const auto store_and_make = [pos](Move m, int depth) {
        StoreInTTable(pos, m, depth, 0, BOUND_EXACT);
        MakeMove(pos, m);
    };
    store_and_make(line[0], 4);
    store_and_make(line[1], 3);
    store_and_make(line[2], 0);  // too shallow to be part of a line
    for (int i = 0; i < 3; ++i) UnmakeMove(pos);
    Move pv[PV_SIZE + 2] = {};
    RetrievePV(pos, 1, pv);
    EXPECT_EQ(pv[1], line[0]);
    EXPECT_EQ(pv[2], line[1]);
    EXPECT_EQ(pv[3], NO_MOVE);
    EXPECT_EQ(Describe(pos, true), before);

    // A table full of knight moves to and fro: the line ends where the position repeats.
    ClearTTable();
    const Move shuffle[] = {MakeMoveWord(6, 21), MakeMoveWord(62, 45), MakeMoveWord(21, 6),
                            MakeMoveWord(45, 62)};
    for (Move m : shuffle) store_and_make(m, 10);
    for (int i = 0; i < 4; ++i) UnmakeMove(pos);
    std::fill(std::begin(pv), std::end(pv), NO_MOVE);
    RetrievePV(pos, 1, pv);
    for (int i = 1; i <= 4; ++i) EXPECT_EQ(pv[i], shuffle[i - 1]);
    EXPECT_EQ(pv[5], NO_MOVE);
    EXPECT_EQ(Describe(pos, true), before);
}

}  // namespace

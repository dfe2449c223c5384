// The transposition table: where entries go, what they replace, what a probe believes.
#include "search/ttable.h"

#include <tuple>

#include "board/zobrist.h"
#include "search/searching.h"

namespace {

constexpr Move e2e4 = Word("e2e4");

TTEntry Probe(const Position& pos) {
    TTEntry out{};
    out.depth = TT_PRESET_DEPTH;
    out.move = 999;
    ProbeTTable(&pos, &out);
    return out;
}

void Store(const Position& pos, Move m, int depth) {
    StoreInTTable(&pos, m, depth, 0, BOUND_EXACT);
}

// The position's bucket, lowest-numbered slot first.
TTSlot* Bucket(const Position& pos) {
    const u64 index = SearchKey(&pos) & 0xFFFFFFFFu & hash_table.mask;
    return pos.side == WHITE ? hash_table.white + index : hash_table.black - index;
}

class TTableTest : public SearchingTest {
protected:
    // The start position with another upper key half, unless `n` is 0: same bucket, another entry.
    static Position Rival(int n) {
        Position rival = *game_position;
        rival.hash ^= static_cast<u64>(n) << 32;
        return rival;
    }
};

TEST_F(TTableTest, EntryComesBackAsStored) {
    PBlock.root.tt_age = 7;
    StoreInTTable(game_position, e2e4, 5, -33, BOUND_LOWER);
    PBlock.root.tt_age = 9;
    const TTEntry found = Probe(*game_position);
    EXPECT_EQ(std::tuple(found.move, found.score, found.bound, found.depth),
              std::tuple(e2e4, -33, BOUND_LOWER, 5));
    EXPECT_EQ(Bucket(*game_position)->data >> 48, 9u) << "a probe renews the age";
    EXPECT_DOUBLE_EQ(HashFill(), 1.0 / 65536);
    ClearTTable();
    EXPECT_EQ(Probe(*game_position).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(Probe(*game_position).move, NO_MOVE);
}

TEST_F(TTableTest, BothSidesAddressTheWholeOfTablesOfAnySizeUnlessTheyAreOff) {
    for (int mb : {1, 3, 0, 5, 16}) {
        PBlock.options.hash_mb = static_cast<u16>(mb);
        ASSERT_EQ(InitTTable(), 0);
        EXPECT_EQ(hash_table.entries, u64(mb) * 65536);
        const u64 mask = hash_table.mask;
        for (u64 low : {u64{0}, mask, mask / 2, u64{0xFFFFFFFF}}) {
            for (int mode : {1, 0, 2, 3}) {
                PBlock.options.hash_mode = static_cast<u8>(mode);
                Position p = Rival(mode);
                p.side = static_cast<u8>(mode % 2);
                p.hash ^= (SearchKey(&p) ^ low) & 0xFFFFFFFFu;
                Store(p, p.side == WHITE ? e2e4 : Word("e7e5"), 3);
                EXPECT_EQ(Probe(p).depth, mb != 0 && mode != 0 ? 3 : TT_PRESET_DEPTH);
                p.castle ^= 1;
                EXPECT_LT(Probe(p).depth, TT_HIT_DEPTH) << "other rights";
            }
        }
        EXPECT_EQ(HashFill() > 0, mb != 0);
    }
}

// Within a bucket its own slot, then the oldest, the shallowest, the first one; but a much
// shallower result of the same search replaces no deep one.
TEST_F(TTableTest, StoresReplaceWhatIsWorthLeast) {
    for (const auto& row : ReadTable("replacement.tsv")) {
        ClearTTable();
        PBlock.progress.iteration_depth = static_cast<i8>(std::stoi(row[1]));
        std::istringstream stores(row[0]);
        char slash = 0;
        for (int key = 0, depth = 0;
             stores >> key >> slash >> PBlock.root.tt_age >> slash >> depth;) {
            Store(Rival(key), e2e4, depth);
        }
        std::istringstream expected(row[2]);
        for (int key = 0, depth = 0; expected >> depth; ++key) {
            EXPECT_EQ(Probe(Rival(key)).depth, depth) << key << " after " << row[0];
        }
        EXPECT_EQ(std::to_string(UsedSlots()), row[3]) << row[0];
    }
}

TEST_F(TTableTest, DamagedAndImplausibleEntriesAreMisses) {
    for (const auto& row : ReadTable("damaged_entries.tsv")) {
        ClearTTable();
        Store(*game_position, Word(row[0]), 5);
        Bucket(*game_position)->data ^= std::stoull(row[1], nullptr, 16);
        Bucket(*game_position)->keys ^= std::stoull(row[2], nullptr, 16);
        EXPECT_EQ(std::to_string(Probe(*game_position).depth), row[3])
            << testing::PrintToString(row);
    }
}

TEST_F(TTableTest, MemoryThatCannotBeHadIsReported) {
    WithMemory(rlim_t{4} << 30, [] {
        PBlock.options.hash_mb = MAX_HASH_MB;
        EXPECT_EQ(InitTTable(), -1);
        EXPECT_EQ(hash_table.slots, nullptr);
    });
    PBlock.options.hash_mb = 1;
    EXPECT_EQ(InitTTable(), 0);
    constexpr u64 MB = 1 << 20;
    for (const auto& [memory, fits] : {std::pair(4000 * MB, 3000), std::pair(3999 * MB, 2999),
                                       std::pair(20000 * MB, MAX_HASH_MB), std::pair(MB, 0)}) {
        EXPECT_EQ(HashThatFits(std::min(fits + 1, MAX_HASH_MB), memory), fits);
        EXPECT_EQ(HashThatFits(fits, memory), fits);
    }
    EXPECT_FALSE(FitHashToMemory());
}

// A result that is too shallow is no part of a line; it ends where the position repeats, and where
// more than a hundred plies are reversible, but not before the third.
TEST_F(TTableTest, LineIsReadBackToItsEndOrADraw) {
    Position* pos = game_position;
    for (const auto& row : ReadTable("table_lines.tsv")) {
        ClearTTable();
        pos->fifty = static_cast<u8>(std::stoi(row[2]));
        std::istringstream words(row[0]);
        for (std::string word; words >> word;) {
            Store(*pos, Word(word), words.eof() ? std::stoi(row[1]) : 10);
            MakeMove(pos, Word(word));
        }
        while (pos->hist_count > 0) { UnmakeMove(pos); }
        Move pv[PV_SIZE + 2] = {};
        RetrievePV(ThreadData[0], pv);
        EXPECT_EQ(Line(pv), row[3]) << testing::PrintToString(row);
        EXPECT_EQ(pos->hist_count, 0);
    }
}

}  // namespace

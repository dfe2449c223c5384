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
    void SetUp() override {
        SearchingTest::SetUp();
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

TEST_F(TTableTest, EntryComesBackAsStored) {
    PBlock.root.tt_age = 7;
    StoreInTTable(&pos_, e2e4, 5, -33, BOUND_LOWER);
    PBlock.root.tt_age = 9;
    const TTEntry found = Probe(pos_);
    EXPECT_EQ(std::tuple(found.move, found.score, found.bound, found.depth),
              std::tuple(e2e4, -33, BOUND_LOWER, 5));
    EXPECT_EQ(Bucket(pos_)->data >> 48, 9u) << "a probe renews the age";
    Store(pos_, e2e4, 6);
    EXPECT_DOUBLE_EQ(HashFill(), 1.0 / 65536) << "the same slot again";
    ClearTTable();
    EXPECT_EQ(Probe(pos_).depth, TT_PRESET_DEPTH);
    EXPECT_EQ(Probe(pos_).move, NO_MOVE);
    EXPECT_EQ(HashFill(), 0.0);
}

TEST_F(TTableTest, BothSidesAddressTheWholeOfTablesOfAnySize) {
    for (int mb : {1, 3, 5, 16}) {
        PBlock.options.hash_mb = static_cast<u16>(mb);
        ASSERT_EQ(InitTTable(), 0);
        const u64 entries = hash_table.entries, mask = hash_table.mask;
        EXPECT_EQ(entries, u64(mb) * 65536);
        for (int side : {WHITE, BLACK}) {
            ClearTTable();
            Position p = pos_;
            p.side = static_cast<u8>(side);
            for (u64 low : {u64{0}, mask, mask / 2, u64{0xFFFFFFFF}}) {
                p.hash ^= (SearchKey(&p) & 0xFFFFFFFFu) ^ low;
                ASSERT_GE(Bucket(p), hash_table.slots);
                ASSERT_LE(Bucket(p) + 4, hash_table.slots + entries / 16 * 16 + 32);
                Store(p, side == WHITE ? e2e4 : Word("e7e5"), 3);
                EXPECT_EQ(Probe(p).depth, 3);
                Position other_side = p, other_rights = p;
                other_side.side ^= 1;
                other_rights.castle ^= 1;
                EXPECT_LT(Probe(other_side).depth, TT_HIT_DEPTH);
                EXPECT_LT(Probe(other_rights).depth, TT_HIT_DEPTH);
            }
        }
    }
}

TEST_F(TTableTest, FullBucketGivesUpItsOldestThenShallowestThenFirstSlot) {
    for (const auto& row : ReadTable("replacement.tsv")) {
        ClearTTable();
        std::istringstream ages(row[0]), depths(row[1]);
        for (u64 i = 0; i < 4; ++i) {
            int depth = 0;
            ages >> PBlock.root.tt_age;
            depths >> depth;
            Store(Rival(i + 1), e2e4, depth);
        }
        PBlock.root.tt_age = 100;
        Store(pos_, e2e4, 12);
        EXPECT_EQ(hash_table.used, 4u);
        EXPECT_EQ(Probe(pos_).depth, 12);
        std::string replaced;
        for (u64 i = 0; i < 4; ++i) {
            if (Probe(Rival(i + 1)).depth == TT_PRESET_DEPTH) { replaced += std::to_string(i); }
        }
        EXPECT_EQ(replaced, row[2]) << row[0] << ", " << row[1];
    }
}

TEST_F(TTableTest, ShallowResultsDoNotReplaceDeepOnesOfTheSameSearch) {
    for (const auto& row : ReadTable("same_search.tsv")) {
        ClearTTable();
        PBlock.progress.iteration_depth = static_cast<i8>(std::stoi(row[3]));
        PBlock.root.tt_age = static_cast<i16>(std::stoi(row[1]));
        Store(pos_, e2e4, std::stoi(row[0]));
        PBlock.root.tt_age = 5;
        Store(pos_, e2e4, std::stoi(row[2]));
        EXPECT_EQ(Probe(pos_).depth, std::stoi(row[4])) << testing::PrintToString(row);
    }
}

TEST_F(TTableTest, DamagedAndImplausibleEntriesAreMisses) {
    const struct {
        const char* move;
        u64 damage;  // bits of the slot's first word to turn over
        int depth;
    } cases[] = {{"e2e4", 0, 5},
                 {"e2e4", u64{1} << 16, TT_BAD_CHECK_DEPTH},  // the score
                 {"e4e5", 0, TT_BAD_MOVE_DEPTH},              // from an empty square
                 {"e7e5", 0, TT_BAD_MOVE_DEPTH},              // an enemy's move
                 {"a1a2", 0, TT_BAD_MOVE_DEPTH}};             // onto an own piece
    for (const auto& c : cases) {
        ClearTTable();
        Store(pos_, Word(c.move), 5);
        Bucket(pos_)->data ^= c.damage;
        EXPECT_EQ(Probe(pos_).depth, c.depth) << c.move;
    }
    Position other = pos_;
    other.hash ^= u64{1} << 20;  // same bucket and same upper key half
    EXPECT_EQ(Probe(other).depth, TT_BAD_CHECK_DEPTH);
}

TEST_F(TTableTest, ATableThatIsOffOrEmptyNeitherStoresNorFindsAndComesBack) {
    for (int mb : {1, 0, 2}) {
        PBlock.options.hash_mb = static_cast<u16>(mb);
        ASSERT_EQ(InitTTable(), 0);
        for (int mode : {2, 0, 2}) {
            PBlock.options.hash_mode = static_cast<u8>(mode);
            const Position rival = Rival(static_cast<u64>(mode + 1));
            Store(rival, e2e4, 5);
            EXPECT_EQ(Probe(rival).depth, mode != 0 && mb != 0 ? 5 : TT_PRESET_DEPTH) << mb << mode;
        }
        EXPECT_EQ(HashFill() > 0, mb != 0);
    }
}

// The address-space limit that this test sets would end the sanitizers' own run time.
#ifndef VESK_INSTRUMENTED
TEST_F(TTableTest, MemoryThatCannotBeHadIsReported) {
    {
        const MemoryLimit limit(rlim_t{4} << 30);
        PBlock.options.hash_mb = MAX_HASH_MB;
        EXPECT_EQ(InitTTable(), -1);
        EXPECT_EQ(hash_table.slots, nullptr);
    }
    PBlock.options.hash_mb = 1;
    EXPECT_EQ(InitTTable(), 0);
    Store(pos_, e2e4, 5);
    EXPECT_EQ(Probe(pos_).depth, 5);
}
#endif

// The first line's last entry is too shallow to be part of it; the second one ends where the
// position repeats; the others where more than a hundred plies are reversible, but not before the
// third.
TEST_F(TTableTest, LineIsReadBackToItsEndOrADraw) {
    Position* pos = game_position;
    const std::string before = Describe(pos, true);
    const struct {
        std::string stored;
        int last_depth, fifty;
        std::string found;
    } cases[] = {{"e2e4 e7e5 g1f3", 0, 0, "e2e4 e7e5"},
                 {"g1f3 g8f6 f3g1 f6g8", 10, 0, "g1f3 g8f6 f3g1 f6g8"},
                 {"g1f3 g8f6 b1c3 b8c6 f3g5", 10, 97, "g1f3 g8f6 b1c3 b8c6"},
                 {"g1f3 g8f6 b1c3 b8c6 f3g5", 10, 98, "g1f3 g8f6 b1c3"},
                 {"g1f3 g8f6 b1c3 b8c6 f3g5", 10, 110, "g1f3 g8f6"}};
    for (const auto& c : cases) {
        ClearTTable();
        pos->fifty = static_cast<u8>(c.fifty);
        std::istringstream words(c.stored);
        for (std::string word; words >> word;) {
            Store(*pos, Word(word), words.eof() ? c.last_depth : 10);
            MakeMove(pos, Word(word));
        }
        while (pos->hist_count > 0) { UnmakeMove(pos); }
        Move pv[PV_SIZE + 2] = {};
        RetrievePV(ThreadData[0], pv);
        EXPECT_EQ(Line(pv), c.found) << c.fifty;
        pos->fifty = 0;
        EXPECT_EQ(Describe(pos, true), before);
    }
}

}  // namespace

// The move picker: every move once, the order of the stages, and the ordering memory.
#include "search/picker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "board/reference.h"

namespace {

class PickerTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        tb_ = ThreadData[0];
        ResetOrdering(tb_);
    }

    // Everything the picker returns for the current ply, the counter of searched moves standing at
    // `searched`.
    std::vector<MoveEntry> PickAll(int searched = 0) {
        Position* pos = &tb_->pos;
        PlyData& pd = pos->sstack[pos->ply];
        pd.stage = 0;
        pd.moves_searched = static_cast<i16>(searched);
        std::vector<MoveEntry> picked;
        const int in_check = InCheck(pos, pos->side);
        while (const MoveEntry* e = GetNextMoveFW(tb_, in_check)) { picked.push_back(*e); }
        return picked;
    }

    // Without the scores.
    static std::vector<std::tuple<Move, u8, u8>> Sorted(const std::vector<MoveEntry>& list) {
        std::vector<std::tuple<Move, u8, u8>> sorted;
        for (const MoveEntry& e : list) { sorted.emplace_back(e.move, e.piece, e.captured); }
        std::sort(sorted.begin(), sorted.end());
        return sorted;
    }

    PlyData& Ply() { return tb_->pos.sstack[tb_->pos.ply]; }

    ThreadBlock* tb_ = nullptr;
};

TEST_F(PickerTest, EveryMoveComesOnceBesidesTheHashMoveWhichComesFirst) {
    for (const std::string& fen : SamplePositions()) {
        std::vector<MoveEntry> all = AllMoves(SetGame(fen));
        for (std::size_t hash = 0; hash < all.size(); ++hash) {
            Ply().hash_move = all[hash].move;
            std::vector<MoveEntry> picked = PickAll(hash % 2 ? 30 : 0), expected = all;
            expected.push_back(all[hash]);
            ASSERT_EQ(picked[0].move, all[hash].move) << fen;
            EXPECT_EQ(Sorted(picked), Sorted(expected)) << fen;
        }
    }
}

TEST_F(PickerTest, OrderingMemoryScoresQuietMoves) {
    for (const auto& row : ReadTable("quiet_scores.tsv")) {
        Position* pos = SetGame(row[0]);
        ResetOrdering(tb_);
        pos->last_move = row[1] == "-" ? NO_MOVE : Word(row[1]);
        const int last_to = MoveTo(pos->last_move);
        const std::map<std::string, Move*> memory = {
            {"killer 0", &Ply().killer[0]},
            {"killer 1", &Ply().killer[1]},
            {"killer 2", &Ply().killer[2]},
            {"evasion killer", &Ply().evasion_killer},
            {"counter move", &tb_->counter_moves[last_to][pos->board[last_to]]}};
        const Move m = Word(row[4]);
        if (row[2] != "-") { *memory.at(row[2]) = m; }
        tb_->history[MoveTo(m)][pos->board[MoveFrom(m)]] = static_cast<i16>(std::stoi(row[3]));
        for (const MoveEntry& e : PickAll()) {
            if (e.move != m) { continue; }
            EXPECT_EQ(std::to_string(e.score), row[5]) << testing::PrintToString(row);
        }
    }
}

TEST_F(PickerTest, MovesComeBestFirstUntilManyHaveBeenSearched) {
    for (const auto& row : ReadTable("picker_order.tsv")) {
        Position* pos = SetGame(row[0]);
        ResetOrdering(tb_);
        pos->last_move = row[1] == "-" ? NO_MOVE : Word(row[1]);
        Ply().hash_move = row[2] == "-" ? NO_MOVE : Word(row[2]);
        Ply().killer[1] = row[3] == "-" ? NO_MOVE : Word(row[3]);
        std::string moves;
        for (const MoveEntry& e : PickAll(std::stoi(row[4]))) {
            moves += (moves.empty() ? "" : " ") + MoveText(e.move);
        }
        EXPECT_EQ(moves, row[5]) << row[0];
    }
}

// Twelve entries a pawn, 27 a queen and so on, and 24 to spare.
TEST_F(PickerTest, AListFitsWhereTheMenOfTheSideCannotFillTheRoom) {
    const struct {
        const char* fen;
        int room;
    } cases[] = {{fen_opn, 225},
                 {"kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -", 307},
                 {"R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - -", 345},
                 {"k7/8/8/8/8/8/8/KBBBBBBB w - -", 123}};
    for (const auto& c : cases) {
        SetGame(c.fen);
        for (const int room : {c.room - 1, c.room, MAX_LIST_SIZE}) {
            Ply().list_start = tb_->move_buffer + MOVE_BUFFER_SIZE - room;
            EXPECT_EQ(MoveListFits(tb_), room >= c.room) << c.fen << ' ' << room;
        }
        EXPECT_LT(static_cast<int>(PickAll().size()) + 2, c.room) << c.fen;
    }
}

TEST_F(PickerTest, HistoryApproachesItsLimits) {
    const MoveEntry e = {Word("g1f3"), KNIGHT, 0, 0};
    i16& value = tb_->history[21][KNIGHT];
    const i16 cases[][3] = {
        {2048, 2144, 2032}, {0, 128, 0}, {8192, 8192, 8128}, {8129, 8129, 8066}};
    for (const auto& [before, raised, lowered] : cases) {
        value = before;
        RaiseHistory(tb_, &e);
        EXPECT_EQ(value, raised);
        value = before;
        LowerHistory(tb_, &e);
        EXPECT_EQ(value, lowered);
    }
}

TEST_F(PickerTest, CutOffsAreRememberedByTheKindOfTheirNode) {
    const Move a = Word("a2a3"), b = Word("b2b3");
    Position* pos = SetGame("rnbqkbnr/ppp1pppp/8/3p4/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    const Move& counter = tb_->counter_moves[35][PieceCode(BLACK, PAWN)];
    const auto remembered = [&] {
        const PlyData& ply = Ply();
        return std::vector<Move>{ply.killer[0], ply.killer[1], ply.killer[2], ply.evasion_killer,
                                 counter};
    };
    pos->last_move = Word("d7d5");
    for (const Move m : {a, a, b}) { StoreKiller(tb_, m, 0); }
    StoreKiller(tb_, b, 1);
    StoreCounterMove(tb_, b);
    EXPECT_EQ(remembered(), (std::vector<Move>{0, b, a, b, b}));
    pos->last_move = NO_MOVE;
    StoreKiller(tb_, a, 0);
    StoreCounterMove(tb_, a);
    EXPECT_EQ(remembered(), (std::vector<Move>{a, b, a, b, b}));
    ResetOrdering(tb_);
    EXPECT_EQ(remembered(), (std::vector<Move>{0, 0, 0, 0, 0}));
}

}  // namespace

// The move picker: every move once, the order of the stages, and the ordering memory.
#include "search/picker.h"

#include <gtest/gtest.h>

#include <map>

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

    PlyData& Ply() { return tb_->pos.sstack[tb_->pos.ply]; }

    ThreadBlock* tb_ = nullptr;
};

TEST_F(PickerTest, EveryMoveComesExactlyOnceTheHashMoveFirst) {
    std::mt19937 random(10);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        for (int step = 0; step < 80; ++step) {
            std::map<Move, int> expected;
            std::vector<MoveEntry> all = AllMoves(pos);
            for (const MoveEntry& e : all) { ++expected[e.move]; }
            const Move hash_move =
                all.empty() || step % 3 == 0 ? Move{NO_MOVE} : all[random() % all.size()].move;
            if (hash_move != NO_MOVE) { ++expected[hash_move]; }
            Ply().hash_move = hash_move;
            const std::vector<MoveEntry> picked = PickAll(step % 2 ? 30 : 0);
            for (const MoveEntry& e : picked) {
                --expected[e.move];
                EXPECT_EQ(e.piece, pos->board[MoveFrom(e.move)]);
                EXPECT_EQ(e.captured, pos->board[MoveTo(e.move)]);
            }
            if (hash_move != NO_MOVE) {
                ASSERT_FALSE(picked.empty());
                ASSERT_EQ(picked[0].move, hash_move);
            }
            for (const auto& [move, count] : expected) {
                ASSERT_EQ(count, 0) << fen << " step " << step << " move " << move;
            }
            const Move m = RandomMove(pos, random);
            if (m == NO_MOVE) { break; }
            PlayGameMove(pos, m);
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

}  // namespace

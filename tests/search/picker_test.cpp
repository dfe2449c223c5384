// The move picker: every move once, the order of the stages, and the ordering memory.
#include "search/picker.h"

#include <gtest/gtest.h>

#include <map>

#include "board/reference.h"
#include "support/engine.h"

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
        while (const MoveEntry* e = GetNextMoveFW(pos, in_check)) picked.push_back(*e);
        return picked;
    }

    PlyData& Ply() { return tb_->pos.sstack[tb_->pos.ply]; }

    // Score of a move among the picked ones.
    static int ScoreOf(const std::vector<MoveEntry>& picked, Move m) {
        for (const MoveEntry& e : picked)
            if (e.move == m) return e.score;
        ADD_FAILURE() << "move " << m << " was not picked";
        return 0;
    }

    ThreadBlock* tb_ = nullptr;
};

constexpr Move a2a3 = MakeMoveWord(8, 16);
constexpr Move b1c3 = MakeMoveWord(1, 18);
constexpr Move h2h4 = MakeMoveWord(15, 31);
constexpr Move e2e4 = MakeMoveWord(12, 28);

// What a move without the hash move's 255 must score, history untouched and no killers set.
int ExpectedScore(Position* pos, const MoveEntry& e) {
    const int values[] = {0, 210, 220, 220, 230, 240, 250};
    const int weights[] = {0, 1, 3, 3, 5, 10, 0};
    const int to = MoveTo(e.move), mover = PieceType(e.piece), victim = PieceType(e.captured);
    const bool en_passant = mover == PAWN && to == pos->ep_square && victim == 0 &&
                            FileOf(MoveFrom(e.move)) != FileOf(to);
    if (victim == 0 && !en_passant && !IsPromotion(e.move)) return InCheck(pos, pos->side) ? 1 : 17;
    int score = victim != 0 ? values[victim] - mover : (e.move & PROMOTE_QUEEN) ? 200 : 10;
    if (weights[mover] > weights[victim] &&
        swapoff1(pos, pos->side, MoveFrom(e.move), to, Occupied(pos)) < -89)
        return 8 + victim;
    if (pos->last_move != NO_MOVE && to == MoveTo(pos->last_move)) score += 6;
    return score;
}

TEST_F(PickerTest, EveryMoveComesExactlyOnceWithItsScoreInRandomPositions) {
    std::mt19937 random(10);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        for (int step = 0; step < 80; ++step) {
            std::map<Move, int> expected;
            std::vector<MoveEntry> all = AllMoves(pos);
            for (const MoveEntry& e : all) ++expected[e.move];
            const Move hash_move =
                all.empty() || step % 3 == 0 ? Move{NO_MOVE} : all[random() % all.size()].move;
            if (hash_move != NO_MOVE) ++expected[hash_move];
            Ply().hash_move = hash_move;
            const std::vector<MoveEntry> picked = PickAll(step % 2 ? 30 : 0);
            for (std::size_t i = 0; i < picked.size(); ++i) {
                const MoveEntry& e = picked[i];
                --expected[e.move];
                EXPECT_EQ(e.piece, pos->board[MoveFrom(e.move)]);
                EXPECT_EQ(e.captured, pos->board[MoveTo(e.move)]);
                if (i == 0 && hash_move != NO_MOVE) {
                    ASSERT_EQ(e.move, hash_move);
                    EXPECT_EQ(e.score, 255);
                } else {
                    ASSERT_EQ(e.score, ExpectedScore(pos, e)) << fen << ' ' << e.move;
                }
            }
            for (const auto& [move, count] : expected)
                ASSERT_EQ(count, 0) << fen << " step " << step << " move " << move;
            const Move m = RandomMove(pos, random);
            if (m == NO_MOVE) break;
            PlayGameMove(pos, m);
        }
    }
}

TEST_F(PickerTest, GoodCapturesThenQuietsBestFirstThenTheUnsortedTail) {
    // Pawn takes pawn is the one good capture; queen and rook would take guarded pawns.
    Position* pos = SetGame("4k3/2p5/1p1r3p/8/1P1p4/2P1N3/3Q4/4K2R w K -");
    Ply().killer[1] = MakeMoveWord(20, 35);
    std::vector<MoveEntry> picked = PickAll();
    std::vector<int> scores;
    for (const MoveEntry& e : picked) scores.push_back(e.score);
    EXPECT_EQ(scores[0], 209);
    EXPECT_EQ(scores[1], 85);
    EXPECT_EQ(picked[1].move, MakeMoveWord(20, 35));
    EXPECT_EQ(scores[2], 17);
    EXPECT_EQ(scores[scores.size() - 2], 9);
    EXPECT_TRUE(std::is_sorted(scores.begin(), scores.end(), std::greater<>()));
    EXPECT_EQ(pos->sstack[2].list_start, pos->sstack[1].cursor + 1);

    // From the sixteenth searched move on one more entry is selected, the rest comes as it lies.
    SetGame(fen_opn);
    tb_->history[23][PAWN] = 8000;  // h2h3
    tb_->history[31][PAWN] = 7000;  // h2h4
    picked = PickAll(15);
    EXPECT_EQ(picked[0].move, MakeMoveWord(15, 23));
    EXPECT_EQ(picked[1].move, h2h4);
    picked = PickAll(16);
    EXPECT_EQ(picked[0].move, MakeMoveWord(15, 23));
    EXPECT_NE(picked[1].move, h2h4);
    EXPECT_EQ(picked.size(), 20u);
}

TEST_F(PickerTest, KillersCounterMovesAndHistoryOrderQuietMoves) {
    Position* pos = SetGame("rnbqkbnr/ppp1pppp/8/3p4/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    pos->last_move = MakeMoveWord(51, 35);
    const auto score = [this](Move m) { return ScoreOf(PickAll(), m); };
    EXPECT_EQ(score(e2e4), 17);
    Ply().killer[0] = a2a3;
    EXPECT_EQ(score(a2a3), 85);
    Ply().killer[1] = b1c3;
    EXPECT_EQ(score(b1c3), 85);
    Ply().killer[2] = h2h4;
    EXPECT_EQ(score(h2h4), 65);
    tb_->counter_moves[35][PieceCode(BLACK, PAWN)] = e2e4;
    EXPECT_EQ(score(e2e4), 65);
    tb_->history[28][PAWN] = 8192;
    EXPECT_EQ(score(e2e4), 64 / 4 + 61);
    tb_->history[18][KNIGHT] = 0;
    EXPECT_EQ(score(b1c3), 81);
    pos->last_move = NO_MOVE;
    EXPECT_EQ(score(e2e4), 64 + 1) << "no counter move without a last move";

    pos = SetGame("rnb1kbnr/pppp1ppp/8/4p3/4PP1q/8/PPPP2PP/RNBQKBNR w KQkq -");
    ResetOrdering(tb_);
    pos->last_move = MakeMoveWord(59, 31);
    EXPECT_EQ(score(MakeMoveWord(14, 22)), 1);
    Ply().killer[1] = MakeMoveWord(14, 22);
    EXPECT_EQ(score(MakeMoveWord(14, 22)), 1) << "plain killers do not count in check";
    Ply().evasion_killer = MakeMoveWord(14, 22);
    EXPECT_EQ(score(MakeMoveWord(14, 22)), 90);
    tb_->counter_moves[31][PieceCode(BLACK, QUEEN)] = MakeMoveWord(4, 12);
    EXPECT_EQ(score(MakeMoveWord(4, 12)), 70);
}

TEST_F(PickerTest, UpdatesFollowTheirRules) {
    Position* pos = SetGame(fen_opn);
    const MoveEntry entry = {e2e4, PAWN, 0, 0};
    i16& history = tb_->history[28][PAWN];
    EXPECT_EQ(history, 2048);
    RaiseHistory(tb_, &entry);
    EXPECT_EQ(history, 2048 + (8192 - 2048) / 64);
    history = 2048;
    LowerHistory(tb_, &entry);
    EXPECT_EQ(history, 2048 - 16);
    for (int i = 0; i < 2000; ++i) LowerHistory(tb_, &entry);
    EXPECT_EQ(history, 127);
    for (int i = 0; i < 2000; ++i) RaiseHistory(tb_, &entry);
    EXPECT_EQ(history, 8192 - 63);

    GenerateAll(pos);  // places the next ply's list
    pos->sstack[1].list_start[0] = {MakeMoveWord(12, 20), PAWN, 0, 0};
    pos->sstack[1].cursor = pos->sstack[1].list_start;
    MakeMove(pos, MakeMoveWord(12, 20));
    const Move first = MakeMoveWord(52, 36), second = MakeMoveWord(62, 45);
    StoreKiller(pos, first, 0);
    StoreKiller(pos, first, 0);
    EXPECT_EQ(Ply().killer[1], first);
    EXPECT_EQ(Ply().killer[2], NO_MOVE);
    StoreKiller(pos, second, 0);
    EXPECT_EQ(Ply().killer[1], second);
    EXPECT_EQ(Ply().killer[2], first);
    EXPECT_EQ(Ply().killer[0], NO_MOVE);
    StoreKiller(pos, first, 1);
    EXPECT_EQ(Ply().evasion_killer, first);
    EXPECT_EQ(Ply().killer[1], second);
    StoreCounterMove(tb_, first);
    EXPECT_EQ(tb_->counter_moves[20][PAWN], first);

    GenerateAll(pos);
    pos->sstack[2].list_start[0] = {NO_MOVE, 0, 0, 0};
    pos->sstack[2].cursor = pos->sstack[2].list_start;
    MakeNullMove(pos);
    StoreKiller(pos, a2a3, 0);
    EXPECT_EQ(Ply().killer[0], a2a3);
    EXPECT_EQ(Ply().killer[1], NO_MOVE);
    const auto counters = [this] {
        std::vector<Move> all;
        for (const auto& row : tb_->counter_moves) all.insert(all.end(), row, row + 16);
        return all;
    };
    const std::vector<Move> before = counters();
    StoreCounterMove(tb_, a2a3);
    EXPECT_EQ(counters(), before) << "nothing to counter after a null move";

    ResetOrdering(tb_);
    EXPECT_EQ(history, HISTORY_START);
    EXPECT_EQ(tb_->counter_moves[20][PAWN], NO_MOVE);
    EXPECT_EQ(tb_->ply_data[2].killer[1], NO_MOVE);
    EXPECT_EQ(tb_->ply_data[2].evasion_killer, NO_MOVE);
}

}  // namespace

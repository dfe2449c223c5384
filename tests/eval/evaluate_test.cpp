// The evaluation as a function: symmetry between the colours, the caches, what the search reads
// from it, and rules that the table of reference positions reaches only by chance.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "board/bitboards.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class EvaluateTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    // Score for the side to move, computed anew.
    static int Score(const std::string& fen, int ply = 1) {
        SetGame(fen);
        return Evaluate(ThreadData[0], game_position->side, ply, 0);
    }
};

// The same position with the colours exchanged and the board turned over.
std::string Flipped(const std::string& fen) {
    std::stringstream fields(fen);
    std::string board, side, castling, ep, rank, turned;
    fields >> board >> side >> castling >> ep;
    std::stringstream ranks(board);
    while (std::getline(ranks, rank, '/')) turned = turned.empty() ? rank : rank + "/" + turned;
    const auto other_case = [](char c) {
        return static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    };
    std::transform(turned.begin(), turned.end(), turned.begin(), other_case);
    std::transform(castling.begin(), castling.end(), castling.begin(), other_case);
    if (ep != "-") ep[1] = ep[1] == '3' ? '6' : '3';
    return turned + (side == "w" ? " b " : " w ") + castling + " " + ep;
}

// Of several candidate passers on their front rank, White's choice is the one nearest the h-file
// and Black's the one nearest the a-file: a difference between the colours that is meant to be
// there.
bool HasChoiceOfCandidates(const Position* pos) {
    const PawnEntry& e = ThreadData[0]->pawn_cache[pos->pawn_hash & (PAWN_CACHE_SIZE - 1)];
    const Bitboard white = e.candidates & pos->bb[WHITE][PAWN];
    const Bitboard black = e.candidates & pos->bb[BLACK][PAWN];
    return CountBits(white & RankMask(RankOf(GetMSB(white)))) > 1 ||
           CountBits(black & RankMask(RankOf(GetLSB(black)))) > 1;
}

TEST_F(EvaluateTest, ColourFlippedPositionsScoreTheSame) {
    int compared = 0;
    for (const std::vector<std::string>& row : ReadTable("evaluations.tsv")) {
        const int score = Score(row[0]);
        if (HasChoiceOfCandidates(game_position)) continue;
        EXPECT_EQ(Score(Flipped(row[0])), score) << row[0];
        compared++;
    }
    EXPECT_GT(compared, 400);
}

TEST_F(EvaluateTest, TheChoiceBetweenTwoCandidatesIsOneSided) {
    // White's candidates a5 and h5 have the black king at different distances.
    const std::string fen = "8/1p4p1/7k/PP4PP/8/8/8/K7 w - -";
    const int score = Score(fen);
    ASSERT_TRUE(HasChoiceOfCandidates(game_position));
    EXPECT_NE(Score(Flipped(fen)), score);
}

TEST_F(EvaluateTest, OppositionCostsTheMoverOnlyWithTheBlackKingAbove) {
    // Without passed pawns the two scores of a position differ by the tempo alone; 6 in the ending.
    const auto sum_of_sides = [](const std::string& board) {
        return Score(board + " w - -") + Score(board + " b - -");
    };
    EXPECT_EQ(sum_of_sides("8/p6p/4k3/8/4K3/8/P6P/8"), 2 * (6 - 5));
    EXPECT_EQ(sum_of_sides("8/p6p/4K3/8/4k3/8/P6P/8"), 2 * 6);
    EXPECT_EQ(sum_of_sides("8/p6p/3k4/8/4K3/8/P6P/8"), 2 * 6);
}

TEST_F(EvaluateTest, InCheckThereIsNoScoreAndTheOutputsAreCleared) {
    SetGame("6k1/5ppp/8/8/8/8/8/K3R3 w - -");
    PlyData& pd = ThreadData[0]->ply_data[2];
    pd.hanging[BLACK] = 7;
    pd.free_pawn_rank[WHITE] = 3;
    pd.trivial_draw = 1;
    EXPECT_EQ(Evaluate(ThreadData[0], WHITE, 2, 1), NO_SCORE);
    EXPECT_EQ(pd.hanging[BLACK], 0);
    EXPECT_EQ(pd.free_pawn_rank[WHITE], 0);
    EXPECT_EQ(pd.trivial_draw, 0);
}

TEST_F(EvaluateTest, CachesServeFromPlyTwoOnAndNeverAtTheRoot) {
    ThreadBlock* tb = ThreadData[0];
    SetGame("2r1q2k/1P5p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -");
    const int score = Evaluate(tb, BLACK, 2, 0);
    const PlyData first = tb->ply_data[2];
    EXPECT_EQ(first.free_pawn_rank[WHITE], 6);
    EXPECT_GT(first.hanging[BLACK], 0);
    EXPECT_EQ(tb->eval_hits, 0u);

    EXPECT_EQ(Evaluate(tb, BLACK, 3, 0), score);
    EXPECT_EQ(tb->eval_hits, 1u);
    for (int c = WHITE; c <= BLACK; c++) {
        EXPECT_EQ(tb->ply_data[3].free_pawn_rank[c], first.free_pawn_rank[c]);
        EXPECT_EQ(tb->ply_data[3].hanging[c], first.hanging[c]);
    }
    // The other side's entry is its own; it shares the pawns.
    game_position->side = WHITE;
    Evaluate(tb, WHITE, 2, 0);
    EXPECT_EQ(tb->eval_hits, 1u);
    EXPECT_EQ(tb->pawn_hits, 1u);
    game_position->side = BLACK;

    // Changed weights are not seen through the caches, but at the root.
    Personality.pawn_doubled = -100;
    EXPECT_EQ(Evaluate(tb, BLACK, 2, 0), score);
    EXPECT_NE(Evaluate(tb, BLACK, 1, 0), score);
    EXPECT_EQ(tb->pawn_hits, 1u);
    EXPECT_EQ(tb->eval_probes, 5u);
    // InitEval empties both.
    Personality = DefaultPersonality;
    InitEval();
    EXPECT_EQ(Evaluate(tb, BLACK, 2, 0), score);
    EXPECT_EQ(tb->pawn_hits, 1u);
}

TEST_F(EvaluateTest, OnlyTheFirstSearchThreadReports) {
    PBlock.report.stage = 77;
    Score("8/5k2/3p4/8/3P4/8/4K3/R7 w - -");
    EXPECT_EQ(PBlock.report.stage, 77);
    SetPosition(&ThreadData[1]->pos, "8/5k2/3p4/8/3P4/8/4K3/R7 w - -");
    Evaluate(ThreadData[1], WHITE, 2, 0);
    EXPECT_EQ(PBlock.report.stage, 77);
    Evaluate(ThreadData[1], WHITE, 1, 0);
    EXPECT_EQ(PBlock.report.stage, 22);
}

TEST_F(EvaluateTest, FiftyMoveCounterScalesDownToNothing) {
    SetGame("r5k1/5ppp/8/8/8/8/1Q3PPP/R5K1 w - -");
    const int full = Evaluate(ThreadData[0], WHITE, 1, 0);
    ASSERT_GT(full, 200);
    const struct {
        u8 fifty;
        double factor;
    } cases[] = {{25, 1.0}, {45, 1.0 - 20 * 0.01}, {100, 1.0 - 75 * 0.01}, {125, 0.0}, {255, 0.0}};
    for (const auto& c : cases) {
        game_position->fifty = c.fifty;
        EXPECT_EQ(Evaluate(ThreadData[0], WHITE, 1, 0), static_cast<int>(full * c.factor));
    }
}

}  // namespace

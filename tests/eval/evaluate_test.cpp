// The evaluation as a function: symmetry between the colours, caches, what the search reads
// from it, and the report.
#include <algorithm>
#include <cctype>
#include <sstream>

#include "eval/evaluated.h"
#include "eval/personality.h"
#include "frontend/pblock.h"

namespace {

using EvaluateTest = EngineTest;

// The same position with the colours exchanged and the board turned over.
std::string Flipped(const std::string& fen) {
    std::stringstream fields(fen);
    std::string board, side, castling, ep, rank, turned;
    fields >> board >> side >> castling >> ep;
    std::stringstream ranks(board);
    while (std::getline(ranks, rank, '/')) { turned = turned.empty() ? rank : rank + "/" + turned; }
    const auto other_case = [](char c) {
        return static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    };
    std::transform(turned.begin(), turned.end(), turned.begin(), other_case);
    std::transform(castling.begin(), castling.end(), castling.begin(), other_case);
    if (ep != "-") { ep[1] = ep[1] == '3' ? '6' : '3'; }
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
        if (HasChoiceOfCandidates(game_position)) { continue; }
        EXPECT_EQ(Score(Flipped(row[0])), score) << row[0];
        ++compared;
    }
    EXPECT_GT(compared, 400);
}

TEST_F(EvaluateTest, InCheckThereIsNoScoreAndTheOutputsAreCleared) {
    SetGame("4R1k1/5ppp/8/8/8/8/8/K7 b - -");
    PlyData& pd = ThreadData[0]->ply_data[2];
    pd.hanging[BLACK] = 7;
    pd.free_pawn_rank[WHITE] = 3;
    pd.trivial_draw = 1;
    EXPECT_EQ(Evaluate(ThreadData[0], 2, true), NO_SCORE);
    EXPECT_EQ(pd.hanging[BLACK], 0);
    EXPECT_EQ(pd.free_pawn_rank[WHITE], 0);
    EXPECT_EQ(pd.trivial_draw, 0);
}

TEST_F(EvaluateTest, CachesServeFromPlyTwoOnAndNeverAtTheRoot) {
    ThreadBlock* tb = ThreadData[0];
    SetGame("2r1q2k/1P5p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -");
    const int score = Evaluate(tb, 2, false);
    const PlyData first = tb->ply_data[2];
    EXPECT_EQ(first.free_pawn_rank[WHITE], 6);
    EXPECT_GT(first.hanging[BLACK], 0);
    EXPECT_EQ(tb->eval_hits, 0u);

    EXPECT_EQ(Evaluate(tb, 3, false), score);
    EXPECT_EQ(tb->eval_hits, 1u);
    const PlyData& second = tb->ply_data[3];
    EXPECT_TRUE(std::equal(first.free_pawn_rank, first.free_pawn_rank + 2, second.free_pawn_rank));
    EXPECT_TRUE(std::equal(first.hanging, first.hanging + 2, second.hanging));
    game_position->side = WHITE;  // an entry of its own, the same pawns
    Evaluate(tb, 2, false);
    EXPECT_EQ(tb->eval_hits, 1u);
    EXPECT_EQ(tb->pawn_hits, 1u);
    game_position->side = BLACK;

    // Changed weights are not seen through the caches, but at the root.
    Personality.pawn_doubled = -100;
    EXPECT_EQ(Evaluate(tb, 2, false), score);
    EXPECT_NE(Evaluate(tb, 1, false), score);
    EXPECT_EQ(tb->pawn_hits, 1u);
    EXPECT_EQ(tb->eval_probes, 5u);
    // InitEval empties both.
    Personality = DefaultPersonality;
    InitEval();
    EXPECT_EQ(Evaluate(tb, 2, false), score);
    EXPECT_EQ(tb->pawn_hits, 1u);
}

// The report tells the same score and counts no probe; in check there is nothing to tell.
TEST_F(EvaluateTest, TheReportIsOfTheSameEvaluation) {
    ThreadBlock* tb = ThreadData[0];
    SetGame("8/5k2/3p4/8/3P4/8/4K3/R7 w - -");
    const int score = Evaluate(tb, 2, false);
    EvalReport report;
    EXPECT_EQ(EvaluateWithReport(tb, &report), score);
    EXPECT_EQ(report.stage, 22);
    EXPECT_EQ(tb->eval_probes, 1u);
    EXPECT_EQ(tb->pawn_probes, 1u);
    EXPECT_EQ(Evaluate(tb, 2, false), score);
    EXPECT_EQ(tb->eval_hits, 1u);
    SetGame("8/5k2/3p4/8/3P4/8/4K3/5R2 b - -");
    EXPECT_EQ(EvaluateWithReport(tb, &report), NO_SCORE);
    EXPECT_EQ(report.stage, 0);
    EXPECT_EQ(report.factor, 1.0);
}

TEST_F(EvaluateTest, FiftyMoveCounterScalesDownToNothing) {
    SetGame("r5k1/5ppp/8/8/8/8/1Q3PPP/R5K1 w - -");
    const int full = Evaluate(ThreadData[0], 1, false);
    ASSERT_GT(full, 200);
    for (int fifty : {25, 45, 100, 125, 255}) {
        game_position->fifty = static_cast<u8>(fifty);
        const double factor = std::max(0.0, 1.0 - (fifty - 25) * 0.01);
        EXPECT_EQ(Evaluate(ThreadData[0], 1, false), static_cast<int>(full * factor)) << fifty;
    }
}

TEST_F(EvaluateTest, WinProbabilityIsALogisticCurveOfTheScore) {
    EXPECT_EQ(WinProbability(0), 0.5);
    EXPECT_NEAR(WinProbability(400), 0.918, 0.0005);
    EXPECT_NEAR(WinProbability(400) + WinProbability(-400), 1.0, 1e-12);
    EXPECT_NEAR(WinProbability(-10000), 0.0, 1e-12);
}

}  // namespace

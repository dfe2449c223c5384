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

// The same men with the colours exchanged and the board turned over.
std::string Flipped(const std::string& fen) {
    std::istringstream ranks(fen.substr(0, fen.find(' ')));
    std::string turned;
    for (std::string rank; std::getline(ranks, rank, '/');) { turned.insert(0, rank + "/"); }
    for (char& c : turned) { c = static_cast<char>(std::isalpha(c) ? c ^ ' ' : c); }
    turned.back() = ' ';
    return turned + (fen.find(" w ") != std::string::npos ? "b" : "w") + " - -";
}

// One difference is meant to be there: of several candidate passers on their front rank, White's
// choice is the one nearest the h-file and Black's the one nearest the a-file.
TEST_F(EvaluateTest, ColourFlippedPositionsScoreTheSameButForTheChoiceOfCandidates) {
    const std::string two_on_one_rank = "8/3R2pp/1p4k1/5p2/PPP1rP2/5K1P/5P2/8 w - -";
    for (const auto& row : ReadTable("evaluations.tsv")) {
        const bool same = Score(Flipped(row[0])) == Score(row[0]);
        EXPECT_EQ(same, row[0] != two_on_one_rank) << row[0];
    }
}

TEST_F(EvaluateTest, LinesOfThePieces) { ExpectColumns("piece_lines.tsv"); }

TEST_F(EvaluateTest, CachesServeFromPlyTwoOnAndNeverAtTheRoot) {
    ThreadBlock* tb = ThreadData[0];
    SetGame("8/8/8/8/8/N7/2p2kPP/K7 b - -");
    const int score = Evaluate(tb, 2, false);
    EXPECT_EQ(Pair(tb->ply_data[2].free_pawn_rank), "1,6");
    EXPECT_EQ(Pair(tb->ply_data[2].hanging), "100,100");
    EXPECT_EQ(Evaluate(tb, 3, false), score);
    EXPECT_EQ(tb->eval_hits, 1u);
    EXPECT_EQ(Pair(tb->ply_data[3].free_pawn_rank), "1,6");
    EXPECT_EQ(Pair(tb->ply_data[3].hanging), "100,100");
    game_position->side = WHITE;  // an entry of its own, the same pawns
    Evaluate(tb, 2, false);
    EXPECT_EQ(tb->eval_hits, 1u);
    game_position->side = BLACK;

    // Changed weights are not seen through the caches, but at the root.
    Personality.pawn_isolated = -100;
    EXPECT_EQ(Evaluate(tb, 2, false), score);
    EXPECT_NE(Evaluate(tb, 1, false), score);
    Personality = DefaultPersonality;
    InitEval();  // empties both
    EXPECT_EQ(Evaluate(tb, 2, false), score);
    EXPECT_EQ(tb->pawn_hits, 1u);
    EvalReport report;  // who asks for it is not counted
    EXPECT_EQ(EvaluateWithReport(tb, &report), score);
    EXPECT_EQ(tb->eval_probes, 6u);
    EXPECT_EQ(tb->pawn_probes, 4u);
}

TEST_F(EvaluateTest, FiftyMoveCounterScalesDownToNothing) {
    const int full = Score("r5k1/5ppp/8/8/8/8/1Q3PPP/R5K1 w - -");
    for (int fifty : {24, 25, 26, 45, 100, 125, 255}) {
        game_position->fifty = static_cast<u8>(fifty);
        const double factor = std::clamp(1.0 - (fifty - 25) * 0.01, 0.0, 1.0);
        EXPECT_EQ(Evaluate(ThreadData[0], 1, false), static_cast<int>(full * factor)) << fifty;
    }
}

TEST_F(EvaluateTest, WinProbabilityIsALogisticCurveOfTheScore) {
    EXPECT_NEAR(WinProbability(400), 0.918, 0.0005);
    EXPECT_NEAR(WinProbability(400) + WinProbability(-400), 1.0, 1e-12);
}

}  // namespace

// Every column of the table of evaluated positions: scores, stage, factor, report lines and
// squares.
#include <cstdio>

#include "eval/evaluated.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "search/search.h"

namespace {

template <typename T>
std::string Pair(const T* value) {
    return std::to_string(value[WHITE]) + "," + std::to_string(value[BLACK]);
}

// The table's line as the engine would write it.
std::vector<std::string> Evaluated(const std::string& fen) {
    InitEval();  // no score of an earlier position
    ClearTTable();
    Position* pos = SetGame(fen);
    InitSearch();
    EvalReport r;
    EvaluateWithReport(ThreadData[1], &r);
    SearchIterations(1);
    const ThreadBlock* tb = ThreadData[1];
    char factor[16];
    std::snprintf(factor, sizeof factor, "%.4f", r.factor);
    std::string squares;
    for (Bitboard men = Occupied(pos); men != 0;) {
        const int sq = PopLSB(&men);
        if (!squares.empty()) { squares += " "; }
        squares += std::string(square_name[sq]) + ":" + std::to_string(r.squares[sq]);
    }
    std::vector<std::string> line = {fen, std::to_string(tb->root_eval),
                                     std::to_string(tb->running_score), std::to_string(r.stage),
                                     factor};
    for (const auto* pair : {r.material, r.positional}) { line.push_back(Pair(pair)); }
    for (const auto& term : r.terms) { line.push_back(Pair(term)); }
    for (const std::string& text : {Names(r.hanging), Names(r.pinned), Pair(r.free_pawn_rank)}) {
        line.push_back(text);
    }
    line.push_back(squares);
    return line;
}

TEST(ReferenceTest, EveryColumnOfEveryPositionAgrees) {
    ResetEngine();
    PBlock.limits.max_depth = 0;
    for (const std::vector<std::string>& row : ReadTable("evaluations.tsv")) {
        EXPECT_EQ(Evaluated(row[0]), row);
    }
}

}  // namespace

// Every column of the table of evaluated positions: scores, stage, factor, report lines and
// squares.
#include <gtest/gtest.h>

#include <cstdio>

#include "board/bitboards.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "search/search.h"
#include "support/engine.h"

namespace {

template <typename T>
std::string Pair(const T* value) {
    return std::to_string(value[WHITE]) + "," + std::to_string(value[BLACK]);
}

std::string Names(Bitboard squares) {
    std::string text;
    while (squares != 0) {
        if (!text.empty()) text += " ";
        text += square_name[PopLSB(&squares)];
    }
    return text;
}

// The table's line as the engine would write it.
std::vector<std::string> Evaluated(const std::string& fen) {
    InitEval();  // no score of an earlier position
    ClearTTable();
    Position* pos = SetGame(fen);
    InitSearch();
    SearchIterations(1);
    const ThreadBlock* tb = ThreadData[1];
    const EvalReport& r = PBlock.report;
    char factor[16];
    std::snprintf(factor, sizeof factor, "%.4f", r.factor);
    std::string squares;
    for (Bitboard men = Occupied(pos); men != 0;) {
        const int sq = PopLSB(&men);
        if (!squares.empty()) squares += " ";
        squares += std::string(square_name[sq]) + ":" + std::to_string(r.squares[sq]);
    }
    return {fen,
            std::to_string(tb->root_eval),
            std::to_string(tb->running_score),
            std::to_string(r.stage),
            factor,
            Pair(r.material),
            Pair(r.positional),
            Pair(r.pawns),
            Pair(r.knights),
            Pair(r.bishops),
            Pair(r.rooks),
            Pair(r.queens),
            Pair(r.kings),
            Pair(r.passers),
            Names(r.hanging),
            Names(r.pinned),
            Pair(r.free_pawn_rank),
            squares};
}

TEST(ReferenceTest, EveryColumnOfEveryPositionAgrees) {
    ResetEngine();
    PBlock.max_depth = 0;
    for (const std::vector<std::string>& row : ReadTable("evaluations.tsv"))
        EXPECT_EQ(Evaluated(row[0]), row);
}

}  // namespace

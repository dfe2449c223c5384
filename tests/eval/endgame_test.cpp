// The endings with a rule of their own.
#include "eval/endgame.h"

#include <gtest/gtest.h>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

using EndgameTest = EngineTest;

int Score(const std::string& fen) {
    SetPosition(&ThreadData[1]->pos, fen.c_str());
    return Evaluate(ThreadData[1], 1, false);
}

TEST_F(EndgameTest, SpecialEndingsScoreByTheirRule) {
    for (const auto& row : ReadTable("endings.tsv")) {
        EXPECT_EQ(std::to_string(Score(row[0])), row[1]) << row[0];
    }
}

TEST_F(EndgameTest, DeadMaterialIsADrawAndSaysSo) {
    PBlock.root.draw_score[WHITE] = -13;
    PBlock.root.draw_score[BLACK] = 13;
    for (const auto& row : ReadTable("dead_material.tsv")) {
        const int score = Score(row[0]);
        EXPECT_EQ(std::to_string(ThreadData[1]->ply_data[1].trivial_draw), row[1]) << row[0];
        EXPECT_TRUE(row[1] == "0" || score == PBlock.root.draw_score[ThreadData[1]->pos.side])
            << row[0];
    }
}

}  // namespace

// The endings with a rule of their own.
#include "eval/evaluated.h"
#include "frontend/pblock.h"

namespace {

using EndgameTest = EngineTest;

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
        EXPECT_EQ(std::to_string(ThreadData[0]->ply_data[1].trivial_draw), row[1]) << row[0];
        EXPECT_TRUE(row[1] == "0" || score == PBlock.root.draw_score[game_position->side])
            << row[0];
    }
}

}  // namespace

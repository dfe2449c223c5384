// The endings with a rule of their own.
#include "eval/evaluated.h"
#include "frontend/pblock.h"

namespace {

using EndgameTest = EngineTest;

TEST_F(EndgameTest, SpecialEndingsScoreByTheirRuleAndDeadOnesAsDraws) {
    PBlock.root.draw_score[WHITE] = -13;
    PBlock.root.draw_score[BLACK] = 13;
    ExpectColumns("endings.tsv");
}

}  // namespace

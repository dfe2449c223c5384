// What follows from the parameters: depth limits and the evaluation's tables.
#include "eval/personality.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/engine.h"

namespace {

using PersonalityTest = EngineTest;

TEST_F(PersonalityTest, DepthLimitsStopBeforeTheFirstEntryThatIsOff) {
    PersonalityRecord p = DefaultPersonality;
    DeriveDepthLimits(&p);
    EXPECT_EQ(p.CNP_depth, 3);
    EXPECT_EQ(p.FP_depth, 2);
    EXPECT_EQ(p.LMP_depth, 4);
    p.CNP_margin[2] = 5000;
    p.FP_margin[3] = 1000;  // not beyond the limit
    p.LMP_count[1] = 255;
    DeriveDepthLimits(&p);
    EXPECT_EQ(p.CNP_depth, 1);
    EXPECT_EQ(p.FP_depth, 3);
    EXPECT_EQ(p.LMP_depth, 0);
    for (int k = 1; k <= 5; ++k) { p.FP_margin[k] = 10; }
    p.FP_depth = 2;
    DeriveDepthLimits(&p);
    EXPECT_EQ(p.FP_depth, 2);
}

TEST_F(PersonalityTest, OwnSquareValuesReplaceComputedOnes) {
    const i16 computed = eval_tables.RookOpening[9];
    Personality.PST_op[ROOK][8] = -999;
    Personality.PST_op[ROOK][9] = -1000;
    Personality.PST_en[KING][63] = 55;
    InitEval();
    EXPECT_EQ(eval_tables.RookOpening[8], -999);
    EXPECT_EQ(eval_tables.RookOpening[9], computed);
    EXPECT_EQ(eval_tables.KingEnding[63], 55);
}

TEST_F(PersonalityTest, KingSafetyOfNothingOrLessMakesNoDanger) {
    for (const int percent : {0, -1, -100, -32768}) {
        Personality.king_safety = static_cast<i16>(percent);
        InitEval();
        for (const i16 danger : eval_tables.KingDanger) { EXPECT_EQ(danger, 0) << percent; }
    }
}

// Whatever the parameter file says, evaluating must stay defined behaviour.
TEST_F(PersonalityTest, ExtremeWeightsAreHarmless) {
    for (const i16 weight : {i16{-32768}, i16{32767}}) {
        i16* first = &Personality.pawn_value_op;
        std::fill(first, &Personality.PST_op[0][0], weight);
        InitEval();
        for (const std::vector<std::string>& row : ReadTable("evaluations.tsv")) {
            SetGame(row[0]);
            const int fresh = Evaluate(ThreadData[0], 1, false);
            EXPECT_EQ(Evaluate(ThreadData[0], 2, false), fresh) << row[0];
        }
    }
}

}  // namespace

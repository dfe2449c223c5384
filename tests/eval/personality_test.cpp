// What follows from the parameters: depth limits and the evaluation's tables.
#include "eval/personality.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "eval/evaluated.h"

namespace {

using testing::ElementsAre;
using PersonalityTest = EngineTest;

TEST_F(PersonalityTest, DepthLimitsStopBeforeTheFirstEntryThatIsOff) {
    PersonalityRecord p = DefaultPersonality;
    const auto depths = [&p] {
        DeriveDepthLimits(&p);
        return std::vector<int>{p.CNP_depth, p.FP_depth, p.LMP_depth};
    };
    EXPECT_THAT(depths(), ElementsAre(3, 2, 4));
    p.CNP_margin[2] = 1001;
    p.FP_margin[3] = 1000;  // not beyond the limit
    p.LMP_count[1] = 201;
    EXPECT_THAT(depths(), ElementsAre(1, 3, 0));
    std::fill_n(p.FP_margin, SELECTIVITY_DEPTHS, i16{10});
    p.LMP_count[1] = 200;
    EXPECT_THAT(depths(), ElementsAre(1, 3, 4));
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

// Whatever the parameter file says, evaluating must stay defined behaviour.
TEST_F(PersonalityTest, ExtremeWeightsAreHarmless) {
    for (const int weight : {-32768, -100, -1, 0, 32767}) {
        std::fill(&Personality.pawn_value_op, &Personality.PST_op[0][0], static_cast<i16>(weight));
        InitEval();
        const i16* danger = eval_tables.KingDanger;
        EXPECT_EQ(std::count(danger, danger + DANGER_COUNTS, 0) == DANGER_COUNTS, weight <= 0);
        for (const auto& row : ReadTable("evaluations.tsv")) {
            const int fresh = Score(row[0]);
            EXPECT_EQ(Evaluate(ThreadData[0], 2, false), fresh) << row[0];
        }
    }
    std::fill_n(&Personality.rook_value_op, 4, i16{20000});  // of rooks and queens
    InitEval();
    EXPECT_EQ(Score("6k1/5ppp/8/8/8/8/5PPP/QR4K1 w - -"), INT16_MAX);
}

}  // namespace

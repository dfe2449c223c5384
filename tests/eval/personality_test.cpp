// Defaults, limits and tables derived from the parameters.
#include "eval/personality.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/engine.h"

namespace {

class PersonalityTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
};

TEST_F(PersonalityTest, DerivedTablesHoldTheirKnownValues) {
    const struct {
        const char* what;
        int value, expected;
    } cases[] = {
        {"bishop pair, opening", MtlBishopOp[2], 706},
        {"bishop pair, ending", MtlBishopEn[2], 696},
        {"one bishop", MtlBishopOp[1], 335},
        {"nine queens", MtlQueenOp[9], 9000},
        {"knight's zero point", KnightMobility[3], 0},
        {"bishop's zero point", BishopMobility[4], 0},
        {"caged knight", KnightMobility[0], -20},  // 0.1 * -3 * 65 = -19.5
        {"caged bishop", BishopMobility[0], -19},
        {"queen beyond 15", QueenMobility[27], QueenMobility[15]},
        {"passer step", PP_BONUS2[4], 20},  // 0.65 * 30 = 19.5
        {"passer on the seventh", PP_BONUS2[6], 60},
        {"passer, rank 1", PP_BONUS[0], 0},
        {"tempo, opening", tempo_bonus[0], 12},
        {"tempo, ending", tempo_bonus[24], 6},
        {"tempo, middle", tempo_bonus[10], 10},  // 9.5
        {"no files, left", leftbit[0], 8},
        {"no files, right", rightbit[0], -1},
        {"files c and f, left", leftbit[0x24], 2},
        {"files c and f, right", rightbit[0x24], 5},
        {"king on g1, opening", KingOpening[6], 165 / 16},
        {"knight in the corner", KnightOpening[0], -600 / 16},
        {"knight on b1, ending", KnightEnding[1], -350 / 16},  // -21.9 toward zero
        {"danger, harmless", KingDanger[5], 0},
        {"danger, first", KingDanger[6], 2},
        {"danger, unused", KingDanger[40], 0},
    };
    for (const auto& c : cases) EXPECT_EQ(c.value, c.expected) << c.what;
    for (int n = 1; n < 32; n++) EXPECT_LE(KingDanger[n] - KingDanger[n - 1], 42 - n) << n;
}

TEST_F(PersonalityTest, ReductionsGrowWithStrengthDepthAndMoveNumber) {
    const auto& table = Personality.LMR_table;
    for (int layer = 0; layer < 2; layer++) {
        for (int m = 0; m < LMR_MOVES; m++) EXPECT_EQ(table[layer][2][m], 0);
        for (int d = 0; d < LMR_DEPTHS; d++) EXPECT_EQ(table[layer][d][0], 0);
    }
    EXPECT_EQ(table[1][3][31], 1);   // never more than the depth less two
    EXPECT_EQ(table[1][69][1], 1);   // nor than the move number
    EXPECT_EQ(table[1][69][31], 3);  // nor than three plies
    EXPECT_EQ(table[0][69][31], 2);  // 1.8
    EXPECT_EQ(table[1][9][4], 2);    // 0.04 * 10 * (3 + 2 - 0.4) = 1.84
    EXPECT_EQ(table[0][9][4], 1);    // 0.64
    Personality.LMR_strength = 0;
    BuildReductionTable(&Personality);
    for (const auto& layer : table)
        for (const auto& depth : layer)
            for (const u8 plies : depth) ASSERT_EQ(plies, 0);
}

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
    for (int k = 1; k <= 5; k++) p.FP_margin[k] = 10;
    p.FP_depth = 2;
    DeriveDepthLimits(&p);
    EXPECT_EQ(p.FP_depth, 2);
}

TEST_F(PersonalityTest, OwnSquareValuesReplaceComputedOnes) {
    const i16 computed = RookOpening[9];
    Personality.PST_op[ROOK][8] = -999;
    Personality.PST_op[ROOK][9] = -1000;
    Personality.PST_en[KING][63] = 55;
    InitEval();
    EXPECT_EQ(RookOpening[8], -999);
    EXPECT_EQ(RookOpening[9], computed);
    EXPECT_EQ(KingEnding[63], 55);
    Personality.king_safety = 0;
    InitEval();
    for (const i16 danger : KingDanger) EXPECT_EQ(danger, 0);
}

// Whatever the parameter file says, evaluating must stay defined behaviour.
TEST_F(PersonalityTest, ExtremeWeightsAreHarmless) {
    for (const i16 weight : {i16{-32768}, i16{32767}}) {
        i16* first = &Personality.pawn_value_op;
        std::fill(first, &Personality.PST_op[0][0], weight);
        InitEval();
        for (const std::vector<std::string>& row : ReadTable("evaluations.tsv")) {
            SetGame(row[0]);
            const int fresh = Evaluate(ThreadData[0], game_position->side, 1, 0);
            EXPECT_EQ(Evaluate(ThreadData[0], game_position->side, 2, 0), fresh) << row[0];
        }
    }
}

}  // namespace

// The evaluation report as a whole text.
#include "frontend/report.h"

#include <gtest/gtest.h>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

// One position with every optional line, and a special ending, whose score stands on the strong
// king.
TEST(ReportTest, WholeTexts) {
    for (const auto& [fen, file] :
         {std::pair("2r1q2k/1P5p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -", "middlegame.txt"),
          std::pair("8/8/8/2k5/2B5/8/4N3/4K3 b - -", "bishop_and_knight.txt")}) {
        ResetEngine();
        PBlock.limits.max_depth = 9;
        SetGame(fen);
        EXPECT_EQ(OutputOf(ShowEvalInfo), FileContent(DataFile("reports/") + file));
        EXPECT_EQ(PBlock.limits.max_depth, 9);
    }
}

}  // namespace

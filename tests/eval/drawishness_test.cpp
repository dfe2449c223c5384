// The factor that scales endings which are hard to win.
#include <gtest/gtest.h>

#include "support/engine.h"

namespace {

using DrawishnessTest = EngineTest;

TEST_F(DrawishnessTest, HardWinsAreScaled) {
    for (const auto& row : ReadTable("factors.tsv")) {
        SetPosition(&ThreadData[1]->pos, row[0].c_str());
        EvalReport report;
        EvaluateWithReport(ThreadData[1], &report);
        EXPECT_DOUBLE_EQ(report.factor, std::stod(row[1])) << row[0] << ' ' << row[2];
    }
}

}  // namespace

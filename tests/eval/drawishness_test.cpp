// The factor that scales endings which are hard to win.
#include "eval/evaluated.h"

namespace {

using DrawishnessTest = EngineTest;

TEST_F(DrawishnessTest, HardWinsAreScaled) {
    for (const auto& row : ReadTable("factors.tsv")) {
        EXPECT_DOUBLE_EQ(ReportOf(row[0]).factor, std::stod(row[1])) << row[0] << ' ' << row[2];
    }
}

}  // namespace

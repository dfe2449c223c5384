// The factor that scales endings which are hard to win.
#include "eval/evaluated.h"

namespace {

using DrawishnessTest = EngineTest;

TEST_F(DrawishnessTest, HardWinsAreScaled) { ExpectColumns("factors.tsv"); }

}  // namespace

// Kings in the ending, threats to a king, and pins.
#include "eval/evaluated.h"

namespace {

using KingTest = EngineTest;

TEST_F(KingTest, ActivityContactThreatsAndPins) { ExpectColumns("king_lines.tsv"); }

}  // namespace

// Pawn structure, candidates and passed pawns, by the report's lines.
#include "eval/evaluated.h"

namespace {

using PawnsTest = EngineTest;

TEST_F(PawnsTest, LinesOfTheReport) { ExpectLines("pawn_lines.tsv"); }

}  // namespace

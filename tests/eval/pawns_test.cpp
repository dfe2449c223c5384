// Pawn structure, candidates and passed pawns, by the report's lines.
#include "eval/evaluated.h"

namespace {

using PawnsTest = EngineTest;

TEST_F(PawnsTest, LinesOfTheReport) { ExpectColumns("pawn_lines.tsv"); }

}  // namespace

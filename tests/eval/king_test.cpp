// Kings in the ending, threats to a king, and pins.
#include "eval/evaluated.h"
#include "eval/personality.h"

namespace {

using KingTest = EngineTest;

TEST_F(KingTest, LinesOfTheReport) { ExpectLines("king_lines.tsv"); }

TEST_F(KingTest, AGuardedQueenBesideTheKingThreatensMate) {
    const struct {
        const char* fen;
        int hanging;
        const char* why;
    } cases[] = {
        {"6k1/5p1p/5P1Q/8/8/8/8/6K1 b - -", 5000, "on g7, guarded by the pawn"},
        {"6k1/5p1p/7Q/8/8/8/8/6K1 b - -", 0, "the king takes on g7"},
        {"5bk1/5p1p/5P1Q/8/8/8/8/6K1 b - -", 0, "the bishop does"},
        {"6k1/5p1p/5P1R/8/8/8/8/6K1 b - -", 0, "no queen"},
    };
    for (const auto& c : cases) {
        ReportOf(c.fen);
        EXPECT_EQ(ThreadData[0]->ply_data[1].hanging[BLACK], c.hanging) << c.why;
    }
}

TEST_F(KingTest, PinnedMenAreThoseAloneBeforeTheKingOrTheOnlyQueen) {
    const struct {
        const char* fen;
        const char* pinned;
        const char* why;
    } cases[] = {
        {"4r1k1/8/8/8/8/8/4N3/4K3 w - -", "e2", "a knight before the king"},
        {"4r1k1/8/8/8/8/4P3/8/4K3 w - -", "", "pawns are not counted"},
        {"4r1k1/8/8/4N3/8/8/4N3/4K3 w - -", "", "two of them"},
        {"4r1k1/8/8/4n3/8/8/8/4K3 w - -", "", "an enemy"},
        {"6k1/8/b7/8/8/3N4/4Q3/K7 w - -", "d3", "before the queen"},
        {"6k1/8/q7/8/8/3N4/4Q3/K7 w - -", "", "a queen pins nothing to a queen"},
        {"6k1/8/b7/8/8/3N4/4Q3/K6Q w - -", "", "one of two queens"},
        {"4r1k1/8/8/8/4Q3/8/8/4K2Q w - -", "e4", "a queen before the king, beside a second one"},
    };
    for (const auto& c : cases) { EXPECT_EQ(Names(ReportOf(c.fen).pinned), c.pinned) << c.why; }

    const int charged = ReportOf(cases[0].fen).positional[WHITE];
    Personality.pinned = 0;
    EXPECT_EQ(ReportOf(cases[0].fen).positional[WHITE], charged - DefaultPersonality.pinned);
}

}  // namespace

// What ends a game by the rules; whole games are played in selfplay_test.
#include "arena/game.h"

#include <gtest/gtest.h>

#include "support/engine.h"

namespace {

TEST(Game, HasNoMateLeftWithBareKingsOneMinorPieceOrBishopsOfOneColour) {
    const std::pair<const char*, bool> cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - -", true},    {"4k3/8/8/8/8/8/8/4KN2 w - -", true},
        {"4kb2/8/8/8/8/8/8/4K3 w - -", true},   {"4kb2/8/8/8/8/8/8/2B1K3 w - -", true},
        {"4kb2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/8/8/8/8/8/8/3NKN2 w - -", false},
        {"4kn2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/4p3/8/8/8/8/8/4K3 w - -", false},
        {"4k3/8/8/8/8/8/8/4K2R w - -", false},  {"4k3/8/8/8/8/8/8/4K2q w - -", false}};
    for (const auto& [fen, dead] : cases) {
        EXPECT_EQ(NoMateIsPossible(SetGame(fen)), dead) << fen;
    }
}

}  // namespace

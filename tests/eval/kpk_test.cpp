// The king-and-pawn bitbase, checked by the rules of its game.
#include "eval/kpk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// White king (strong) and pawn (files a to d) against the black king (weak), on squares 0 to 63,
// by plain coordinates. `to_move`: 0 the pawn's side.
bool Won(int to_move, int pawn, int strong, int weak) {
    return kpk_db[to_move][pawn % 8 + pawn / 8 * 4][strong][weak] == KPK_WIN;
}

int Apart(int a, int b) { return std::max(std::abs(a % 8 - b % 8), std::abs(a / 8 - b / 8)); }

bool Guards(int pawn, int sq) { return sq / 8 == pawn / 8 + 1 && std::abs(sq % 8 - pawn % 8) == 1; }

bool PawnSideWins(int pawn, int strong, int weak) {
    if (Guards(pawn, weak)) { return false; }
    for (int to = 0; to < 64; ++to) {
        if (Apart(strong, to) == 1 && to != pawn && Apart(to, weak) > 1 && Won(1, pawn, to, weak)) {
            return true;
        }
    }
    const int ahead = pawn + 8;
    if (ahead == strong || ahead == weak) { return false; }
    if (ahead >= 56) { return Apart(weak, ahead) > 1 || Apart(strong, ahead) <= 1; }
    return Won(1, ahead, strong, weak) || (pawn < 16 && ahead + 8 != strong && ahead + 8 != weak &&
                                           Won(1, ahead + 8, strong, weak));
}

// Mates by the pawn and stalemates are no wins.
bool LoneKingLoses(int pawn, int strong, int weak) {
    bool any_step = false;
    for (int to = 0; to < 64; ++to) {
        if (Apart(weak, to) != 1 || Apart(strong, to) <= 1 || Guards(pawn, to)) { continue; }
        if (to == pawn || !Won(0, pawn, strong, to)) { return false; }
        any_step = true;
    }
    return any_step;
}

// Every entry follows from those one move later. The true wins are the smallest set of which that
// holds, so that their number, counted by working backward from the promotions, proves the rest.
TEST(KpkTest, EveryEntryFollowsFromTheNextMoveAndNoneIsWonWithoutEnd) {
    int wrong = 0, wins = 0;
    for (int n = 8 * 64 * 64; n < 56 * 64 * 64; ++n) {
        const int pawn = n / 64 / 64, strong = n / 64 % 64, weak = n % 64;
        if (pawn % 8 >= 4) { continue; }
        const bool possible = pawn != strong && pawn != weak && Apart(strong, weak) > 1;
        wrong += Won(0, pawn, strong, weak) != (possible && PawnSideWins(pawn, strong, weak));
        wrong += Won(1, pawn, strong, weak) != (possible && LoneKingLoses(pawn, strong, weak));
        wins += Won(0, pawn, strong, weak) + Won(1, pawn, strong, weak);
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(wins, 111282);
}

}  // namespace

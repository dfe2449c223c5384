// The king-and-pawn bitbase, checked by the rules of its game.
#include "eval/kpk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// White king (strong) and pawn (files a to d) against the black king (weak), on squares 0 to 63,
// by plain coordinates. `to_move`: 0 the pawn's side.
int Apart(int a, int b) { return std::max(std::abs(a % 8 - b % 8), std::abs(a / 8 - b / 8)); }

bool Guards(int pawn, int sq) { return sq / 8 == pawn / 8 + 1 && std::abs(sq % 8 - pawn % 8) == 1; }

// False too when the men cannot stand so. A pawn that has arrived must outlive the next move.
bool Won(int to_move, int pawn, int strong, int weak) {
    if (pawn == strong || pawn == weak || Apart(strong, weak) <= 1) { return false; }
    if (pawn >= 56) { return Apart(weak, pawn) > 1 || Apart(strong, pawn) <= 1; }
    return kpk_db[to_move][pawn % 8 + pawn / 8 * 4][strong][weak] == KPK_WIN;
}

bool PawnSideWins(int pawn, int strong, int weak) {
    const int ahead = pawn + 8;
    bool win = Won(1, ahead, strong, weak) ||
               (pawn < 16 && ahead != strong && ahead != weak && Won(1, ahead + 8, strong, weak));
    for (int to = 0; to < 64; ++to) { win |= Apart(strong, to) == 1 && Won(1, pawn, to, weak); }
    return win && !Guards(pawn, weak);
}

// Mates by the pawn and stalemates are no wins.
bool LoneKingLoses(int pawn, int strong, int weak) {
    int steps = 0, losing = 0;
    for (int to = 0; to < 64; ++to) {
        if (Apart(weak, to) != 1 || Apart(strong, to) <= 1 || Guards(pawn, to)) { continue; }
        ++steps;
        losing += Won(0, pawn, strong, to);  // not when the pawn is taken
    }
    return steps > 0 && losing == steps;
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

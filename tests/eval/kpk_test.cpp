// The king-and-pawn bitbase against a solver of its own.
#include "eval/kpk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "support/engine.h"

namespace {

// White king and pawn (files a to d) against the black king, solved by counting: a position with
// the lone king to move is won when every legal step leads to a won one, a position with the pawn's
// side to move when one move does. Works outward from the promotions, by plain coordinates; it
// shares nothing with the engine's tables. Mates by the pawn and stalemates are no wins.
struct KpkSolver {
    KpkSolver() {
        for (bool changed = true; changed;) {
            changed = false;
            for (int n = 0; n < 2 * 64 * 64 * 64; ++n) {
                const int pawn = 63 - n / 2 / 64 / 64, strong = n / 2 / 64 % 64, weak = n / 2 % 64;
                bool& entry = won[n % 2][pawn][strong][weak];
                if (entry || pawn < 8 || pawn > 55 || !Possible(pawn, strong, weak)) { continue; }
                entry = n % 2 == 0 ? PawnSideWins(pawn, strong, weak)
                                   : LoneKingLoses(pawn, strong, weak);
                changed |= entry;
            }
        }
    }
    static int Apart(int a, int b) {
        return std::max(std::abs(a % 8 - b % 8), std::abs(a / 8 - b / 8));
    }
    static bool Guards(int pawn, int sq) {
        return sq / 8 == pawn / 8 + 1 && std::abs(sq % 8 - pawn % 8) == 1;
    }
    // A position that can stand on the board, whoever moves.
    static bool Possible(int pawn, int strong, int weak) {
        return pawn != strong && pawn != weak && Apart(strong, weak) > 1;
    }
    bool PawnSideWins(int pawn, int strong, int weak) const {
        if (Guards(pawn, weak)) { return false; }
        for (int to = 0; to < 64; ++to) {
            if (Apart(strong, to) == 1 && Possible(pawn, to, weak) && won[1][pawn][to][weak]) {
                return true;
            }
        }
        const int ahead = pawn + 8;
        if (ahead == strong || ahead == weak) { return false; }
        if (ahead >= 56) { return Apart(weak, ahead) > 1 || Apart(strong, ahead) <= 1; }
        return won[1][ahead][strong][weak] ||
               (pawn < 16 && ahead + 8 != strong && ahead + 8 != weak &&
                won[1][ahead + 8][strong][weak]);
    }
    bool LoneKingLoses(int pawn, int strong, int weak) const {
        bool any_step = false;
        for (int to = 0; to < 64; ++to) {
            if (Apart(weak, to) != 1 || Apart(strong, to) <= 1 || Guards(pawn, to)) { continue; }
            if (to == pawn || !won[0][pawn][strong][to]) { return false; }
            any_step = true;
        }
        return any_step;
    }

    bool won[2][64][64][64] = {};  // by side to move: 0 the pawn's
};

TEST(KpkTest, EveryEntryAgreesWithAnIndependentSolver) {
    const auto solver = std::make_unique<KpkSolver>();
    int wrong = 0, wins = 0;
    for (int to_move = 0; to_move < 2; ++to_move) {
        for (int pawn = 8; pawn < 56; ++pawn) {
            for (int strong = 0; strong < 64 && pawn % 8 < 4; ++strong) {
                for (int weak = 0; weak < 64; ++weak) {
                    const bool win = solver->won[to_move][pawn][strong][weak];
                    const int entry = kpk_db[to_move][pawn % 8 + pawn / 8 * 4][strong][weak];
                    wins += win;
                    wrong += entry != (win ? 2 : 1);
                }
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(wins, 100000);
}

}  // namespace

// The king-and-pawn bitbase against a solver of its own, and the endings with a rule of their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

// White king and pawn (files a to d) against the black king, solved by counting: a position with
// the lone king to move is won when every legal step leads to a won one, a position with the pawn's
// side to move when one move does. Works outward from the promotions, by plain coordinates; it
// shares nothing with the engine's tables. Mates by the pawn and stalemates are no wins.
class KpkSolver {
public:
    KpkSolver() {
        for (bool changed = true; changed;) {
            changed = false;
            for (int pawn = 55; pawn >= 8; pawn--) {
                if (pawn % 8 > 3) continue;
                for (int strong = 0; strong < 64; strong++)
                    for (int weak = 0; weak < 64; weak++) {
                        changed |= Mark(0, pawn, strong, weak, PawnSideWins(pawn, strong, weak));
                        changed |= Mark(1, pawn, strong, weak, LoneKingLoses(pawn, strong, weak));
                    }
            }
        }
    }
    bool Wins(int to_move, int pawn, int strong, int weak) const {
        return won_[to_move][pawn][strong][weak];
    }

private:
    bool Mark(int to_move, int pawn, int strong, int weak, bool win) {
        bool& entry = won_[to_move][pawn][strong][weak];
        const bool changed = win && !entry;
        entry |= win;
        return changed;
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
        if (!Possible(pawn, strong, weak) || Guards(pawn, weak)) return false;
        for (int to = 0; to < 64; to++)
            if (Apart(strong, to) == 1 && Possible(pawn, to, weak) && Wins(1, pawn, to, weak))
                return true;
        const int ahead = pawn + 8;
        if (ahead == strong || ahead == weak) return false;
        if (ahead >= 56) return Apart(weak, ahead) > 1 || Apart(strong, ahead) <= 1;
        if (Wins(1, ahead, strong, weak)) return true;
        return pawn < 16 && ahead + 8 != strong && ahead + 8 != weak &&
               Wins(1, ahead + 8, strong, weak);
    }
    bool LoneKingLoses(int pawn, int strong, int weak) const {
        if (!Possible(pawn, strong, weak)) return false;
        bool any_step = false;
        for (int to = 0; to < 64; to++) {
            if (Apart(weak, to) != 1 || Apart(strong, to) <= 1 || Guards(pawn, to)) continue;
            if (to == pawn || !Wins(0, pawn, strong, to)) return false;
            any_step = true;
        }
        return any_step;
    }

    bool won_[2][64][64][64] = {};
};

TEST(KpkTest, EveryEntryAgreesWithAnIndependentSolver) {
    const auto solver = std::make_unique<KpkSolver>();
    int wrong = 0, wins = 0;
    for (int to_move = 0; to_move < 2; to_move++)
        for (int pawn = 8; pawn < 56; pawn++)
            for (int strong = 0; strong < 64 && pawn % 8 < 4; strong++)
                for (int weak = 0; weak < 64; weak++) {
                    const bool win = solver->Wins(to_move, pawn, strong, weak);
                    const int entry = kpk_db[to_move][pawn % 8 + pawn / 8 * 4][strong][weak];
                    wins += win;
                    wrong += entry != (win ? 2 : 1);
                }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(wins, 100000);
}

class EndgameTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    static int Score(const std::string& fen) {
        SetGame(fen);
        return Evaluate(ThreadData[0], game_position->side, 1, 0);
    }
};

TEST_F(EndgameTest, SpecialEndingsScoreByTheirRule) {
    const struct {
        const char* fen;
        int score;
    } cases[] = {
        // Pawn endings, with the board mirrored and turned.
        {"4k3/8/4K3/4P3/8/8/8/8 w - -", 800},
        {"4k3/8/4K3/4P3/8/8/8/8 b - -", -800},
        {"8/8/8/8/3p4/3k4/8/3K4 w - -", -800},
        {"8/8/8/8/6p1/6k1/8/6K1 b - -", 800},
        {"k7/8/8/P7/8/2K5/8/8 w - -", 0},
        {"7K/8/8/7p/8/2k5/8/8 b - -", 800},
        {"8/8/2k5/8/7p/8/8/7K b - -", 0},
        // Bishop and knight: 700 + 4 * centre of the strong king + corner - 12 * distance.
        {"8/8/8/8/8/2K1B3/3N4/k7 w - -", 700 + 8 + 120 - 24},
        {"8/8/8/8/8/2K2B2/3N4/k7 w - -", 700 + 8 + 10 - 24},
        {"7k/8/5K2/8/8/5B2/3N4/8 b - -", -(700 + 8 + 10 - 24)},
        {"k7/8/2K5/8/8/5B2/3N4/8 b - -", -(700 + 8 + 120 - 24)},
        // Mop-up: 100 * units + 200 + edge - 10 * distance.
        {"7k/8/5K2/8/8/8/8/R7 w - -", 500 + 200 + 60 - 20},
        {"7k/8/5K2/8/8/8/N7/Q7 b - -", -(1300 + 200 + 60 - 20)},
        // A queen or rook against a pawn: 100 * units - 10 * (r - 1) + 5 * (dW - dS).
        {"8/8/8/8/1k6/2p5/8/K6Q b - -", -(1000 - 40 + 5 * (1 - 2))},
        // The bishop pawn on the seventh with the king near draws, a centre pawn does not.
        {"8/8/8/8/8/1k6/2p5/K6Q w - -", 1000 - 50 + 5 * (1 - 2)},
        {"6K1/8/8/8/8/1k6/2p5/7Q w - -", (1000 - 50 + 5 * (1 - 6)) / 2},
        {"6K1/8/8/8/8/2k5/3p4/7Q w - -", 1000 - 50 + 5 * (1 - 6)},
        {"6K1/8/8/8/8/1k6/2p5/2Q5 w - -", 1000 - 50 + 5 * (1 - 6)},
    };
    for (const auto& c : cases) EXPECT_EQ(Score(c.fen), c.score) << c.fen;
}

TEST_F(EndgameTest, DeadMaterialIsADrawAndSaysSo) {
    PBlock.draw_score[WHITE] = -13;
    PBlock.draw_score[BLACK] = 13;
    for (const char* men : {"", "N", "B", "NN", "Bn", "Bb", "nN", "nn"}) {
        const std::string board = std::string("4k3/8/8/8/8/8/") + (*men ? men : "8") +
                                  (*men ? std::to_string(8 - std::string(men).size()) : "") +
                                  "/4K3";
        EXPECT_EQ(Score(board + " w - -"), -13) << board;
        EXPECT_EQ(ThreadData[0]->ply_data[1].trivial_draw, 1);
        EXPECT_EQ(Score(board + " b - -"), 13) << board;
    }
    Score("4k3/8/8/8/8/8/NNn5/4K3 w - -");
    EXPECT_EQ(ThreadData[0]->ply_data[1].trivial_draw, 0);
    // Counts whose sum of both sides looks like two minor pieces are no dead material.
    Score("nnnnnnnn/4k3/8/8/8/8/4K3/NNNNNNNN w - -");
    EXPECT_EQ(ThreadData[0]->ply_data[1].trivial_draw, 0);
}

TEST_F(EndgameTest, HardWinsAreScaled) {
    const struct {
        const char* fen;
        double factor;
    } cases[] = {
        {"4k3/4p3/8/8/8/8/2NN4/4K3 w - -", 0.05},               // two knights
        {"4k3/4p3/8/8/8/8/3N4/4KB2 w - -", 1.0},                // far enough ahead
        {"3nk3/8/8/8/8/8/2B1B3/4K3 w - -", 0.9},                // two bishops, a knight
        {"3rk3/8/8/8/8/8/2R1B3/4K3 w - -", 0.15},               // rook and bishop, a rook
        {"7k/p7/8/6KP/8/8/8/8 w - -", 0.25},                    // a pawn each, drawn alone
        {"6k1/8/8/8/7P/7P/3B4/6K1 w - -", 1.0},                 // the right bishop
        {"6k1/8/8/8/7P/7P/4B3/6K1 w - -", 0.06},                // the wrong one
        {"2b1k3/8/8/8/2P5/2P5/2B5/4K3 w - -", 1.0},             // equal colours of bishops
        {"1b2k3/2p5/8/8/2P5/2P3P1/2B5/4K3 w - -", 0.5},         // unequal, two pawns up
        {"1b2k3/2p3p1/8/8/2P5/2P3P1/2B5/4K3 w - -", 0.25},      // and one
        {"1b1rk3/2p3p1/8/8/2P5/2P3P1/2B5/3RK3 w - -", 0.8},     // with rooks
        {"r7/8/4k3/8/4P3/4K3/8/R7 w - -", 0.85 * 0.75 * 0.7},   // a last pawn, king in front
        {"r7/8/3k4/8/4P3/3K4/8/R7 w - -", 0.85 * 0.75 * 0.85},  // kings behind and beside
    };
    ThreadBlock* tb = ThreadData[1];
    for (const auto& c : cases) {
        SetPosition(&tb->pos, c.fen);
        Evaluate(tb, tb->pos.side, 1, 0);
        EXPECT_DOUBLE_EQ(PBlock.report.factor, c.factor) << c.fen;
    }
}

}  // namespace

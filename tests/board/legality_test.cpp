// Legality, checks, moves from outside the generators, and attacks on the king's surroundings.
#include <gtest/gtest.h>

#include <set>

#include "board/reference.h"

namespace {

using LegalityTest = EngineTest;

TEST_F(LegalityTest, LegalityAndChecksAgreeWithTheTable) {
    ForEachMoveOfTable([](Position* pos, const MoveEntry* e, const auto& row) {
        const std::string where = row[FEN] + " " + row[COORD];
        const std::string before = Describe(pos, true);
        EXPECT_EQ(std::to_string(MoveIsLegal(pos, pos->side, e->move)), row[LEGAL]) << where;
        EXPECT_EQ(std::to_string(MoveIsLegalNonZero(pos, pos->side, e->move)), row[LEGAL]);
        EXPECT_EQ(std::to_string(MoveGivesCheck(pos, pos->side, e)), row[CHECK]) << where;
        EXPECT_EQ(Describe(pos, true), before) << where;
    });
    EXPECT_EQ(MoveIsLegal(game_position, WHITE, NO_MOVE), 0);
}

TEST_F(LegalityTest, ChecksOfUnusualKinds) {
    const struct {
        const char* fen;
        const char* move;
        int check;
    } cases[] = {
        {"7k/8/8/8/3N4/8/1B6/K7 w - -", "d4b5", DISCOVERED_CHECK},  // no other line piece
        {"7k/8/8/8/3N4/8/1B6/K7 w - -", "b2a3", NO_CHECK},
        {"7k/8/6N1/8/8/8/8/K6R w - -", "g6h4", NO_CHECK},
        {"7k/7N/8/8/8/8/8/K6R w - -", "h7g5", DISCOVERED_CHECK},
        {"7k/7N/8/8/8/8/8/K6R w - -", "h7f6", DISCOVERED_CHECK},
        {"5k2/8/8/8/8/8/8/4K2R w K -", "e1g1", NO_CHECK},    // though the rook checks
        {"8/8/8/R2pP2k/8/8/8/K7 w - d6", "e5d6", NO_CHECK},  // though two pawns leave the rank
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        for (const MoveEntry& e : AllMoves(pos)) {
            if (MoveText(e.move) != c.move) { continue; }
            EXPECT_EQ(MoveGivesCheck(pos, WHITE, &e), c.check) << c.fen << ' ' << c.move;
        }
    }
}

TEST_F(LegalityTest, PseudoLegalityAgreesWithTheGeneratorsForEveryMoveWord) {
    std::mt19937 random(5);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        for (int step = 0; step < 4; ++step) {
            std::set<Move> generated;
            for (const MoveEntry& e : AllMoves(pos)) { generated.insert(e.move); }
            for (unsigned word = 0; word < 65536; ++word) {
                const Move m = static_cast<Move>(word);
                ASSERT_EQ(MoveIsPseudoLegal(pos, m), generated.count(m)) << fen << ' ' << m;
            }
            for (int ply = 0; ply < 7; ++ply) {
                if (const Move m = RandomMove(pos, random)) { PlayGameMove(pos, m); }
            }
        }
    }
}

TEST_F(LegalityTest, NewAttackOnTheKingAreaNeedsALineAndASecondPiece) {
    const struct {
        const char* fen;
        const char* move;
        int attacks;
    } cases[] = {
        {"6k1/8/8/6N1/8/8/1K6/R7 w - -", "a1h1", 1},
        {"6k1/8/8/6N1/8/8/1K6/R7 w - -", "a1a7", 1},
        {"6k1/8/8/6N1/8/8/1K6/R7 w - -", "a1a8", 0},  // the knight attacks nothing there
        {"6k1/8/8/6N1/8/8/1K6/R7 w - -", "a1g1", 0},  // the knight stands in between
        {"6k1/8/8/6N1/8/8/1K6/R7 w - -", "g5h3", 0},
        {"6k1/8/8/8/8/8/1K6/R7 w - -", "a1h1", 0},
        {"6k1/R7/8/6N1/8/8/1K6/8 w - -", "a7b7", 0},  // the same line as before
        {"6k1/8/8/6N1/8/7R/1K6/R7 w - -", "a1h1", 1},
        {"6k1/8/8/6N1/8/7Q/1K6/R7 w - -", "a1h1", 1},
        {"6k1/8/8/6N1/8/7B/1K6/R7 w - -", "a1h1", 0},
        {"6k1/8/8/6N1/8/7r/1K6/R7 w - -", "a1h1", 0},
        {"6k1/8/8/6N1/2B5/8/8/K7 w - -", "c4d3", 1},
        {"6k1/8/8/6N1/2B5/8/8/K7 w - -", "c4b5", 0},
        {"6k1/8/6B1/6N1/2B5/8/8/K7 w - -", "c4d3", 1},
        {"6k1/8/6R1/6N1/2B5/8/8/K7 w - -", "c4d3", 0},
        {"6k1/8/8/6N1/2Q5/8/8/K7 w - -", "c4d3", 1},
        {"6k1/8/8/6N1/2Q5/8/8/K7 w - -", "c4h4", 1},
        {"6k1/8/8/6N1/2Q5/8/8/K7 w - -", "c4c3", 0},
        {"6k1/8/8/8/2Q5/8/8/1K1R4 w - -", "d1h1", 0},  // seconded by none
        {"6k1/8/8/8/5Q2/8/8/1K3R2 w - -", "f4c4", 1},  // by the rook that it uncovers
        {"7k/8/8/8/3Q4/8/8/K6R w - -", "h1g1", 1},
        {"6k1/8/8/5Q2/8/8/8/K7 w - -", "f5h5", 0},  // the queen alone, on two lines
        {"r7/1k6/8/8/6n1/8/8/6K1 b - -", "a8h8", 1},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        const std::string before = Describe(pos, true);
        const Move m = Word(c.move);
        const int king = KingSquare(pos, pos->side ^ 1);
        EXPECT_EQ(MoveAttacksKingArea(pos, PieceType(pos->board[MoveFrom(m)]), MoveFrom(m),
                                      MoveTo(m), BB_KingRays[king] | Bit(king)),
                  c.attacks)
            << c.fen << ' ' << c.move;
        EXPECT_EQ(Describe(pos, true), before) << c.fen << ' ' << c.move;
    }
}

}  // namespace

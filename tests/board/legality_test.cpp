// Legality, checks, moves from outside the generators, and attacks on the king's surroundings.
#include "board/reference.h"

namespace {

using LegalityTest = EngineTest;

TEST_F(LegalityTest, LegalityAndChecksAgreeWithTheTable) {
    ForEachMoveOfTable([](Position* pos, const MoveEntry* e, const Row& row) {
        EXPECT_EQ(std::to_string(MoveIsLegal(pos, pos->side, e->move)), row[LEGAL]);
        EXPECT_EQ(std::to_string(MoveIsLegalNonZero(pos, pos->side, e->move)), row[LEGAL]);
        EXPECT_EQ(std::to_string(MoveGivesCheck(pos, pos->side, e)), row[CHECK]);
    });
    EXPECT_EQ(MoveIsLegal(game_position, WHITE, NO_MOVE), 0);
}

TEST_F(LegalityTest, MasksOfAPositionTellTheSameAsTheFullTests) {
    const auto check = [](Position* pos) {
        if (WhyUnplayable(pos) != nullptr) { return; }
        const LegalityMasks legality = FindLegality(pos);
        const CheckMasks checks = FindChecks(pos);
        for (const MoveEntry& e : AllMoves(pos)) {
            const int legal = MoveIsLegalNonZero(pos, pos->side, e.move);
            ASSERT_EQ(MoveIsLegal(pos, legality, e.move), legal != 0)
                << Epd(pos) << MoveText(e.move);
            ASSERT_EQ(MoveGivesCheck(pos, checks, &e), MoveGivesCheck(pos, pos->side, &e))
                << Epd(pos) << MoveText(e.move);
        }
    };
    ForRandomPositions(60, check, 20);
}

TEST_F(LegalityTest, PseudoLegalityAgreesWithTheGeneratorsForEveryMoveWord) {
    ForRandomPositions(6, [](Position* pos) {
        std::vector<bool> generated(65536);
        for (const MoveEntry& e : AllMoves(pos)) { generated[e.move] = true; }
        for (std::size_t m = 0; m < generated.size(); ++m) {
            const int said = MoveIsPseudoLegal(pos, static_cast<Move>(m));
            ASSERT_EQ(said, generated[m]) << Epd(pos) << ' ' << m;
        }
    });
}

TEST_F(LegalityTest, NewAttackOnTheKingAreaNeedsALineAndASecondPiece) {
    ForEachRow("king_area.tsv", [](Position* pos, const Row& row) {
        const int from = MoveFrom(Word(row[1])), to = MoveTo(Word(row[1]));
        const int king = KingSquare(pos, pos->side ^ 1);
        const int attacks = MoveAttacksKingArea(pos, PieceType(pos->board[from]), from, to,
                                                BB_KingRays[king] | Bit(king));
        EXPECT_EQ(std::to_string(attacks), row[2]);
        EXPECT_TRUE(PositionIsSound(pos));
    });
}

}  // namespace

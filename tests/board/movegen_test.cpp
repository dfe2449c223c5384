// Generation, legality, checks and exchanges: the reference table of moves, and moves that come
// from outside the generators.
#include <gtest/gtest.h>

#include <set>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class MoveGenTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }
};

// One row of the table: the entry and everything the tests and texts say about it.
void ExpectRow(const std::vector<std::string>& row, Position* pos, const MoveEntry* e) {
    const std::string where = row[0] + " " + row[10];
    const int side = pos->side;
    ASSERT_EQ(std::to_string(e->move), row[2]) << where;
    EXPECT_EQ(std::to_string(e->piece), row[3]) << where;
    EXPECT_EQ(std::to_string(e->captured), row[4]) << where;
    EXPECT_EQ(std::to_string(e->score), row[5]) << where;
    EXPECT_EQ(std::to_string(MoveIsLegal(pos, side, e->move)), row[6]) << where;
    EXPECT_EQ(std::to_string(MoveIsLegalNonZero(pos, side, e->move)), row[6]) << where;
    EXPECT_EQ(std::to_string(MoveGivesCheck(pos, side, e)), row[7]) << where;
    EXPECT_EQ(std::to_string(MoveIsSafe(pos, e->move)), row[8]) << where;
    const int gain = swapoff1(pos, side, MoveFrom(e->move), MoveTo(e->move), Occupied(pos));
    EXPECT_EQ(std::to_string(gain), row[9]) << where;
    char text[4][MOVE_TEXT_SIZE];
    GenMoveStrings(pos, e->move, text[0], text[1], text[2], text[3]);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(text[i], row[10 + i]) << where;
}

TEST_F(MoveGenTest, EveryListAgreesWithTheTableInOrderAndJudgement) {
    PBlock.protocol = PROTOCOL_CONSOLE;
    const std::vector<std::vector<std::string>> rows = ReadTable("moves.tsv");
    Position* pos = game_position;
    const MoveEntry* e = nullptr;
    std::string before;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i == 0 || rows[i][0] != rows[i - 1][0]) {
            pos = SetGame(rows[i][0]);
            GenerateAll(pos);
            e = pos->sstack[pos->ply].list_start;
            before = Describe(pos, true);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectRow(rows[i], pos, e));
        ++e;
        if (i + 1 == rows.size() || rows[i + 1][0] != rows[i][0]) {
            EXPECT_EQ(e->move, END_OF_LIST) << rows[i][0];
            EXPECT_EQ(pos->sstack[pos->ply + 1].list_start, e + 1);
            EXPECT_EQ(pos->sstack[pos->ply + 2].list_start, e + 2);
            EXPECT_EQ(Describe(pos, true), before) << "a test left its traces";
        }
    }
}

TEST_F(MoveGenTest, CastlingAndEnPassantNeedTheirPieces) {
    const struct {
        const char *fen, *move;
        int generated, legal;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/R3K2R w KQ -", "e1g1", 1, 1},
        {"4k3/8/8/8/8/8/8/R3K2R w Q -", "e1g1", 0, 0},
        {"4k3/8/8/8/8/8/8/R3K3 w KQ -", "e1g1", 0, 0},
        {"4k3/8/8/8/8/8/8/R3K1NR w KQ -", "e1g1", 0, 0},
        {"4k3/8/8/8/8/8/8/R2K3R w KQ -", "d1f1", 0, 0},
        {"4kr2/8/8/8/8/8/8/R3K2R w KQ -", "e1g1", 1, 0},
        {"k3r3/8/8/8/8/8/8/R3K2R w KQ -", "e1g1", 1, 0},
        {"kr6/8/8/8/8/8/8/R3K2R w KQ -", "e1c1", 1, 1},
        {"r3k2r/8/8/8/8/8/8/4K3 b kq -", "e8c8", 1, 1},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", 1, 1},
        {"4k3/8/8/4P3/8/8/8/4K3 w - d6", "e5d6", 0, 0},
        {"4k3/8/3n4/3pP3/8/8/8/4K3 w - f6", "e5f6", 0, 0},
        {"4k3/8/8/K1Pp3r/8/8/8/8 w - d6", "c5d6", 1, 0},
        {"4k3/8/8/KPp4r/8/8/8/8 w - c6", "b5c6", 1, 0},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        int generated = 0, legal = 0;
        for (const MoveEntry& e : AllMoves(pos)) {
            char text[MOVE_TEXT_SIZE];
            MoveToStr(e.move, text);
            if (std::string(text) != c.move) continue;
            ++generated;
            legal += MoveIsLegal(pos, pos->side, e.move);
        }
        EXPECT_EQ(generated, c.generated) << c.fen << ' ' << c.move;
        EXPECT_EQ(legal, c.legal) << c.fen << ' ' << c.move;
    }
    EXPECT_EQ(MoveIsLegal(game_position, WHITE, NO_MOVE), 0);
}

TEST_F(MoveGenTest, PseudoLegalityAgreesWithTheGeneratorsForEveryMoveWord) {
    std::mt19937 random(5);
    for (const std::string& fen : SamplePositions()) {
        Position* pos = SetGame(fen);
        for (int step = 0; step < 4; ++step) {
            std::set<Move> generated;
            for (const MoveEntry& e : AllMoves(pos)) generated.insert(e.move);
            for (unsigned word = 0; word < 65536; ++word) {
                const Move m = static_cast<Move>(word);
                ASSERT_EQ(MoveIsPseudoLegal(pos, m), generated.count(m)) << fen << ' ' << m;
            }
            for (int ply = 0; ply < 7; ++ply)
                if (const Move m = RandomMove(pos, random)) PlayGameMove(pos, m);
        }
    }
}

}  // namespace

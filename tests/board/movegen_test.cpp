// Generation, legality, checks and exchanges: the reference table of moves, and moves that come
// from outside the generators, as words and as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "board/reference.h"
#include "frontend/pblock.h"

namespace {

using MoveGenTest = EngineTest;

// One row of the table: the entry and everything the tests and texts say about it.
void ExpectRow(const std::vector<std::string>& row, Position* pos, const MoveEntry* e) {
    const std::string where = row[0] + " " + row[10];
    const int side = pos->side;
    ASSERT_EQ(std::to_string(e->move), row[2]) << where;
    const int values[] = {e->piece,
                          e->captured,
                          e->score,
                          MoveIsLegal(pos, side, e->move),
                          MoveGivesCheck(pos, side, e),
                          MoveIsSafe(pos, e->move),
                          swapoff1(pos, side, MoveFrom(e->move), MoveTo(e->move), Occupied(pos))};
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(std::to_string(values[i]), row[3 + i]) << where;
    }
    EXPECT_EQ(MoveIsLegalNonZero(pos, side, e->move), MoveIsLegal(pos, side, e->move)) << where;
    MoveForms forms;
    GenMoveStrings(pos, e->move, &forms);
    std::size_t column = 10;
    for (const char* text : {forms.coord, forms.san, forms.file_form, forms.rank_form}) {
        EXPECT_EQ(text, row[column++]) << where;
    }
}

TEST_F(MoveGenTest, EveryListAgreesWithTheTableInOrderAndJudgement) {
    PBlock.options.protocol = PROTOCOL_CONSOLE;
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
    for (const auto& row : ReadTable("unusual_moves.tsv")) {
        Position* pos = SetGame(row[0]);
        int generated = 0, legal = 0;
        for (const MoveEntry& e : AllMoves(pos)) {
            if (MoveText(e.move) != row[1]) { continue; }
            ++generated;
            legal += MoveIsLegal(pos, pos->side, e.move);
        }
        EXPECT_EQ(std::to_string(generated), row[2]) << row[0] << ' ' << row[1];
        EXPECT_EQ(std::to_string(legal), row[3]) << row[0] << ' ' << row[1];
    }
    EXPECT_EQ(MoveIsLegal(game_position, WHITE, NO_MOVE), 0);
}

TEST_F(MoveGenTest, PseudoLegalityAgreesWithTheGeneratorsForEveryMoveWord) {
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

}  // namespace

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
    char text[4][MOVE_TEXT_SIZE];
    GenMoveStrings(pos, e->move, text[0], text[1], text[2], text[3]);
    for (std::size_t i = 0; i < 4; ++i) { EXPECT_EQ(text[i], row[10 + i]) << where; }
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

// Reads `text` in the game position: the move it names, which must be legal, or 0.
Move Read(const std::string& text) {
    std::vector<char> buffer(text.begin(), text.end());
    buffer.resize(text.size() + 2);  // the NUL and one more character, no byte beyond
    Move m = 1234;
    const int valid = IsValidMove(buffer.data(), &m);
    EXPECT_EQ(valid != 0, m != NO_MOVE) << text;
    EXPECT_EQ(valid, MoveIsLegal(game_position, game_position->side, m)) << text;
    return m;
}

TEST(MoveTextTest, AcceptedAndRefusedSpellings) {
    ResetEngine();
    for (const auto& row : ReadTable("movetexts.tsv")) {
        SetGame(row[0]);
        testing::internal::CaptureStdout();
        const Move m = Read(row[1]);
        EXPECT_EQ(m == NO_MOVE ? "" : MoveText(m), row[2]) << row[0] << ' ' << row[1];
        const std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(output.empty(), row[3].empty()) << row[0] << ' ' << row[1] << ": " << output;
        EXPECT_THAT(output, testing::HasSubstr(row[3])) << row[0] << ' ' << row[1];
    }
    EXPECT_EQ(MoveText(NO_MOVE), "null");
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    EXPECT_EQ(MoveText(MakeMoveWord(8, 1, PROMOTE_ROOK)), "a2b1=R");
}

TEST(MoveTextTest, RandomTextNamesNothingAndHarmsNothing) {
    ResetEngine();
    std::mt19937 random(7);
    const std::string letters = "abcdefgh12345678NBRQK=+-xoO0qnbr#";
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3000; ++i) {
        SetGame(SamplePositions()[random() % SamplePositions().size()]);
        std::string text;
        for (unsigned n = random() % 10 == 0 ? 300 : random() % 8; n > 0; --n) {
            text += random() % 9 ? letters[random() % letters.size()]
                                 : static_cast<char>(random() % 255 + 1);
        }
        Read(text);
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace

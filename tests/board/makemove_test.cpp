// Make and unmake, null moves, the game history and its guard.
#include <gtest/gtest.h>

#include "board/reference.h"
#include "eval/threadblock.h"
#include "frontend/pblock.h"

namespace {

using MakeMoveTest = EngineTest;

TEST_F(MakeMoveTest, RandomWalksKeepTheRecordSoundAndComeBackExactly) {
    std::mt19937 random(8);
    for (int walk = 0; walk < 300; ++walk) {
        Position* pos = SetGame(SamplePositions()[random() % SamplePositions().size()]);
        std::vector<std::string> before;
        while (before.size() < 60) {
            const Move m = RandomMove(pos, random);
            if (m == NO_MOVE) { break; }
            before.push_back(Describe(pos, false));
            const u8 side = pos->side;
            if (random() % 8 == 0 && !InCheck(pos, side)) {
                MakeNullMove(pos);
                ASSERT_EQ(pos->ep_square, NO_SQUARE);
                ASSERT_EQ(pos->fifty, 0);
                ASSERT_EQ(pos->last_move, NO_MOVE);
                ASSERT_EQ(RecaptureSquare(pos), NO_SQUARE);
            } else {
                MakeMove(pos, m);
                ASSERT_EQ(pos->last_move, m);
                ASSERT_EQ(RecaptureSquare(pos), MoveTo(m));
            }
            ASSERT_EQ(pos->side, side ^ 1);
            ASSERT_EQ(pos->hist_count, static_cast<int>(before.size()));
            ASSERT_TRUE(PositionIsSound(pos));
        }
        for (; pos->hist_count > 0; before.pop_back()) {
            TakeBack(pos);
            ASSERT_TRUE(PositionIsSound(pos));
            ASSERT_EQ(Describe(pos, false), before.back());
        }
    }
}

TEST_F(MakeMoveTest, PieceListsKeepArrivalOrderAndOnlyCastlingOfKingMovesResetsTheFiftyCounter) {
    for (const auto& row : ReadTable("piecelists.tsv")) {
        Position* pos = SetGame(row[0]);
        pos->fifty = 30;
        Play(pos, row[1]);
        const bool black = std::islower(row[2][0]);
        const auto type = std::string(black ? bchar : wchar, 8).find(row[2][0]);
        std::string squares;
        for (const u8* s = pos->plist[black][type]; *s != NO_SQUARE; ++s) {
            squares += (squares.empty() ? "" : " ") + std::string(square_name[*s]);
        }
        EXPECT_EQ(squares, row[3]) << row[0] << ' ' << row[1];
        EXPECT_EQ(std::to_string(pos->fifty), row[4]) << row[0] << ' ' << row[1];
    }
}

TEST_F(MakeMoveTest, CastlingRightsGoWithTheirKingOrRookAndComeBack) {
    const struct {
        const char* side;
        const char* move;
        const char* left;
    } cases[] = {
        {"w", "a1b1", "Kkq"}, {"w", "h1g1", "Qkq"}, {"w", "e1e2", "kq"}, {"w", "e1g1", "kq"},
        {"w", "e1c1", "kq"},  {"w", "a1a8", "Kk"},  {"w", "h1h8", "Qq"}, {"w", "b4a6", "KQkq"},
        {"b", "a8b8", "KQk"}, {"b", "h8g8", "KQq"}, {"b", "e8e7", "KQ"}, {"b", "e8g8", "KQ"},
        {"b", "e8c8", "KQ"},  {"b", "a8a1", "Kk"},  {"b", "h8h1", "Qq"},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(std::string("r3k2r/8/8/8/1N6/8/8/R3K2R ") + c.side + " KQkq -");
        Play(pos, c.move);
        char text[EPD_FIELDS_SIZE];
        MakeEPD(pos, text);
        EXPECT_TRUE(std::string(text).ends_with(std::string(" ") + c.left + " -"))
            << c.move << ": " << text;
        TakeBack(pos);
        MakeEPD(pos, text);
        EXPECT_TRUE(std::string(text).ends_with(" KQkq -")) << c.move << ": " << text;
    }
}

TEST_F(MakeMoveTest, FiftyStopsAtItsLimitAndAVeryLongGameStaysWithinTheHistory) {
    Position* pos = SetGame(fen_opn);
    const Move moves[] = {Word("g1f3"), Word("g8f6"), Word("f3g1"), Word("f6g8")};
    for (int i = 0; i < 6001; ++i) {
        PlayGameMove(pos, moves[i % 4]);
        ASSERT_EQ(pos->fifty, std::min(i + 1, FIFTY_COUNTER_MAX));
        ASSERT_LE(pos->hist_count, GAME_HISTORY_LIMIT);
        ASSERT_GE(pos->hist_count, std::min(i + 1, GAME_HISTORY_KEPT));
        ASSERT_EQ(pos->ply, 1);
        ASSERT_EQ(pos->last_move, moves[i % 4]);
        ASSERT_EQ(pos->undo[pos->hist_count - 1].move, moves[i % 4]);
    }
    EXPECT_TRUE(PositionIsSound(pos));
    EXPECT_EQ(pos->undo[pos->hist_count - 4].hash, pos->hash);
    for (int taken = 0; pos->hist_count > 0; ++taken) {
        TakeBackGameMove(pos);
        ASSERT_EQ(pos->ply, 1);
        ASSERT_TRUE(PositionIsSound(pos));
        ASSERT_EQ(pos->last_move, pos->hist_count ? moves[(5999 - taken) % 4] : NO_MOVE);
    }
    EXPECT_EQ(pos->fifty, FIFTY_COUNTER_MAX) << "the oldest part was dropped";
}

}  // namespace

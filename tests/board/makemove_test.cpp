// Make and unmake, null moves, the game history and its guard, and the move trace.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "board/reference.h"
#include "board/zobrist.h"
#include "eval/threadblock.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class MakeMoveTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    static Move Play(Position* pos, const std::string& coordinates) {
        for (Move m : LegalMoves(pos)) {
            char text[MOVE_TEXT_SIZE];
            MoveToStr(m, text);
            if (coordinates == text) {
                MakeMove(pos, m);
                return m;
            }
        }
        ADD_FAILURE() << coordinates << " is not legal";
        return NO_MOVE;
    }

    static std::vector<int> List(const Position* pos, int colour, int type) {
        std::vector<int> squares;
        for (int i = 0; pos->plist[colour][type][i] != NO_SQUARE; ++i)
            squares.push_back(pos->plist[colour][type][i]);
        return squares;
    }
};

TEST_F(MakeMoveTest, RandomWalksKeepTheRecordSoundAndComeBackExactly) {
    std::mt19937 random(8);
    for (int walk = 0; walk < 300; ++walk) {
        const std::string& fen = SamplePositions()[random() % SamplePositions().size()];
        Position* pos = SetGame(fen);
        std::vector<std::string> before;
        while (before.size() < 60) {
            const Move m = RandomMove(pos, random);
            if (m == NO_MOVE) break;
            before.push_back(Describe(pos, false));
            if (random() % 8 == 0 && !InCheck(pos, pos->side))
                MakeNullMove(pos);
            else
                MakeMove(pos, m);
            ASSERT_TRUE(PositionIsSound(pos)) << fen;
            char epd[EPD_FIELDS_SIZE];
            MakeEPD(pos, epd);
            Position fresh = *pos;
            UndoRecord undo[2];
            fresh.undo = undo;
            SetPosition(&fresh, epd);
            ASSERT_EQ(pos->hash, fresh.hash) << epd;
            ASSERT_EQ(pos->pawn_hash, fresh.pawn_hash) << epd;
            ASSERT_EQ(pos->sig[WHITE] + pos->sig[BLACK], fresh.sig[WHITE] + fresh.sig[BLACK]);
        }
        while (pos->hist_count > 0) {
            if (pos->undo[pos->hist_count - 1].move == NO_MOVE)
                UnmakeNullMove(pos);
            else
                UnmakeMove(pos);
            ASSERT_TRUE(PositionIsSound(pos)) << fen;
            ASSERT_EQ(Describe(pos, false), before.back()) << fen;
            before.pop_back();
        }
    }
}

TEST_F(MakeMoveTest, PieceListsKeepArrivalOrder) {
    Position* pos = SetGame("6k1/8/8/8/8/1p6/2p5/RN1R3K b - -");
    Play(pos, "c2b1r");  // the knight is gone, the promoted rook is the last of its list
    EXPECT_EQ(List(pos, BLACK, ROOK), (std::vector<int>{1}));
    Play(pos, "a1b1");
    EXPECT_EQ(List(pos, WHITE, ROOK), (std::vector<int>{1, 3}));  // moves in place
    UnmakeMove(pos);
    UnmakeMove(pos);
    EXPECT_EQ(List(pos, BLACK, PAWN), (std::vector<int>{17, 10}));
    EXPECT_EQ(List(pos, WHITE, KNIGHT), (std::vector<int>{1}));

    pos = SetGame("6k1/8/8/8/8/8/pPp5/RN1R3K b - -");
    Play(pos, "c2d1q");
    UnmakeMove(pos);
    EXPECT_EQ(List(pos, WHITE, ROOK), (std::vector<int>{0, 3}));
    EXPECT_EQ(List(pos, BLACK, PAWN), (std::vector<int>{8, 10}));  // restored at the end
    Play(pos, "a2b1q");
    UnmakeMove(pos);
    EXPECT_EQ(List(pos, BLACK, PAWN), (std::vector<int>{10, 8}));

    pos = SetGame("k7/8/8/2ppP3/8/8/8/K7 w - d6");
    Play(pos, "e5d6");
    UnmakeMove(pos);
    EXPECT_EQ(List(pos, BLACK, PAWN), (std::vector<int>{34, 35}));
    EXPECT_EQ(pos->last_move, NO_MOVE);
}

TEST_F(MakeMoveTest, NullMovePassesAndComesBack) {
    Position* pos = SetGame(fen_opn);
    const Move m = Play(pos, "e2e4");
    pos->fifty = 30;
    const std::string before = Describe(pos, true);
    const u64 hash = pos->hash;
    MakeNullMove(pos);
    EXPECT_EQ(pos->side, WHITE);
    EXPECT_EQ(pos->ep_square, NO_SQUARE);
    EXPECT_EQ(pos->fifty, 0);
    EXPECT_EQ(pos->last_move, NO_MOVE);
    EXPECT_EQ(pos->hash, hash);
    EXPECT_EQ(pos->hist_count, 2);
    UnmakeNullMove(pos);
    EXPECT_EQ(Describe(pos, true), before);
    EXPECT_EQ(pos->last_move, m);
}

TEST_F(MakeMoveTest, CastlingResetsTheFiftyCounterAndAnotherKingMoveDoesNot) {
    for (const char* move : {"e1g1", "e1c1", "e1e2"}) {
        Position* pos = SetGame("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
        pos->fifty = 30;
        Play(pos, move);
        EXPECT_EQ(pos->fifty, std::string(move) == "e1e2" ? 31 : 0) << move;
        EXPECT_EQ(pos->castle, BLACK_KING_SIDE | BLACK_QUEEN_SIDE);
    }
}

TEST_F(MakeMoveTest, FiftyStopsAtItsLimitAndAVeryLongGameStaysWithinTheHistory) {
    Position* pos = SetGame(fen_opn);
    const char* const shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    Move moves[4];
    for (int i = 0; i < 4; ++i) moves[i] = Play(pos, shuffle[i]);
    for (int i = 0; i < 4; ++i) UnmakeMove(pos);
    for (int i = 0; i < 6001; ++i) {
        PlayGameMove(pos, moves[i % 4]);
        ASSERT_EQ(pos->fifty, std::min(i + 1, FIFTY_LIMIT));
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
}

TEST_F(MakeMoveTest, TraceWritesTheTreeUpToItsLimit) {
    ScratchFolder folder;
    Position* pos = SetGame(fen_opn);
    ThreadData[0]->iteration_depth = 5;
    pos->sstack[0].depth = 5;
    for (i16 ply = 1; ply < 5; ++ply) pos->sstack[ply].depth = static_cast<i16>(6 - ply);
    PBlock.trace = 2;
    ResetTrace();
    Play(pos, "e2e4");
    Play(pos, "e7e5");
    Play(pos, "g1f3");  // ply 3 is beyond the limit
    UnmakeMove(pos);
    UnmakeMove(pos);
    Play(pos, "d7d5");
    UnmakeMove(pos);
    MakeNullMove(pos);
    UnmakeNullMove(pos);
    UnmakeMove(pos);
    Play(pos, "d2d4");
    UnmakeMove(pos);
    ThreadData[0]->iteration_depth = 12;
    pos->sstack[0].depth = pos->sstack[1].depth = 12;
    Play(pos, "c2c4");
    PBlock.trace = 0;
    ResetTrace();
    std::ifstream in("trace.txt");
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(text,
              "\n\nSEARCH DEPTH= 5\n( 5)e2e4 ( 4)e7e5 \n         ( 4)d7d5 \n         ( 4)null "
              "\n( 5)d2d4 \n\nSEARCH DEPTH= 12\n\n(12)c2c4 ");
}

}  // namespace

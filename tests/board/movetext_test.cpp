// Move text: both ways of writing a promotion, and which texts name a move.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class MoveTextTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    // Reads `text` in the game position; the coordinate text of the move it names, or "".
    static std::string Read(const std::string& text) {
        std::vector<char> buffer(text.begin(), text.end());
        buffer.resize(text.size() + 2);  // the NUL and one more character, no byte beyond
        Move m = 1234;
        if (!IsValidMove(buffer.data(), &m)) return m == NO_MOVE ? "" : "move left set";
        char name[MOVE_TEXT_SIZE];
        MoveToStr(m, name);
        return name;
    }
};

TEST_F(MoveTextTest, WrittenByProtocol) {
    const struct {
        Move move;
        const char *uci, *console;
    } cases[] = {
        {NO_MOVE, "null", "null"},
        {MakeMoveWord(52, 60, PROMOTE_KNIGHT), "e7e8n", "e7e8=N"},
        {MakeMoveWord(8, 1, PROMOTE_BISHOP), "a2b1b", "a2b1=B"},
        {MakeMoveWord(8, 1, PROMOTE_ROOK), "a2b1r", "a2b1=R"},
    };
    for (const auto& c : cases) {
        char text[MOVE_TEXT_SIZE];
        PBlock.protocol = PROTOCOL_UCI;
        MoveToStr(c.move, text);
        EXPECT_STREQ(text, c.uci);
        PBlock.protocol = PROTOCOL_CONSOLE;
        MoveToStr(c.move, text);
        EXPECT_STREQ(text, c.console);
    }
}

TEST_F(MoveTextTest, AcceptedAndRefusedSpellings) {
    const char* castle = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -";
    const char* promote = "1r6/P6k/8/8/8/8/8/K7 w - -";
    const char* two_captures = "4k3/3p4/4P3/3p4/4P3/8/8/4K3 w - -";
    const char* two_knights = "4k3/8/8/8/8/5N2/8/1N2K3 w - -";
    const char* pinned_knight = "4k3/8/8/8/1b6/2N5/8/4K1N1 w - -";
    const struct {
        const char *fen, *text, *move;
    } cases[] = {
        {fen_opn, "e2e4", "e2e4"},
        {fen_opn, "e4", "e2e4"},
        {fen_opn, "e4+", "e2e4"},
        {fen_opn, "Nf3", "g1f3"},
        {fen_opn, "Ngf3", "g1f3"},
        {fen_opn, "N1f3", "g1f3"},
        {fen_opn, "Nf3+ and more", "g1f3"},
        {fen_opn, "Nf3#", ""},
        {fen_opn, "", ""},
        {fen_opn, "+", ""},
        {fen_opn, "N", ""},
        {fen_opn, "e", ""},
        {fen_opn, "e2e5", ""},
        {fen_opn, "a2a3q", ""},
        {castle, "O-O", "e1g1"},
        {castle, "0-0", "e1g1"},
        {castle, "O-O-O", "e1c1"},
        {castle, "o-o-o", "e1c1"},
        {castle, "Rad1", "a1d1"},
        {castle, "Rd1", "a1d1"},
        {promote, "a7a8q", "a7a8q"},
        {promote, "a7a8Q", "a7a8q"},
        {promote, "a7a8=Q", "a7a8q"},
        {promote, "a8Q", "a7a8q"},
        {promote, "a8=Q", "a7a8q"},
        {promote, "a8n", "a7a8n"},
        {promote, "axb8=R", "a7b8r"},
        {promote, "abN", "a7b8n"},
        {promote, "a7a8", ""},
        {promote, "a8", ""},
        {two_captures, "exd5", "e4d5"},
        {two_captures, "exd7+", "e6d7"},
        {two_knights, "Nbd2", "b1d2"},
        {two_knights, "N3d2", "f3d2"},
        {two_knights, "Nd2", ""},
        {pinned_knight, "Ne2", "g1e2"},
        {pinned_knight, "Nce2", ""},
        {"4k3/8/8/8/1p6/P7/8/4K3 w - -", "ab", "a3b4"},
        {"4k3/8/8/8/1p6/2P5/8/4K3 w - -", "cb", "c3b4"},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "ed", "e5d6"},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "exd6", "e5d6"},
        {"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", "e5d6"},
    };
    testing::internal::CaptureStdout();
    for (const auto& c : cases) {
        SetGame(c.fen);
        EXPECT_EQ(Read(c.text), c.move) << c.fen << ' ' << c.text;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(MoveTextTest, TwoMovesOfOneTextAreCalledAmbiguous) {
    SetGame("4k3/3p4/4P3/3p4/4P3/8/8/4K3 w - -");
    testing::internal::CaptureStdout();
    EXPECT_EQ(Read("ed"), "");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("ambiguous move"));
}

TEST_F(MoveTextTest, RandomTextNamesNothingAndHarmsNothing) {
    std::mt19937 random(7);
    const std::string letters = "abcdefgh12345678NBRQK=+-xoO0qnbr#";
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3000; ++i) {
        Position* pos = SetGame(SamplePositions()[random() % SamplePositions().size()]);
        std::string text;
        for (unsigned n = random() % 10 == 0 ? 300 : random() % 8; n > 0; --n)
            text += random() % 9 ? letters[random() % letters.size()]
                                 : static_cast<char>(random() % 255 + 1);
        std::vector<char> buffer(text.begin(), text.end());
        buffer.resize(text.size() + 2);
        Move m = 1;
        if (IsValidMove(buffer.data(), &m))
            ASSERT_TRUE(MoveIsLegal(pos, pos->side, m)) << text;
        else
            ASSERT_EQ(m, NO_MOVE) << text;
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace

// Set-up from text, its writer, single pieces, and the keys.
#include "board/position.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "board/reference.h"
#include "board/zobrist.h"
#include "support/engine.h"

namespace {

class PositionTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    // Sets the game position from bytes that end exactly where their allocation ends, so that a
    // memory checker sees any read beyond the text.
    static void SetExactly(const std::string& text) {
        const auto exact = std::make_unique<char[]>(text.size() + 1);
        std::memcpy(exact.get(), text.c_str(), text.size() + 1);
        SetPosition(game_position, exact.get());
    }

    static std::string Epd() {
        char text[EPD_FIELDS_SIZE];
        MakeEPD(game_position, text);
        return text;
    }
};

TEST_F(PositionTest, TextIsTakenAsItComes) {
    // Every text is set on a board with Black to move, so a side that is kept shows as "b".
    const struct {
        const char *text, *epd;
    } cases[] = {
        {"8/8/8/8/8/8/8/8 w - -", "8/8/8/8/8/8/8/8 w - -"},
        {"4k3/8/8/8/8/8/8/4K3 b - e3", "4k3/8/8/8/8/8/8/4K3 b - e3"},
        {"4k3/3p4/8/8/8/8/8/4K3 w - - 45 80", "4k3/3p4/8/8/8/8/8/4K3 w - -"},
        {"4k3/9/8/8/8/8/8/4K3 w KQkq h6 bm e4;", "4k3/8/8/8/8/8/8/4K3 w KQkq h6"},
        {"4k3/8/8/8/8/8/8/4K3 x - -", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"4k3/8/8/8/8/8/8/4K3  w - -", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"4k3/8/8/8/8/8/8/4K3 ", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"4k3/8/8/8/8/8/8/4K3 w", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"4k3/8/8/8/8/8/8/4K3 w    qK    -", "4k3/8/8/8/8/8/8/4K3 w Kq -"},
        {"4k3/8/8/8/8/8/8/4K3 w - 3", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"4k3/8/8/8/8/8/8/4K3 w - h88", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"4k3/?P?p/8/8/8/8/8/4K3 w - -", "4k3/1P1p4/8/8/8/8/8/4K3 w - -"},
        {"PPPP4/8/k7/8/8/8/8/pppp4 w - -", "PPPP4/8/k7/8/8/8/8/pppp4 w - -"},
        {"k", "k7/8/8/8/8/8/8/8 b - -"},
        {"", "8/8/8/8/8/8/8/8 b - -"},
    };
    for (const auto& c : cases) {
        SetGame("8/8/8/8/8/8/8/8 b KQkq e3");
        SetExactly(c.text);
        EXPECT_EQ(Epd(), c.epd) << c.text;
        EXPECT_EQ(game_position->fifty, 0) << c.text;
        EXPECT_TRUE(PositionIsSound(game_position)) << c.text;
    }
}

TEST_F(PositionTest, SurplusSquaresRanksAndPiecesNeverBreakTheRecord) {
    const char* texts[] = {
        "rnbqkbnrqqqq/ppppppppp/8/8/8/8/PPPPPPPPP/RNBQKBNRR w KQkq -",
        "7rr/6pppp/71/8p/8/8/8/8 w - -",
        "8/8/8/8/8/8/8/8/PPPPPPPP/kkkkkkkk/8/QQQQQQQQ w - -",
        "////////////////////KQ w - -",
        "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/kkkkkkkk/kkkk4/8/8/8 b - -",
        "pppppppp/pppppppp/8/8/8/8/8/8 w - -",
    };
    for (const char* text : texts) {
        SetExactly(text);
        EXPECT_TRUE(PositionIsSound(game_position)) << text;
        for (int c = 0; c < 2; ++c)
            for (int t = PAWN; t <= KING; ++t) EXPECT_LE(CountBits(game_position->bb[c][t]), 9);
    }
    SetExactly("QQQQQQQQ/QQN5/8/8/8/8/8/k6K w - -");
    EXPECT_EQ(Epd(), "QQQQQQQQ/Q1N5/8/8/8/8/8/k6K w - -");
    EXPECT_EQ(game_position->sig[WHITE], 0x90010u);
}

TEST_F(PositionTest, RandomBytesLeaveASoundRecord) {
    std::mt19937 random(4);
    const std::string likely = "rnbqkpRNBQKP/12345678/ w-KQkqabch36";
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        const auto length = random() % 100;
        while (text.size() < length)
            text += random() % 8 == 0 ? static_cast<char>(random() % 255 + 1)
                                      : likely[random() % likely.size()];
        SetExactly(text);
        ASSERT_TRUE(PositionIsSound(game_position)) << text;
        char epd[EPD_FIELDS_SIZE + 1];
        std::memset(epd, 1, sizeof epd);
        MakeEPD(game_position, epd);
        ASSERT_LT(std::strlen(epd), std::size_t{EPD_FIELDS_SIZE}) << text;
    }
}

TEST_F(PositionTest, SoundnessCheckSeesEachKindOfDamage) {
    void (*const damages[])(Position*) = {
        [](Position* p) { p->board[20] = PAWN; },
        [](Position* p) { p->board[64] = PAWN; },
        [](Position* p) { p->plist[WHITE][ROOK][1] = 20; },
        [](Position* p) { p->plist[BLACK][0][0] = 5; },
        [](Position* p) { p->bb[WHITE][KNIGHT] ^= Bit(20); },
        [](Position* p) { p->bb[BLACK][0] ^= Bit(20); },
        [](Position* p) { p->bb[BLACK][7] = 1; },
        [](Position* p) { p->sig[WHITE] += 1; },
        [](Position* p) { p->npm[BLACK] = 31; },
        [](Position* p) { p->hash ^= 1; },
        [](Position* p) { p->pawn_hash ^= 1; },
    };
    int index = 0;
    for (const auto damage : damages) {
        Position copy = *SetGame(fen_opn);
        ASSERT_TRUE(PositionIsSound(&copy));
        damage(&copy);
        EXPECT_FALSE(PositionIsSound(&copy)) << index;
        ++index;
    }
}

TEST_F(PositionTest, UnplayablePositionsAreNamed) {
    for (const std::string& fen : SamplePositions())
        EXPECT_EQ(WhyUnplayable(SetGame(fen)), nullptr) << fen;
    for (const char* fen :
         {"8/8/8/8/8/8/8/8 w - -", "8/8/8/8/8/8/8/K7 w - -", "k7/8/8/8/8/8/8/KK6 w - -",
          "k6P/8/8/8/8/8/8/K7 w - -", "k7/8/8/8/8/8/8/K2p4 w - -", "k7/8/8/8/8/8/8/R6K w - -"})
        EXPECT_NE(WhyUnplayable(SetGame(fen)), nullptr) << fen;
}

TEST_F(PositionTest, KeysHaveTheirFixedValuesAndStayTheSame) {
    EXPECT_EQ(InitZobrist(), 0);
    EXPECT_EQ(rtable[0][0], 0x075D4EE240B5DA0Fu);
    EXPECT_EQ(rtable[1][12], 0xBCC897CAE04423D7u);
    EXPECT_EQ(rtable2[0], 0xD994B218E344824Du);
    EXPECT_EQ(rtable2[64], 0x1842BD98D3EF37CDu);
    const u64* keys = &rtable[0][0];
    for (int i = 0; i < 1024; ++i) {
        for (int j = 0; j < i; ++j) {
            const u64 differing = keys[i] ^ keys[j];
            ASSERT_GE(CountBits(differing >> 32), 4) << i << ' ' << j;
            ASSERT_GE(CountBits(differing & 0xFFFFFFFFu), 4) << i << ' ' << j;
        }
    }
}

TEST_F(PositionTest, KeysMaterialAndExchangesAgreeWithTheTable) {
    const std::vector<std::vector<std::string>> rows = ReadTable("keys.tsv");
    EXPECT_GT(rows.size(), 500u);
    for (const auto& row : rows) {
        Position* pos = SetGame(row[0]);
        EXPECT_EQ(Epd(), row[0]);
        EXPECT_EQ(pos->hash, std::stoull(row[1], nullptr, 16)) << row[0];
        EXPECT_EQ(pos->pawn_hash, std::stoull(row[2], nullptr, 16)) << row[0];
        EXPECT_EQ(SearchKey(pos), std::stoull(row[3], nullptr, 16)) << row[0];
        for (std::size_t c : {0u, 1u}) {
            EXPECT_EQ(pos->sig[c], std::stoul(row[4 + c], nullptr, 16)) << row[0];
            EXPECT_EQ(pos->npm[c], std::stoi(row[6 + c])) << row[0];
        }
        std::string exchanges;
        for (int s = 0; s < 64; ++s) {
            if (pos->board[s] == NO_PIECE) continue;
            const int gain =
                swapoff1(pos, PieceColour(pos->board[s]) ^ 1, NO_SQUARE, s, Occupied(pos));
            if (gain == 0) continue;
            if (!exchanges.empty()) exchanges += ' ';
            exchanges += std::string(square_name[s]) + ":" + std::to_string(gain);
        }
        EXPECT_EQ(exchanges, row[10]) << row[0];
        EXPECT_TRUE(PositionIsSound(pos)) << row[0];
    }
}

}  // namespace

// Set-up from text, its writer, single pieces, and the keys.
#include "board/position.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "board/reference.h"
#include "board/zobrist.h"
#include "frontend/pblock.h"

namespace {

using PositionTest = EngineTest;

// Sets the game position from bytes that end exactly where their allocation ends, so that a memory
// checker sees any read beyond the text; then checks the record.
void SetExactly(const std::string& text) {
    const auto exact = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(exact.get(), text.c_str(), text.size() + 1);
    SetPosition(game_position, exact.get());
    ASSERT_TRUE(PositionIsSound(game_position)) << text;
    ASSERT_EQ(game_position->fifty, 0) << text;
    for (int c = 0; c < 2; ++c) {
        for (int t = PAWN; t <= KING; ++t) {
            ASSERT_LE(CountBits(game_position->bb[c][t]), MAX_PIECES_OF_A_KIND) << text;
        }
    }
}

std::string Epd() {
    char text[EPD_FIELDS_SIZE + 1];
    std::memset(text, 1, sizeof text);
    MakeEPD(game_position, text);
    EXPECT_LT(std::strlen(text), std::size_t{EPD_FIELDS_SIZE});
    return text;
}

TEST_F(PositionTest, TextIsTakenAsItComes) {
    for (const auto& row : ReadTable("setup.tsv")) {
        SetGame("8/8/8/8/8/8/8/8 b KQkq e3");  // a side that is kept shows as "b"
        SetExactly(row[0]);
        EXPECT_TRUE(row[1] == "*" || row[1] == Epd()) << row[0] << ": " << Epd();
        EXPECT_EQ(WhyUnplayable(game_position) == nullptr, row[2] == "1") << row[0];
    }
    for (const std::string& fen : SamplePositions()) {
        EXPECT_EQ(WhyUnplayable(SetGame(fen)), nullptr) << fen;
    }
}

TEST_F(PositionTest, RandomBytesLeaveASoundRecord) {
    std::mt19937 random(4);
    const std::string likely = "rnbqkpRNBQKP/12345678/ w-KQkqabch36";
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        const auto length = random() % 100;
        while (text.size() < length) {
            text += random() % 8 == 0 ? static_cast<char>(random() % 255 + 1)
                                      : likely[random() % likely.size()];
        }
        ASSERT_NO_FATAL_FAILURE(SetExactly(text));
        Epd();
    }
}

TEST_F(PositionTest, SoundnessCheckSeesDamageToAnyDerivedByte) {
    Position pos = *SetGame(fen_opn);
    const auto expect_all_matter = [&pos](auto& field, std::size_t size = 0) {
        auto* bytes = reinterpret_cast<unsigned char*>(&field);
        for (std::size_t i = 0; i < (size ? size : sizeof field); ++i) {
            bytes[i] ^= 1;
            EXPECT_FALSE(PositionIsSound(&pos)) << bytes + i - pos.board;
            bytes[i] ^= 1;
        }
    };
    expect_all_matter(pos.board);
    expect_all_matter(pos.bb);
    expect_all_matter(pos.sig);
    expect_all_matter(pos.npm);
    expect_all_matter(pos.hash);
    expect_all_matter(pos.pawn_hash);
    for (int c : {WHITE, BLACK}) {
        expect_all_matter(pos.plist[c][0], 1);
        for (int t = PAWN; t <= KING; ++t) {
            expect_all_matter(pos.plist[c][t], std::size_t(CountBits(pos.bb[c][t])) + 1);
        }
    }
    EXPECT_TRUE(PositionIsSound(&pos));
}

TEST_F(PositionTest, KeysLieFarApart) {
    EXPECT_EQ(InitZobrist(), 0);
    const u64* keys = &rtable[0][0];
    for (int i = 0; i < 1024; ++i) {
        for (int j = 0; j < i; ++j) {
            for (u64 half : {(keys[i] ^ keys[j]) >> 32, (keys[i] ^ keys[j]) & 0xFFFFFFFFu}) {
                ASSERT_GE(CountBits(half), 4) << i << ' ' << j;
            }
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
            if (pos->board[s] == NO_PIECE) { continue; }
            const int gain =
                swapoff1(pos, PieceColour(pos->board[s]) ^ 1, NO_SQUARE, s, Occupied(pos));
            if (gain == 0) { continue; }
            if (!exchanges.empty()) { exchanges += ' '; }
            exchanges += std::string(square_name[s]) + ":" + std::to_string(gain);
        }
        EXPECT_EQ(exchanges, row[10]) << row[0];
        EXPECT_TRUE(PositionIsSound(pos)) << row[0];
    }
}

}  // namespace

// Set-up from text, its writer, the check of the record, and repetitions.
#include "board/position.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "board/reference.h"

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
    const auto expect_bound = [&pos](u8& field, int bound) {
        const u8 before = field;
        field = static_cast<u8>(bound);
        EXPECT_TRUE(PositionIsSound(&pos)) << bound;
        field = static_cast<u8>(bound + 1);
        EXPECT_FALSE(PositionIsSound(&pos)) << bound + 1;
        field = before;
    };
    expect_bound(pos.side, BLACK);
    expect_bound(pos.castle, ALL_RIGHTS);
    expect_bound(pos.ep_square, NO_SQUARE);
    EXPECT_TRUE(PositionIsSound(&pos));
}

TEST_F(PositionTest, TextIsWrittenAsItWasRead) {
    for (const auto& row : ReadTable("keys.tsv")) {
        SetExactly(row[0]);
        EXPECT_EQ(Epd(), row[0]);
    }
}

TEST_F(PositionTest, RepetitionsAreThoseOfTheSideSinceTheLastIrreversibleMove) {
    const std::string rook_ending = "k7/8/8/8/8/8/8/K6R w - -";
    const std::string there = "g1f3 g8f6 ", back = "f3g1 f6g8 ", round = there + back;
    const struct {
        std::string fen;
        std::string script;
        int limit;
        int count;
    } cases[] = {
        {fen_opn, "", 9, 0},
        {fen_opn, there, 9, 0},
        {fen_opn, round, 9, 1},
        {fen_opn, round + "g1f3", 9, 1},
        {fen_opn, round + round, 9, 2},
        {fen_opn, round + round, 1, 1},
        {fen_opn, round + round + round + there, 9, 3},
        {fen_opn, round + "e2e4 g8f6 g1f3 f6g8 f3g1", 9, 1},
        {fen_opn, there + "null null " + back, 9, 0},  // none reaches across a pass
        {rook_ending, "h1g1 a8b8 g1h1 b8a8", 9, 1},
        {rook_ending, "h1g1 a8b8 g1f1 b8a8 f1h1", 9, 0},  // now it is Black's turn
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        Play(pos, c.script);
        EXPECT_EQ(CountRepetitions(pos, c.limit), c.count) << c.script;
    }
}

}  // namespace

// Set-up from text, its writer, the check of the record, and repetitions.
#include "board/position.h"

#include "board/reference.h"

namespace {

using PositionTest = EngineTest;

// Sets the game position from bytes that end exactly where their allocation ends, so that a memory
// checker sees any read beyond the text; then the record is sound, without counter, last move and
// history.
void SetExactly(const std::string& text) {
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    game_position->last_move = game_position->fifty = 1;
    SetPosition(game_position, exact.data());
    EXPECT_EQ(Describe(game_position, false), Epd(game_position) + " 0 0 0 1") << text;
}

TEST_F(PositionTest, TextIsTakenAsItComesAndWrittenBack) {
    for (const Row& row : ReadTable("setup.tsv")) {
        SetGame("8/8/8/8/8/8/8/8 b KQkq e3");  // a side that is kept shows as "b"
        SetExactly(row[0]);
        EXPECT_EQ(row[1] == "*" ? row[1] : Epd(game_position), row[1]) << row[0];
        EXPECT_EQ(WhyUnplayable(game_position) == nullptr, row[2] == "1") << row[0];
    }
}

TEST_F(PositionTest, RandomBytesLeaveASoundRecord) {
    std::mt19937 random(4);
    const std::string letters = "rnbqkpRNBQKP/1234567809/ w-KQkqabch36\x01\x7F\x80\xFF";
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        std::string text(random() % 100, ' ');
        for (char& c : text) { c = letters[random() % letters.size()]; }
        SetExactly(text);
    }
}

TEST_F(PositionTest, SoundnessCheckSeesDamageToAnyDerivedByte) {
    Position pos = *SetGame(fen_opn);
    const auto expect_all_matter = [&pos](auto& field, std::size_t size, int flipped) {
        u8* const bytes = reinterpret_cast<u8*>(&field);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] ^= static_cast<u8>(flipped);
            EXPECT_FALSE(PositionIsSound(&pos)) << bytes + i - pos.board;
            bytes[i] ^= static_cast<u8>(flipped);
        }
    };
    expect_all_matter(pos.board, sizeof pos.board, 1);
    expect_all_matter(pos.bb, sizeof pos.bb, 1);
    expect_all_matter(pos.sig, sizeof pos.sig, 1);
    expect_all_matter(pos.npm, sizeof pos.npm, 1);
    expect_all_matter(pos.hash, sizeof pos.hash, 1);
    expect_all_matter(pos.pawn_hash, sizeof pos.pawn_hash, 1);
    expect_all_matter(pos.side, 1, WHITE ^ (BLACK + 1));
    expect_all_matter(pos.castle, 1, ALL_RIGHTS ^ (ALL_RIGHTS + 1));
    expect_all_matter(pos.ep_square, 1, NO_SQUARE ^ (NO_SQUARE + 1));
    for (int list = 0; list < 2 * PIECE_TYPES; ++list) {
        auto& squares = pos.plist[list / PIECE_TYPES][list % PIECE_TYPES];
        const auto used =
            static_cast<std::size_t>(std::ranges::find(squares, NO_SQUARE) - squares + 1);
        for (int bit : {1, NO_SQUARE}) { expect_all_matter(squares, used, bit); }
    }
}

TEST_F(PositionTest, NoMateIsPossibleWithBareKingsOneMinorPieceOrBishopsOfOneColour) {
    const std::pair<const char*, bool> cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - -", true},    {"4k3/8/8/8/8/8/8/4KN2 w - -", true},
        {"4kb2/8/8/8/8/8/8/4K3 w - -", true},   {"4kb2/8/8/8/8/8/8/2B1K3 w - -", true},
        {"4kb2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/8/8/8/8/8/8/3NKN2 w - -", false},
        {"4kn2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/4p3/8/8/8/8/8/4K3 w - -", false},
        {"4k3/8/8/8/8/8/8/4K2R w - -", false},  {"4k3/8/8/8/8/8/8/4K2q w - -", false}};
    for (const auto& [fen, dead] : cases) {
        EXPECT_EQ(NoMateIsPossible(SetGame(fen)), dead) << fen;
    }
}

TEST_F(PositionTest, RepetitionsAreThoseOfTheSideSinceTheLastIrreversibleMove) {
    ForEachRow("repetitions.tsv", [](Position* pos, const Row& row) {
        Play(pos, row[1]);
        EXPECT_EQ(std::to_string(CountRepetitions(pos, std::stoi(row[2]))), row[3]);
    });
}

}  // namespace

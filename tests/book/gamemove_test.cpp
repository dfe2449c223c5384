// Moves of the game in text: the spelling that is kept, and the word about an ambiguous one.
#include "book/gamemove.h"

#include "book/files.h"

namespace {

TEST(GameMove, KeepsTheTextAsUnderstoodAndNamesAmbiguity) {
    ResetEngine();
    for (const auto& row : ReadTable("gamemoves.tsv")) {
        SetGame(row[0]);
        MoveReading reading;
        EXPECT_EQ(OutputOf([&] { reading = ReadGameMove(row[1]); }), Lines(row[3])) << row[1];
        EXPECT_EQ(reading.move != NO_MOVE ? reading.text : "", row[2]) << row[1];
        Move m = 12345;
        OutputOf([&] { EXPECT_EQ(IsValidMove(row[1], &m), row[2].empty() ? 0 : 1) << row[1]; });
        EXPECT_EQ(m, reading.move);
    }
}

}  // namespace

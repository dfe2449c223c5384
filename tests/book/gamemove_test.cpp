// Moves of the game in text: the spelling that is kept, and the word about an ambiguous one.
#include "book/gamemove.h"

#include <gtest/gtest.h>

#include <string>

#include "support/engine.h"

namespace {

TEST(GameMove, KeepsTheTextAsUnderstoodAndNamesAmbiguity) {
    ResetEngine();
    const struct {
        const char* fen;
        const char* text;
        const char* kept;  // nullptr: no move
        const char* output;
    } cases[] = {
        {"4k3/P7/8/8/8/8/8/R3K2R w KQ -", "O-O+", "o-o", ""},
        {"4k3/P7/8/8/8/8/8/R3K2R w KQ -", "0-0-0", "o-o-o", ""},
        {"4k3/P7/8/8/8/8/8/R3K2R w KQ -", "a8q", "a8=Q", ""},
        {"4k3/P7/8/8/8/8/8/R3K2R w KQ -", "a7a8n+", "a7a8=N", ""},
        {"4k3/P7/8/8/8/8/8/R3K2R w KQ -", "Rab1", "Rab1", ""},
        {"4k3/8/8/8/1p6/P7/8/4K3 w - -", "ab", "ab", ""},
        {"4k3/3p4/4P3/3p4/4P3/8/8/4K3 w - -", "ed", nullptr, "ambiguous move\n"},
        {"4k3/3p4/4P3/3p4/4P3/8/8/4K3 w - -", "exd6", nullptr, ""},
    };
    for (const auto& c : cases) {
        SetGame(c.fen);
        MoveReading reading;
        EXPECT_EQ(OutputOf([&] { reading = ReadGameMove(c.text); }), c.output) << c.text;
        EXPECT_EQ(reading.move != NO_MOVE, c.kept != nullptr) << c.text;
        if (c.kept != nullptr) { EXPECT_STREQ(reading.text, c.kept); }
        Move m = 12345;
        OutputOf([&] { EXPECT_EQ(IsValidMove(c.text, &m), c.kept != nullptr ? 1 : 0); });
        EXPECT_EQ(m, reading.move);
    }
}

}  // namespace

// Moves of the game in text.
#include "book/gamemove.h"

#include <cstring>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/words.h"

MoveReading ReadGameMove(std::string_view text) {
    const MoveReading reading = ReadMove(game_position, text);
    if (reading.ambiguous) { ShowMessage("ambiguous move"); }
    return reading;
}

int IsValidMove(std::string_view text, Move* out) {
    *out = ReadGameMove(text).move;
    return *out != NO_MOVE ? 1 : 0;
}

void SetUpGame(const char* fen) {
    constexpr int FIELDS_BEFORE_CLOCK = 4;
    SetPosition(game_position, fen);
    if (!PBlock.options.conventions.fen_counters) { return; }
    for (int i = 0; i < FIELDS_BEFORE_CLOCK; ++i) {
        fen += std::strspn(fen, " ");
        fen += std::strcspn(fen, " ");
    }
    game_position->fifty = static_cast<u8>(WholeNumber(fen, 0, FIFTY_MOVE_PLIES));
}

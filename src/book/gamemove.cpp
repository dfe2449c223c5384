// Moves of the game in text.
#include "book/gamemove.h"

#include "frontend/output.h"
#include "frontend/pblock.h"

MoveReading ReadGameMove(std::string_view text) {
    const MoveReading reading = ReadMove(game_position, text);
    if (reading.ambiguous) { ShowMessage("ambiguous move"); }
    return reading;
}

int IsValidMove(std::string_view text, Move* out) {
    *out = ReadGameMove(text).move;
    return *out != NO_MOVE ? 1 : 0;
}

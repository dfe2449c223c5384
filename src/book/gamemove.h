// Reading of moves of the game: what a user types, what a game file or a test suite says. Front-end
// thread only.
#pragma once

#include <string_view>

#include "board/moves.h"

// Reads a move of the game position (see ReadMove), and says so in one line when the text is
// ambiguous.
MoveReading ReadGameMove(std::string_view text);

// The same for those who want the move alone. Returns 1 and the move, or 0 and NO_MOVE when the
// text does not name exactly one legal move.
int IsValidMove(std::string_view text, Move* out);

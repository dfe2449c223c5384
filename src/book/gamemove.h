// Reading of moves of the game: what a user types, what a game file or a test suite says. Nothing
// has to be initialised but the game position. Front-end thread only.
#pragma once

#include <string_view>

#include "board/moves.h"

// Returns what a text says of the game position (see ReadMove), and shows one line when it spells
// two legal moves. Texts of any length and content are taken; the position stays as it is.
MoveReading ReadGameMove(std::string_view text);

// The same for those who want the move alone. Returns 1 and the move, or 0 and NO_MOVE when the
// text does not name exactly one legal move.
int IsValidMove(std::string_view text, Move* out);

// Sets the game position up from a FEN, with its half-move clock where the conventions take that.
void SetUpGame(const char* fen);

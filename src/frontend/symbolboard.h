// The board diagram with symbols for the pieces. Front-end thread.
#pragma once

#include <string>

#include "board/types.h"

// Returns the board in UTF-8, eight lines and one of file letters, each with its line feed. The two
// squares of the last move are marked: by their colour, or by brackets. `colours`: with the escape
// sequences of terminals with 256 colours.
std::string SymbolBoard(const Position* pos, bool colours);

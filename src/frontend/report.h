// What the front end shows of positions: the board diagram, the evaluation report, the listing of a
// piece-square table. Front-end thread only.
#pragma once

#include "board/types.h"

// Shows the board of a position with its EPD fields and the side to move, as one message, in the
// style that the user chose; the log always has letters.
void ShowBoard(const Position* pos);
// Shows how the evaluation sees the game position, as one message. Leaves the limits as they were;
// what slot 1 counted includes the search that this takes. Requires a playable position and that no
// search runs.
void ShowEvalInfo();
// Prints a title and a table of 64 values, rank 8 first, to standard output.
void PrintPSQTable(const i16* table, const char* title);

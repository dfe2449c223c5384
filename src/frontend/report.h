// What the front end shows of positions: the board diagram, the evaluation report, the listing of a
// piece-square table. Front-end thread only.
#pragma once

#include "board/types.h"

// Prints the board of a position with its EPD fields and the side to move.
void ShowBoard(const Position* pos);
// Prints the evaluation of the game position. Requires that no search runs.
void ShowEvalInfo();
// Prints a title and a table of 64 values, rank 8 first.
void PrintPSQTable(const i16* table, const char* title);

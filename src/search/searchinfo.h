// Search information lines: what a search tells while it runs and at its end. Each line is gathered
// and written whole; any thread may call.
#pragma once

#include "board/types.h"

// Prints one search information line, unless `noise` or an empty line forbids it. depth in plies,
// score in centipawns for the side to move, pv indexed from 1 and ended by 0. line_index: 0-based
// number of the variation, -1 for an update in the middle of an iteration.
void DisplaySearchInfo(int thread, int line_index, int depth, int score, const Move* pv);
// True when a search information line may be printed now.
bool SearchInfoWanted();

// UCI progress of the root search, whatever `noise` says: the start of iteration `depth` (plies)
// with the totals so far, and the root move that is searched now, numbered from 1.
void DisplayIterationStart(int depth);
void DisplayCurrentMove(Move m, int number);

// The trace of moves: every move made up to a ply, written to "trace.txt" as a tree. One for the
// program; whatever thread makes a move may call.
#pragma once

#include "board/types.h"

// Writes one move (NO_MOVE = null move) when the position's ply is within the limit
// PBlock.options.trace. Called before the move is made, while that limit is not 0. A file that
// cannot be opened is noted for TraceFailed.
void TraceMove(const Position* pos, Move m);
// How moves are written from now on.
void SetTraceStyle(MoveStyle style);
// True once the file could not be opened. Any thread.
bool TraceFailed();
// Forgets what was traced last, closes the file, and takes back the failure.
void ResetTrace();

// How the tools search (benchmark, match, EPD analysis, tuner): outside the command loop, which
// knows nothing of these searches. Front-end thread only.
#pragma once

// Starts the clock and prepares a search of the game position; a request that waits for the command
// loop is dropped. Requires idle search threads.
void PrepareToolSearch();

// Searches the game position on the calling thread within the limits of PBlock and returns the
// score in centipawns for the side to move: at max_depth 0 that of the quiescence search. Requires
// a playable position and idle search threads.
int ScoreGamePosition();

// Whether a tool shall end its work: the user has typed "quit", or as EndWanted of
// platform/interrupt.h.
bool ToolEndWanted();

// How the tool modes search (benchmark, match, EPD analysis): outside the command loop, which knows
// nothing of these searches. Front-end thread only. (Bodies in benchmark.cpp.)
#pragma once

// Starts the clock and prepares a search of the game position; a request that waits for the command
// loop is dropped. Requires idle search threads.
void PrepareToolSearch();

// Checks the clock and the input while the search threads work, until all are idle, with a pause of
// 1 ms in each round; without pauses while `eager` says that the search has just begun or is about
// to end.
void WaitForToolSearch(bool (*eager)());

// Waiting for a search of a tool mode. Front-end thread only.
#pragma once

// Checks the clock and the input while the search threads work, until all are idle, with a pause of
// 1 ms in each round; without pauses while `eager` says that the search has just begun or is about
// to end.
void WaitForToolSearch(bool (*eager)());

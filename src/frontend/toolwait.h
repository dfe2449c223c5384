// What the tool modes do while they work: they watch the clock and hear the user. Front-end thread
// only.
#pragma once

// Checks the clock and the input while the search threads work, until all are idle, with a pause of
// 1 ms in each round; without pauses while `eager` says that the search has just begun or is about
// to end.
void WaitForToolSearch(bool (*eager)());

// The same once, for tools that search on the calling thread: when the number of searches that they
// have done is a multiple of 16.
void LookAtInput(unsigned searches);

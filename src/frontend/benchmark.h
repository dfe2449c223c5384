// The benchmark. Front-end thread only.
#pragma once

// Searches the first `positions` (at most 20) of the fixed positions, prints their times and the
// total of nodes, and asks the program to end. Requires StartUp and idle search threads.
void RunBenchmark(int positions);

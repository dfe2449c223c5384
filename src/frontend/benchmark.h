// The benchmark. Front-end thread only.
#pragma once

inline constexpr int BENCHMARK_POSITIONS = 20;  // all of them
inline constexpr int SHORT_BENCHMARK_POSITIONS = 10;
inline constexpr int PROFILE_POSITIONS = 5;

// Searches the first `positions` of the fixed positions, prints their times and the
// total of nodes, and asks the program to end. Requires StartUp and idle search threads.
void RunBenchmark(int positions);

// The short benchmark, for those who ask in the middle of a session: one thread, `depth` plies or
// the depth that takes some seconds (0). At its end it prints nodes and rate in the form that test
// frameworks read. The game stays as it is; what is typed meanwhile waits. After an interrupt
// there is no result. Requires StartUp and idle search threads; afterwards the table is empty.
void RunQuickBenchmark(int depth);

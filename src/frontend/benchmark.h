// The benchmark. Front-end thread only.
#pragma once

inline constexpr int BENCHMARK_POSITIONS = 20;  // all of them
inline constexpr int SHORT_BENCHMARK_POSITIONS = 10;
inline constexpr int PROFILE_POSITIONS = 5;

// Searches the first `positions` of the fixed positions, prints their times and the
// total of nodes, and asks the program to end. Requires StartUp and idle search threads.
void RunBenchmark(int positions);

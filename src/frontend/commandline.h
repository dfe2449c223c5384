// The command line. Front-end thread.
#pragma once

#include "frontend/pblock.h"

// Which mode main runs; the command line chooses. Nothing: the command line asked for something
// that cannot be run, and has said so.
enum class RunMode { CommandLoop, EpdAnalysis, PgnScan, Match, Benchmark, Tune, Nothing };

// What the command line asks of the program beyond the options in PBlock.
struct StartOptions {
    RunMode mode = RunMode::CommandLoop;
    int benchmark_positions = 0;          // 5, 10 or 20; 0 without the benchmark
    int scan_mode = 0;                    // 1..4; 0 without a scan
    char scan_file[FILE_NAME_SIZE] = "";  // the file to scan
};

// Stores the options in PBlock, their numbers within their limits, and chooses the mode: of several
// modes the first in the order of RunMode from EpdAnalysis on. Words that are no options are
// skipped; an option without its value says so in one line. Requires the defaults in PBlock.
void ReadCommandLine(int argc, char** argv, StartOptions* options);

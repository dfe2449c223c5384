// The command line. Front-end thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arena/selfplay.h"
#include "frontend/pblock.h"
#include "tune/tuneall.h"

// Which mode main runs: of those that the command line asks for the first in this order.
// Nothing: it asked for something that cannot be run, and has been told so; PBlock.tool.failed when
// that is a failure.
enum class RunMode {
    EpdAnalysis,
    PgnScan,
    Match,
    Benchmark,
    QuickBenchmark,
    Tune,
    SelfPlay,
    ParameterList,
    Extract,
    TuneAll,
    Nothing,
    CommandLoop
};

// What the program does instead of everything else.
enum class FirstWish { None, Help, Version };

// What the command line asks of the program beyond the options in PBlock.
struct StartOptions {
    RunMode mode = RunMode::CommandLoop;
    int benchmark_positions = 0;  // 5, 10 or 20; 0 without the benchmark
    int scan_mode = 0;            // 1..4; 0 without a scan
    std::string scan_file;        // the file to scan
    SelfPlaySettings self_play;
    std::string extract_file;  // games to extract positions from
    TuneAllOptions tune_all;
    std::string out_file;  // where the two put their result; empty: where they do by default
    std::optional<std::string> parameter_file;  // in place of the usual one; empty: none
    FirstWish first = FirstWish::None;
    std::optional<std::string> folder;  // to change to; empty: the option came without one
};

// An option as the user is shown it: "-hash", "MB", "size of ...". The value is empty when none
// comes after the option.
struct OptionHelp {
    std::string name;
    std::string value;
    std::string help;
};
// Every option that does something, in the order of the table.
std::vector<OptionHelp> OptionHelps();

// Stores only what has to be known before anything is opened: the first wish and the folder.
void ReadFirstOptions(int argc, char** argv, StartOptions* options);

// Stores only the protocol and the conventions that the command line asks for: what is said before
// ReadCommandLine is said in their form.
void ReadFormOptions(int argc, char** argv);

// Stores the options in PBlock, their numbers within their limits, and chooses the mode. Of an
// option that comes twice the last one holds. A word that is no option is named on standard error,
// with the option that it resembles, and skipped; an option without its value says so in one line.
// Requires the defaults in PBlock and in *options.
void ReadCommandLine(int argc, char** argv, StartOptions* options);

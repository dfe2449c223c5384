// The front end's own interfaces: start-up and clean-up, command line, command loop, input,
// protocols, tool modes. Front-end thread only.
#pragma once

#include "frontend/pblock.h"
#include "platform/types.h"

extern const char* const version;  // "Vesk 3.0"

// --- start-up (startup.cpp) ---
// Which mode main runs; the command line chooses. Nothing: the command line asked for something
// that cannot be run, and has said so.
enum class RunMode { CommandLoop, EpdAnalysis, PgnScan, Match, Benchmark, Tune, Nothing };
struct StartOptions {
    RunMode mode = RunMode::CommandLoop;
    int benchmark_positions = 0;
    int scan_mode = 0;  // 1..4
    char scan_file[FILE_NAME_SIZE] = "";
};
int StartUp(int argc, char** argv, StartOptions* options);  // 0, or the exit status 1
void CleanUp();

// --- command line (commandline.cpp) ---
// Stores the options in PBlock and chooses the mode. Words that are no options are skipped.
void ReadCommandLine(int argc, char** argv, StartOptions* options);

// --- command loop (commandloop.cpp) ---
// Serves both protocols until PBlock.control.quit. Requires StartUp.
void CommandLoop();
// Stops a running search, waits for its threads and reports it. Nothing when idle.
void FinishSearch();

// A search that a console command asks for. An analysis has no time limit, a depth limit of its own
// (0..66), and clears a table that is not kept from search to search.
struct SearchRequest {
    u8 kind;  // SEARCH_THINK or SEARCH_ANALYSE
    i8 max_depth = 0;
    bool selfplay = false;  // the first search of a self-play game
};
// Starts it with the next pass of the loop, or, in the order of the requests, when the searches
// before it have ended.
void RequestSearch(const SearchRequest& request);
void DropWaitingRequests();
// The self-play game that runs does not go on, one that waits does not begin.
void EndSelfPlay();

// --- input (input.cpp) ---
// Takes what has arrived and handles at most one complete line. While a tool mode runs, only
// "quit", "stop", "." and "isready" are handled.
void UserInput();
// True: a tool mode owns the game position from now on, and other lines than those four are
// dropped.
void SetToolInput(bool tool_mode_runs);
bool InputEnded();    // the end was seen; lines may still be pending
bool InputPending();  // at least one complete line waits
// Takes the next complete line without handling it, waiting for it; false at the end of input. For
// "edit".
bool ReadInputLine(char* buffer, int size);
void ResetInput();                             // for tests
void FeedInput(const char* bytes, int count);  // for tests and fuzzing: as if it had arrived

// --- protocols ---
// Each handles one line without its line end.
void ConsoleCommand(const char* line);
void ProcessUCI(const char* line);

// --- tool modes ---
void RunBenchmark(int positions);   // benchmark.cpp
void Tune_3();                      // match.cpp
double Analyze_EPD_File(int show);  // epd.cpp

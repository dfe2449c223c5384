// The program: starts up, runs the one mode that the command line chose, cleans up.
#include "frontend/program.h"

#include <cstdio>
#include <string>

#include "arena/selfplay.h"
#include "book/book.h"
#include "book/extract.h"
#include "frontend/benchmark.h"
#include "frontend/commandloop.h"
#include "frontend/console.h"
#include "frontend/epd.h"
#include "frontend/input.h"
#include "frontend/match.h"
#include "frontend/output.h"
#include "frontend/parameteroptions.h"
#include "frontend/pblock.h"
#include "frontend/startup.h"
#include "platform/arguments.h"
#include "platform/files.h"
#include "platform/input.h"
#include "platform/interrupt.h"
#include "platform/outstream.h"
#include "search/threads.h"
#include "tune/tune.h"
#include "tune/tuneall.h"

namespace {

constexpr double TOOL_NOISE_SECONDS = 1000.0;  // no search of a tool runs as long

// Tells the user on standard error, so that standard output stays what the tool itself writes.
bool Readable(const std::string& path) {
    std::FILE* file = OpenToRead(path.c_str());
    if (file == nullptr) {
        ShowError("cannot read %s\n", path.c_str());
        PBlock.tool.failed = true;
        return false;
    }
    std::fclose(file);
    return true;
}

void TuneTogether(const StartOptions& options) {
    TuneAllOptions tuning = options.tune_all;
    if (!options.out_file.empty()) { tuning.target = options.out_file; }
    tuning.look = UserInput;
    TuneAllWeightsTogether(tuning);
}

void RunChosenMode(const StartOptions& options) {
    SetToolInput(options.mode != RunMode::CommandLoop);
    switch (options.mode) {
        case RunMode::EpdAnalysis:
            if (Readable(PBlock.tool.epd_file)) { Analyze_EPD_File(1); }
            break;
        case RunMode::PgnScan:
            if (Readable(options.scan_file)) {
                Scan_PGN_File(options.scan_file.c_str(), options.scan_mode);
            }
            break;
        case RunMode::Match:
            PBlock.options.noise = TOOL_NOISE_SECONDS;
            Tune_3();
            break;
        case RunMode::Benchmark:
            RunBenchmark(options.benchmark_positions);
            break;
        case RunMode::SelfPlay:
            if (!RunSelfPlay(options.self_play, UserInput)) { PBlock.tool.failed = true; }
            break;
        case RunMode::QuickBenchmark:
            RunQuickBenchmark(options.self_play.depth);
            break;
        case RunMode::ParameterList:
            ListParameters();
            break;
        case RunMode::Tune:
            PBlock.options.noise = TOOL_NOISE_SECONDS;
            RunTuneSchedule(UserInput);
            break;
        case RunMode::Extract:
            ExtractPositions(options.extract_file,
                             options.out_file.empty() ? POSITIONS_FILE : options.out_file,
                             UserInput);
            break;
        case RunMode::TuneAll:
            TuneTogether(options);
            break;
        case RunMode::CommandLoop:
            StartConsole();
            CommandLoop();
            break;
        case RunMode::Nothing:
            break;
    }
}

}  // namespace

int RunProgram(int argc, char** argv) {
    SecureStandardStreams();
    CatchInterrupt();
    argv = ProgramArguments(&argc, argv);
    StartOptions options;
    if (const int status = StartUp(argc, argv, &options)) { return status; }
    if (options.mode != RunMode::Nothing) {
        RunChosenMode(options);
        CleanUp();
    }
    return OutputIsBroken() || PBlock.tool.failed ? 1 : 0;
}

// The command line. PBlock must hold its defaults; messages about unusable options go out as
// ordinary lines. Front-end thread, once, before anything that the options size is built.
#include "frontend/commandline.h"

#include <algorithm>
#include <cstring>

#include "frontend/benchmark.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/words.h"

namespace {

constexpr double DEPTH_OPTION_SECONDS = 10000.0;  // time of a move that "-d" limits by depth

void Wish(StartOptions* start, RunMode mode) { start->mode = std::min(start->mode, mode); }

// --- what the options do: `value` is the word after the option, `number` the one of its row ---

void SetProtocol(StartOptions*, const char*, int protocol) {
    PBlock.options.protocol = static_cast<u16>(protocol);
}

void LogNothing(StartOptions*, const char*, int) { PBlock.options.log = 0; }

void SayNothing(StartOptions*, const char*, int) {
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
}

void KeepToStandards(StartOptions*, const char*, int) {
    PBlock.options.conventions = STANDARD_CONVENTIONS;
}

void ShowThreadNumbers(StartOptions*, const char*, int) { PBlock.options.uci_extra = 1; }

void SetNoise(StartOptions*, const char* value, int) {
    PBlock.options.noise = DecimalNumber(value);
}

void SetDepth(StartOptions*, const char* value, int) {
    PBlock.limits.max_depth = static_cast<i8>(WholeNumber(value, 0, MAX_DEPTH));
    PBlock.time.SetTimePerMove(DEPTH_OPTION_SECONDS);
}

void SetSeconds(StartOptions*, const char* value, int) {
    PBlock.time.SetTimePerMove(DecimalNumber(value));
}

void SetHash(StartOptions*, const char* value, int) {
    PBlock.options.hash_mb = static_cast<u16>(WholeNumber(value, 0, MAX_HASH_MB));
}

void SetThreads(StartOptions*, const char* value, int) {
    PBlock.options.threads = static_cast<u8>(WholeNumber(value, 1, MAX_THREADS));
}

void WishEpdRun(StartOptions* start, const char* value, int) {
    PBlock.tool.epd_file = value;
    Wish(start, RunMode::EpdAnalysis);
}

void WishMatch(StartOptions* start, const char* value, int) {
    PBlock.tool.match_file = value;
    Wish(start, RunMode::Match);
}

void WishTuning(StartOptions* start, const char* value, int) {
    PBlock.tool.tune_word = value;
    Wish(start, RunMode::Tune);
}

void WishBenchmark(StartOptions* start, const char*, int positions) {
    start->benchmark_positions = positions;
    PBlock.tool.profile = positions == PROFILE_POSITIONS;
    Wish(start, RunMode::Benchmark);
}

// Without a mode the file's name is taken and nothing else.
void WishScan(StartOptions* start, const char* value, int mode) {
    start->scan_file = value;
    if (mode == 0) { return; }
    start->scan_mode = mode;
    Wish(start, RunMode::PgnScan);
}

// --- the table ---

enum class OptionValue { None, Number, File };  // what has to come after the option

struct CommandLineOption {
    const char* name;
    OptionValue value;
    void (*apply)(StartOptions* start, const char* value, int number);
    int number = 0;
    bool anywhere = false;  // the name may stand anywhere in the word
    bool of_form = false;   // says in which form the program speaks
};

constexpr const char* SCAN_OPTION = "-scan_pgn";

// In the order in which they are tried. Those that take a file choose a mode.
constexpr CommandLineOption command_line_options[] = {
    {"-uci", OptionValue::None, SetProtocol, PROTOCOL_UCI, false, true},
    {"-c", OptionValue::None, SetProtocol, PROTOCOL_CONSOLE, false, true},
    {"-nolog", OptionValue::None, LogNothing},
    {"-quiet", OptionValue::None, SayNothing},
    {"-standard", OptionValue::None, KeepToStandards, 0, false, true},
    {"-uci_extra", OptionValue::None, ShowThreadNumbers},
    {"-noise", OptionValue::Number, SetNoise},
    {"-d", OptionValue::Number, SetDepth},
    {"-t", OptionValue::Number, SetSeconds},
    {"-hash", OptionValue::Number, SetHash},
    {"-threads", OptionValue::Number, SetThreads},
    {"-bench", OptionValue::None, WishBenchmark, SHORT_BENCHMARK_POSITIONS},
    {"-bench2", OptionValue::None, WishBenchmark, BENCHMARK_POSITIONS},
    {"-pbench", OptionValue::None, WishBenchmark, PROFILE_POSITIONS},
    {"-anepd", OptionValue::File, WishEpdRun},
    {"-match", OptionValue::File, WishMatch},
    {"-tune", OptionValue::File, WishTuning},
    {"-scan_pgn1", OptionValue::File, WishScan, 1},
    {"-scan_pgn2", OptionValue::File, WishScan, 2},
    {"-scan_pgn3", OptionValue::File, WishScan, 3},
    {"-scan_pgn4", OptionValue::File, WishScan, 4},
    {SCAN_OPTION, OptionValue::File, WishScan, 0, true},
};

// The row of a word, nullptr when it is no option.
const CommandLineOption* FindOption(const char* word) {
    const auto* row = std::find_if(std::begin(command_line_options), std::end(command_line_options),
                                   [word](const CommandLineOption& o) {
                                       return o.anywhere ? std::strstr(word, o.name) != nullptr
                                                         : std::strcmp(word, o.name) == 0;
                                   });
    return row == std::end(command_line_options) ? nullptr : row;
}

}  // namespace

void ReadFormOptions(int argc, char** argv) {
    PBlock.options.protocol = PROTOCOL_UCI;
    for (int i = 1; i < argc; ++i) {
        const CommandLineOption* o = FindOption(argv[i]);
        if (o == nullptr) { continue; }
        if (o->of_form) { o->apply(nullptr, nullptr, o->number); }
        if (o->value != OptionValue::None) { ++i; }
    }
}

void ReadCommandLine(int argc, char** argv, StartOptions* options) {
    bool scan_without_mode = false;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        const CommandLineOption* o = FindOption(word);
        if (o == nullptr) {
            ShowError("unknown option: %s\n", word);
            continue;
        }
        scan_without_mode |= std::strcmp(word, SCAN_OPTION) == 0;
        if (o->value == OptionValue::None) {
            o->apply(options, nullptr, o->number);
        } else if (++i < argc) {
            o->apply(options, argv[i], o->number);
        } else if (o->value == OptionValue::File) {
            Wish(options, RunMode::Nothing);
            if (!scan_without_mode) { ShowRemark("option %s needs a file name after it", word); }
        } else {
            ShowRemark("option %s needs a number after it and is ignored", word);
        }
    }
    if (scan_without_mode && options->scan_mode == 0) {
        Wish(options, RunMode::Nothing);
        ShowRemark(
            "-scan_pgn comes in four modes: -scan_pgn1 annotates the games, -scan_pgn2 writes "
            "tuning positions, -scan_pgn3 test positions, -scan_pgn4 rook endings");
    }
    PBlock.options.go_limits.max_depth = PBlock.limits.max_depth;
    PBlock.options.go_limits.node_limit = PBlock.limits.node_limit;
    PBlock.options.go_seconds = PBlock.time.base_time;
}

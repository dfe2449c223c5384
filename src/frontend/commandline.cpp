// The command line. PBlock must hold its defaults; messages about unusable options go out as
// ordinary lines. Front-end thread, once, before anything that the options size is built.
#include "frontend/commandline.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

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

// What is done before anything else is.
void WishHelp(StartOptions* start, const char*, int) { start->first = FirstWish::Help; }
void WishVersion(StartOptions* start, const char*, int) { start->first = FirstWish::Version; }
void ChooseFolder(StartOptions* start, const char* value, int) { start->folder = value; }

// --- the table ---

enum class OptionValue { None, Number, File, Folder };  // what has to come after the option

// When an option takes effect: First before any file is opened, Form (in which the program speaks)
// before the parameter file is told of, and again in its turn among the others.
enum class OptionTime { First, Form, InTurn };

struct CommandLineOption {
    const char* name;
    const char* value_name;  // as the user is shown it
    const char* help;        // one line; empty: not shown
    OptionValue value;
    void (*apply)(StartOptions* start, const char* value, int number);
    int number = 0;
    OptionTime time = OptionTime::InTurn;
    bool anywhere = false;  // the name may stand anywhere in the word
};

constexpr const char* SCAN_OPTION = "-scan_pgn";

// In the order in which they are tried and shown. Those that take a file choose a mode.
// clang-format off
constexpr CommandLineOption command_line_options[] = {
    {"-uci", "", "UCI protocol (the default)", OptionValue::None, SetProtocol, PROTOCOL_UCI, OptionTime::Form},
    {"-c", "", "console language, for a person at a terminal or a script", OptionValue::None, SetProtocol, PROTOCOL_CONSOLE, OptionTime::Form},
    {"-standard", "", "keep to the published protocol to the letter", OptionValue::None, KeepToStandards, 0, OptionTime::Form},
    {"-dir", "PATH", "change to this folder before any file is opened", OptionValue::Folder, ChooseFolder, 0, OptionTime::First},
    {"-nolog", "", "no log", OptionValue::None, LogNothing},
    {"-quiet", "", "no log and no search lines", OptionValue::None, SayNothing},
    {"-noise", "SECONDS", "search lines only after this time of a search", OptionValue::Number, SetNoise},
    {"-uci_extra", "", "search lines carry the thread's number", OptionValue::None, ShowThreadNumbers},
    {"-d", "DEPTH", "limit the depth, at most 66", OptionValue::Number, SetDepth},
    {"-t", "SECONDS", "fixed time per move", OptionValue::Number, SetSeconds},
    {"-hash", "MB", "size of the transposition table, 0 to 8192", OptionValue::Number, SetHash},
    {"-threads", "N", "search threads, 1 to 64", OptionValue::Number, SetThreads},
    {"-bench", "", "benchmark over 10 fixed positions", OptionValue::None, WishBenchmark, SHORT_BENCHMARK_POSITIONS},
    {"-bench2", "", "benchmark over 20 fixed positions", OptionValue::None, WishBenchmark, BENCHMARK_POSITIONS},
    {"-pbench", "", "short single-threaded benchmark for profiling", OptionValue::None, WishBenchmark, PROFILE_POSITIONS},
    {"-anepd", "FILE", "solve the positions of an EPD test suite", OptionValue::File, WishEpdRun},
    {"-match", "FILE", "self-play match against test1.rc; the games go to the file", OptionValue::File, WishMatch},
    {"-tune", "WORD", "tune the evaluation weights against tune.epd; any word", OptionValue::File, WishTuning},
    {"-scan_pgn1", "FILE", "annotate the games of a PGN file", OptionValue::File, WishScan, 1},
    {"-scan_pgn2", "FILE", "tuning positions from the games of a PGN file", OptionValue::File, WishScan, 2},
    {"-scan_pgn3", "FILE", "test positions from the games of a PGN file", OptionValue::File, WishScan, 3},
    {"-scan_pgn4", "FILE", "rook endings from the games of a PGN file", OptionValue::File, WishScan, 4},
    {"--help", "", "this list", OptionValue::None, WishHelp, 0, OptionTime::First},
    {"--version", "", "the program's version and how it was built", OptionValue::None, WishVersion, 0, OptionTime::First},
    {SCAN_OPTION, "FILE", "", OptionValue::File, WishScan, 0, OptionTime::InTurn, true},
};
// clang-format on

// The row of a word, nullptr when it is no option.
const CommandLineOption* FindOption(const char* word) {
    const auto* row = std::find_if(std::begin(command_line_options), std::end(command_line_options),
                                   [word](const CommandLineOption& o) {
                                       return o.anywhere ? std::strstr(word, o.name) != nullptr
                                                         : std::strcmp(word, o.name) == 0;
                                   });
    return row == std::end(command_line_options) ? nullptr : row;
}

// Carries out the options of this time only.
void ApplyOptionsOf(OptionTime time, int argc, char** argv, StartOptions* options) {
    for (int i = 1; i < argc; ++i) {
        const CommandLineOption* o = FindOption(argv[i]);
        if (o == nullptr) { continue; }
        const bool has_value = o->value != OptionValue::None;
        if (has_value) { ++i; }
        if (o->time == time) { o->apply(options, has_value && i < argc ? argv[i] : "", o->number); }
    }
}

void ShowUnknown(const char* word) {
    std::vector<std::string> names;
    for (const CommandLineOption& o : command_line_options) { names.emplace_back(o.name); }
    const std::string nearest = NearestWord(word, names);
    if (nearest.empty()) {
        ShowError("unknown option: %s\n", word);
    } else {
        ShowError("unknown option: %s (did you mean %s?)\n", word, nearest.c_str());
    }
}

}  // namespace

std::vector<OptionHelp> OptionHelps() {
    std::vector<OptionHelp> helps;
    for (const CommandLineOption& o : command_line_options) {
        if (o.help[0] != '\0') { helps.push_back({o.name, o.value_name, o.help}); }
    }
    return helps;
}

void ReadFirstOptions(int argc, char** argv, StartOptions* options) {
    ApplyOptionsOf(OptionTime::First, argc, argv, options);
}

void ReadFormOptions(int argc, char** argv) {
    PBlock.options.protocol = PROTOCOL_UCI;
    ApplyOptionsOf(OptionTime::Form, argc, argv, nullptr);
}

void ReadCommandLine(int argc, char** argv, StartOptions* options) {
    bool scan_without_mode = false;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        const CommandLineOption* o = FindOption(word);
        if (o == nullptr) {
            ShowUnknown(word);
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

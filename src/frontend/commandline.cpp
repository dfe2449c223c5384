// The command line. PBlock must hold its defaults; messages about unusable options go out as
// ordinary lines. Front-end thread, once, before anything that the options size is built.
#include "frontend/commandline.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "frontend/benchmark.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/words.h"
#include "search/search.h"

namespace {

constexpr int WHOLE_PERCENT = 100;
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

void SetDepth(StartOptions* start, const char* value, int) {
    start->self_play.depth = WholeNumber(value, 0, MAX_DEPTH);
    PBlock.limits.max_depth = static_cast<i8>(WholeNumber(value, 0, MAX_DEPTH));
    PBlock.time.SetTimePerMove(DEPTH_OPTION_SECONDS);
}

void SetSeconds(StartOptions* start, const char* value, int) {
    start->self_play.seconds = DecimalNumber(value);
    PBlock.time.SetTimePerMove(DecimalNumber(value));
}

void SetHash(StartOptions* start, const char* value, int) {
    PBlock.options.hash_mb = static_cast<u16>(WholeNumber(value, 0, MAX_HASH_MB));
    start->self_play.hash_mb = PBlock.options.hash_mb;
}

void SetThreads(StartOptions* start, const char* value, int) {
    PBlock.options.threads = static_cast<u8>(WholeNumber(value, 1, MAX_THREADS));
    start->self_play.at_once = start->tune_all.threads = PBlock.options.threads;
}

// Settings of self-play.

constexpr int MOST_GAMES = 1000000;
constexpr int MOST_OPENING_PLIES = 60;
constexpr double MOST_ELO = 1000.0;  // of a hypothesis

void WishSelfPlay(StartOptions* start, const char* value, int) {
    start->self_play.games_file = value;
    Wish(start, RunMode::SelfPlay);
}

void SetPlayer(StartOptions* start, const char* value, int player) {
    start->self_play.parameters[player] = value;
}

// Games come in pairs.
void SetGames(StartOptions* start, const char* value, int) {
    start->self_play.games = (WholeNumber(value, 1, MOST_GAMES) + 1) / 2 * 2;
}

void SetNodes(StartOptions* start, const char* value, int) {
    start->self_play.nodes = static_cast<u64>(WholeNumber(value, 1, INT_MAX));
}

void SetOpenings(StartOptions* start, const char* value, int) {
    start->self_play.openings.epd_file = value;
}

void SetBookPlies(StartOptions* start, const char* value, int) {
    start->self_play.openings.book_plies = WholeNumber(value, 0, MOST_OPENING_PLIES);
}

void SetRandomPlies(StartOptions* start, const char* value, int) {
    start->self_play.openings.random_plies = WholeNumber(value, 0, MOST_OPENING_PLIES);
}

void SetSeed(StartOptions* start, const char* value, int) {
    start->self_play.openings.seed = static_cast<u32>(WholeNumber(value, 0, INT_MAX));
}

void SetDecidedScore(StartOptions* start, const char* value, int) {
    start->self_play.decided_score = WholeNumber(value, 0, INFINITE_SCORE);
}

// Two numbers, the lower one first. A run without the test that was wanted would be worth nothing.
void SetTest(StartOptions* start, const char* value, int) {
    const std::string_view words = value != nullptr ? value : "";
    const std::size_t blank = std::min(words.find(' '), words.size());
    Hypotheses test;
    if (ReadNumber(std::string(words.substr(0, blank)), &test.elo0) &&
        ReadNumber(std::string(words.substr(std::min(blank + 1, words.size()))), &test.elo1) &&
        -MOST_ELO <= test.elo0 && test.elo0 < test.elo1 && test.elo1 <= MOST_ELO) {
        start->self_play.test = test;
        return;
    }
    ShowError("-sprt needs two numbers from %.0f to %.0f, the lower one first\n", -MOST_ELO,
              MOST_ELO);
    PBlock.tool.failed = true;
}

void AnnounceWeights(StartOptions*, const char*, int) { PBlock.options.weights_as_options = 1; }

void WishParameterList(StartOptions* start, const char*, int) {
    Wish(start, RunMode::ParameterList);
}

void ChooseParameters(StartOptions* start, const char* value, int) {
    if (value != nullptr) { start->parameter_file = value; }
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

void WishExtraction(StartOptions* start, const char* value, int) {
    start->extract_file = value;
    Wish(start, RunMode::Extract);
}

void WishTuningTogether(StartOptions* start, const char* value, int) {
    start->tune_all.positions = value;
    Wish(start, RunMode::TuneAll);
}

void SetOutFile(StartOptions* start, const char* value, int) { start->out_file = value; }

void SetBlend(StartOptions* start, const char* value, int) {
    start->tune_all.blend = WholeNumber(value, 0, WHOLE_PERCENT);
}

void WishBenchmark(StartOptions* start, const char*, int positions) {
    start->benchmark_positions = positions;
    PBlock.tool.profile = positions == PROFILE_POSITIONS;
    Wish(start, RunMode::Benchmark);
}

// Its nodes are the same everywhere: only a parameter file that was asked for changes them.
void WishQuickBenchmark(StartOptions* start, const char*, int) {
    if (!start->parameter_file) { start->parameter_file = ""; }
    Wish(start, RunMode::QuickBenchmark);
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
void ChooseFolder(StartOptions* start, const char* value, int) {
    start->folder = value != nullptr ? value : "";
}

// --- the table ---

// What has to come after the option. A File chooses a mode, a Path does not; an option with two
// numbers says itself that they are missing (its value is nullptr then).
enum class OptionValue { None, Number, TwoNumbers, File, Path };

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
    {"-dir", "PATH", "change to this folder before any file is opened", OptionValue::Path, ChooseFolder, 0, OptionTime::First},
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
    {"bench", "", "some seconds of benchmark, as test frameworks ask for it", OptionValue::None, WishQuickBenchmark, 0, OptionTime::First},
    {"-anepd", "FILE", "solve the positions of an EPD test suite", OptionValue::File, WishEpdRun},
    {"-match", "FILE", "self-play match against test1.rc; the games go to the file", OptionValue::File, WishMatch},
    {"-tune", "WORD", "tune the evaluation weights against tune.epd; any word", OptionValue::File, WishTuning},
    {"-scan_pgn1", "FILE", "annotate the games of a PGN file", OptionValue::File, WishScan, 1},
    {"-scan_pgn2", "FILE", "tuning positions from the games of a PGN file", OptionValue::File, WishScan, 2},
    {"-scan_pgn3", "FILE", "test positions from the games of a PGN file", OptionValue::File, WishScan, 3},
    {"-scan_pgn4", "FILE", "rook endings from the games of a PGN file", OptionValue::File, WishScan, 4},
    {"-selfplay", "FILE", "games between two parameter sets, many at once, into a PGN file", OptionValue::File, WishSelfPlay},
    {"-player1", "FILE", "self-play: parameter file of player 1, else the built-in weights", OptionValue::Path, SetPlayer, 0},
    {"-player2", "FILE", "self-play: the same for player 2", OptionValue::Path, SetPlayer, 1},
    {"-games", "N", "self-play: number of games, 1000 by default", OptionValue::Number, SetGames},
    {"-nodes", "N", "self-play: nodes per move, 8000 by default; -d and -t come first", OptionValue::Number, SetNodes},
    {"-openings", "FILE", "self-play: begin with the positions of an EPD file", OptionValue::Path, SetOpenings},
    {"-bookplies", "N", "self-play: begin with so many moves of the opening book", OptionValue::Number, SetBookPlies},
    {"-randomplies", "N", "self-play: then moves by lot: 8, or 0 with -openings or -bookplies", OptionValue::Number, SetRandomPlies},
    {"-seed", "N", "self-play: what the lots depend on", OptionValue::Number, SetSeed},
    {"-decided", "CENTIPAWNS", "self-play: end a game at a score that both see for three moves", OptionValue::Number, SetDecidedScore},
    {"-sprt", "ELO0 ELO1", "self-play: end when one of these differences is proven against the other", OptionValue::TwoNumbers, SetTest},
    {"-extract", "FILE", "quiet labelled positions from the games of a PGN file", OptionValue::File, WishExtraction},
    {"-tune-all", "FILE", "tune all evaluation weights together against labelled positions", OptionValue::File, WishTuningTogether},
    {"-out", "FILE", "where the two put their result: positions.epd, tuned.rc by default", OptionValue::Path, SetOutFile},
    {"-blend", "PERCENT", "tuning together: share of the search scores, 25 by default", OptionValue::Number, SetBlend},
    {"-rc", "FILE", "parameters from this file instead of vesk.rc", OptionValue::Path, ChooseParameters, 0, OptionTime::First},
    {"-params", "", "UCI: every weight is an option, for tuners", OptionValue::None, AnnounceWeights},
    {"-params-list", "", "list the weights in the form that tuners take", OptionValue::None, WishParameterList},
    {"--help", "", "this list", OptionValue::None, WishHelp, 0, OptionTime::First},
    {"--version", "", "the program's version and how it was built", OptionValue::None, WishVersion, 0, OptionTime::First},
    {SCAN_OPTION, "FILE", "", OptionValue::File, WishScan, 0, OptionTime::InTurn, true},
};
// clang-format on

// How many words come after the option.
int WordsAfter(const CommandLineOption& o) {
    return o.value == OptionValue::None ? 0 : o.value == OptionValue::TwoNumbers ? 2 : 1;
}

// What came after an option at `i`, with a blank between two words; empty when words are missing.
std::string ValueOf(const CommandLineOption& o, int i, int argc, char** argv) {
    const int words = WordsAfter(o);
    if (words == 0 || i + words >= argc) { return ""; }
    return words == 1 ? argv[i + 1] : std::string(argv[i + 1]) + ' ' + argv[i + 2];
}

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
        if (o->time == time) {
            const bool complete = i + WordsAfter(*o) < argc;
            const std::string value = ValueOf(*o, i, argc, argv);
            o->apply(options, complete ? value.c_str() : nullptr, o->number);
        }
        i += WordsAfter(*o);
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
        if (i + WordsAfter(*o) < argc) {
            o->apply(options, ValueOf(*o, i, argc, argv).c_str(), o->number);
        } else if (o->value == OptionValue::TwoNumbers) {
            o->apply(options, nullptr, o->number);
        } else if (o->value == OptionValue::File) {
            Wish(options, RunMode::Nothing);
            if (!scan_without_mode) { ShowRemark("option %s needs a file name after it", word); }
        } else {
            ShowRemark("option %s needs a %s after it and is ignored", word,
                       o->value == OptionValue::Path ? "name" : "number");
        }
        i += WordsAfter(*o);
    }
    if (scan_without_mode && options->scan_mode == 0) {
        Wish(options, RunMode::Nothing);
        ShowRemark(
            "-scan_pgn comes in four modes: -scan_pgn1 annotates the games, -scan_pgn2 writes "
            "tuning positions, -scan_pgn3 test positions, -scan_pgn4 rook endings");
    }
    // An option that must not be passed over could not be understood.
    if (PBlock.tool.failed) { options->mode = RunMode::Nothing; }
    // Players search with one thread; -threads says how many games are played.
    if (options->mode == RunMode::SelfPlay) { PBlock.options.threads = 1; }
    if (options->mode == RunMode::QuickBenchmark) { PBlock.options.hash_mb = Options().hash_mb; }
    PBlock.options.go_limits.max_depth = PBlock.limits.max_depth;
    PBlock.options.go_limits.node_limit = PBlock.limits.node_limit;
    PBlock.options.go_seconds = PBlock.time.base_time;
}

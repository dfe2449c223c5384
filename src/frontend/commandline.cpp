// The command line. PBlock must hold its defaults; messages about unusable options go out as
// ordinary lines. Front-end thread, once, before anything that the options size is built.
#include "frontend/commandline.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/words.h"

namespace {

constexpr double FIXED_DEPTH_SECONDS = 10000.0;  // time of a move that "-d" limits by depth
constexpr int BENCHMARK_POSITIONS = 10;
constexpr int LONG_BENCHMARK_POSITIONS = 20;
constexpr int PROFILE_POSITIONS = 5;

// The modes that were asked for; the first in this order runs.
struct ModeWishes {
    bool epd = false;
    bool scan = false;
    bool match = false;
    bool benchmark = false;
    bool tune = false;
    bool nothing = false;  // a mode was asked for that cannot run
};

void CopyFileName(char (&to)[FILE_NAME_SIZE], const char* from) {
    const std::size_t length = std::strlen(from);
    const std::size_t kept = std::min<std::size_t>(length, FILE_NAME_SIZE - 1);
    if (kept < length) {
        ShowMessageF("file name is cut to %d characters: %s", FILE_NAME_SIZE - 1, from);
    }
    std::memcpy(to, from, kept);
    to[kept] = '\0';
}

void FixedTime(double seconds) {
    PBlock.time.base_time = seconds;
    PBlock.time.moves_per_control = 1;
}

// Options without a value. False when the word is none of them.
bool PlainOption(const char* word, StartOptions* options, ModeWishes* wishes) {
    const auto is = [word](const char* name) { return std::strcmp(word, name) == 0; };
    const auto benchmark = [&](int positions, int profiled) {
        options->benchmark_positions = positions;
        PBlock.tool.profile = profiled;
        wishes->benchmark = true;
    };
    if (is("-uci")) {
        PBlock.options.protocol = PROTOCOL_UCI;
    } else if (is("-c")) {
        PBlock.options.protocol = PROTOCOL_CONSOLE;
    } else if (is("-nolog")) {
        PBlock.options.log = 0;
    } else if (is("-quiet")) {
        PBlock.options.log = 0;
        PBlock.options.noise = NOISE_NEVER;
    } else if (is("-uci_extra")) {
        PBlock.options.uci_extra = 1;
    } else if (is("-bench")) {
        benchmark(BENCHMARK_POSITIONS, 0);
    } else if (is("-bench2")) {
        benchmark(LONG_BENCHMARK_POSITIONS, 0);
    } else if (is("-pbench")) {
        benchmark(PROFILE_POSITIONS, 1);
    } else {
        return false;
    }
    return true;
}

bool IsScanOption(const char* word) { return std::strstr(word, "-scan_pgn") != nullptr; }
bool IsModeOption(const char* word) {
    return IsScanOption(word) || std::strcmp(word, "-anepd") == 0 ||
           std::strcmp(word, "-match") == 0 || std::strcmp(word, "-tune") == 0;
}

bool TakesValue(const char* word) {
    static const char* const names[] = {"-noise", "-d", "-t", "-hash", "-threads"};
    return IsModeOption(word) ||
           std::any_of(std::begin(names), std::end(names),
                       [=](const char* n) { return std::strcmp(word, n) == 0; });
}

void ScanOption(const char* word, const char* value, StartOptions* options, ModeWishes* wishes) {
    CopyFileName(options->scan_file, value);
    const std::size_t stem = std::strlen("-scan_pgn");
    if (std::strncmp(word, "-scan_pgn", stem) == 0 && word[stem] >= '1' && word[stem] <= '4' &&
        word[stem + 1] == '\0') {
        options->scan_mode = word[stem] - '0';
        wishes->scan = true;
    }
}

void ValueOption(const char* word, const char* value, StartOptions* options, ModeWishes* wishes) {
    const auto is = [word](const char* name) { return std::strcmp(word, name) == 0; };
    if (is("-noise")) {
        PBlock.options.noise = DecimalNumber(value);
    } else if (is("-d")) {
        PBlock.limits.max_depth = static_cast<i8>(WholeNumber(value, 0, MAX_DEPTH));
        FixedTime(FIXED_DEPTH_SECONDS);
    } else if (is("-t")) {
        FixedTime(DecimalNumber(value));
    } else if (is("-hash")) {
        PBlock.options.hash_mb = static_cast<u16>(WholeNumber(value, 0, MAX_HASH_MB));
    } else if (is("-threads")) {
        PBlock.options.threads = static_cast<u8>(WholeNumber(value, 1, MAX_THREADS));
    } else if (is("-anepd")) {
        CopyFileName(PBlock.tool.epd_file, value);
        wishes->epd = true;
    } else if (is("-match")) {
        CopyFileName(PBlock.tool.match_file, value);
        wishes->match = true;
    } else if (is("-tune")) {
        CopyFileName(PBlock.tool.epd_file, value);
        wishes->tune = true;
    } else {
        ScanOption(word, value, options, wishes);
    }
}

RunMode ChosenMode(const ModeWishes& wishes) {
    if (wishes.epd) { return RunMode::EpdAnalysis; }
    if (wishes.scan) { return RunMode::PgnScan; }
    if (wishes.match) { return RunMode::Match; }
    if (wishes.benchmark) { return RunMode::Benchmark; }
    if (wishes.tune) { return RunMode::Tune; }
    return wishes.nothing ? RunMode::Nothing : RunMode::CommandLoop;
}

}  // namespace

void ReadCommandLine(int argc, char** argv, StartOptions* options) {
    ModeWishes wishes;
    bool plain_scan = false;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        if (PlainOption(word, options, &wishes) || !TakesValue(word)) { continue; }
        if (std::strcmp(word, "-scan_pgn") == 0) { plain_scan = true; }
        if (++i < argc) {
            ValueOption(word, argv[i], options, &wishes);
        } else if (IsModeOption(word)) {
            wishes.nothing = true;
            if (!plain_scan) { ShowMessageF("option %s needs a file name after it", word); }
        } else {
            ShowMessageF("option %s needs a number after it and is ignored", word);
        }
    }
    if (plain_scan && !wishes.scan) {
        wishes.nothing = true;
        ShowMessage(
            "-scan_pgn comes in four modes: -scan_pgn1 annotates the games, -scan_pgn2 writes "
            "tuning "
            "positions, -scan_pgn3 test positions, -scan_pgn4 rook endings");
    }
    options->mode = ChosenMode(wishes);
    PBlock.options.go_limits.max_depth = PBlock.limits.max_depth;
    PBlock.options.go_limits.node_limit = PBlock.limits.node_limit;
}

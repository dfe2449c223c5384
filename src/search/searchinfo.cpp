// The writers of search information. spinlock2 keeps a line together with the statistics that it
// shows.
#include "search/searchinfo.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "board/moves.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr int MAX_LINE_MOVES = 66;            // moves of a principal variation that are shown
constexpr int CONSOLE_MOVES_RUNNING = 8;      // the same in console form while the search runs
constexpr int CONSOLE_MOVES_FINISHED = 32;    // and once it was told to stop
constexpr int CONSOLE_MOVES_PER_LINE = 8;     // then a new line starts below the first move
constexpr std::size_t CONSOLE_INDENT = 30;    // width of what stands before the first move
constexpr double SHORTEST_RATE_TIME = 0.001;  // seconds below which no node rate is shown

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
    char text[1024];  // no line is longer: 66 moves of at most 7 characters
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string MoveText(Move m) {
    char text[MOVE_TEXT_SIZE];
    MoveToStr(m, text, TextStyle());
    return text;
}

// The first `limit` moves of a line, separated by blanks; with `moves_per_line` not 0 a new,
// indented line begins after each that many.
std::string LineText(const Move* pv, int limit, int moves_per_line) {
    std::string text;
    for (int i = 1; i <= limit && pv[i] != NO_MOVE; ++i) {
        if (i > 1 && moves_per_line != 0 && (i - 1) % moves_per_line == 0) {
            text += '\n' + std::string(CONSOLE_INDENT, ' ');
        } else if (i > 1) {
            text += ' ';
        }
        text += MoveText(pv[i]);
    }
    return text;
}

double NodesPerSecond(double seconds) {
    return seconds > SHORTEST_RATE_TIME ? static_cast<double>(sstats.nodes) / seconds : 0.0;
}

std::string UciSearchLine(int thread, int line_index, int depth, int score, const Move* pv) {
    const double seconds = PBlock.time.elapsed;
    std::string prefix = "info";
    if (PBlock.options.uci_extra) {
        prefix = Format("info [%02d%c]", thread, line_index >= 0 ? '.' : ' ');
    } else if (PBlock.options.multipv != 1) {
        prefix = Format("info multipv %d", line_index + 1);
    }
    return Format("%s depth %d time %.0f score cp %d nodes %.0f nps %.0f pv %s", prefix.c_str(),
                  depth, seconds * 1000.0, score, static_cast<double>(sstats.nodes),
                  NodesPerSecond(seconds), LineText(pv, MAX_LINE_MOVES, 0).c_str());
}

std::string ConsoleSearchLine(int thread, int line_index, int depth, int score, const Move* pv) {
    const int limit =
        PBlock.control.stop == STOP_NONE ? CONSOLE_MOVES_RUNNING : CONSOLE_MOVES_FINISHED;
    return Format("%02d] %02d%c %5.1f %7.0fK %5d  %s", thread, depth, line_index >= 0 ? '.' : ' ',
                  PBlock.time.elapsed.Get(), static_cast<double>(sstats.nodes) / 1000.0, score,
                  LineText(pv, limit, CONSOLE_MOVES_PER_LINE).c_str());
}

}  // namespace

bool SearchInfoWanted() {
    const double noise = PBlock.options.noise;
    return noise != NOISE_NEVER &&
           (PBlock.control.stop != STOP_NONE || PBlock.time.elapsed >= noise);
}

void DisplaySearchInfo(int thread, int line_index, int depth, int score, const Move* pv) {
    if (!SearchInfoWanted() || depth == 0 || pv[1] == NO_MOVE) { return; }
    const SpinGuard guard(&spinlock2);
    Collect();
    ShowMessage((PBlock.options.protocol == PROTOCOL_UCI
                     ? UciSearchLine(thread, line_index, depth, score, pv)
                     : ConsoleSearchLine(thread, line_index, depth, score, pv))
                    .c_str());
}

void DisplayIterationStart(int depth) {
    const SpinGuard guard(&spinlock2);
    Collect();
    const double seconds = PBlock.time.elapsed;
    ShowMessageF("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f", depth,
                 seconds * 1000.0, static_cast<double>(sstats.nodes), NodesPerSecond(seconds),
                 1000.0 * HashFill());
}

void DisplayCurrentMove(Move m, int number) {
    const SpinGuard guard(&spinlock2);
    Collect();
    ShowMessageF("info currmove %s%s currmovenumber %d", square_name[MoveFrom(m)],
                 square_name[MoveTo(m)], number);
}

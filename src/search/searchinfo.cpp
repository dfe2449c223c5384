// The writers of search information. One lock keeps the lines in the order of the totals that they
// show.
#include "search/searchinfo.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "board/moves.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr int MAX_LINE_MOVES = 66;          // moves of a principal variation that are shown
constexpr int CONSOLE_MOVES_RUNNING = 8;    // the same in console form while the search runs
constexpr int CONSOLE_MOVES_FINISHED = 32;  // and once it was told to stop
constexpr int CONSOLE_MOVES_PER_LINE = 8;   // then a new line starts below the first move
constexpr double MS_PER_SECOND = 1000.0;
constexpr double NODES_PER_KILONODE = 1000.0;
constexpr double PER_MILLE = 1000.0;          // of the table's fill
constexpr std::size_t CONSOLE_INDENT = 30;    // width of what stands before the first move
constexpr double SHORTEST_RATE_TIME = 0.001;  // seconds below which no node rate is shown

std::mutex info_mutex;  // held from the gathering of the totals until the line is written

// What one line shows; the fields are the arguments of DisplaySearchInfo.
struct SearchLine {
    int thread;
    int line_index;
    int depth;
    int score;
    const Move* pv;
};

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
            text += '\n';
            text.append(CONSOLE_INDENT, ' ');
        } else if (i > 1) {
            text += ' ';
        }
        text += MoveText(pv[i]);
    }
    return text;
}

double NodesPerSecond(double nodes, double seconds) {
    return seconds > SHORTEST_RATE_TIME ? nodes / seconds : 0.0;
}

const Conventions& Manners() { return PBlock.options.conventions; }

// For what a search thread says: the front end's clock stands still between two looks.
double SecondsSoFar() {
    return Manners().full_info ? SecondsSinceStart() : PBlock.time.elapsed.Get();
}

// Plies to which the first thread has looked.
int SelectiveDepth() { return ThreadData[1]->deepest_ply - 1; }

// A score that the search has only bounded yet says so. The last line tells of the published
// result, which the line that was searched last may have left as it was.
const char* BoundWord(const SearchLine& line) {
    if (line.thread == 0) { return PBlock.result.Snapshot().bounded ? " lowerbound" : ""; }
    switch (ThreadData[line.thread]->root_status) {
        case ROOT_FAILS_HIGH:
        case ROOT_LATER_FAILS_HIGH:
            return " lowerbound";
        case ROOT_FIRST_FAILS_LOW:
            return " upperbound";
        default:
            return "";
    }
}

std::string ScoreText(const SearchLine& line) {
    if (!Manners().mate_scores) { return Format("cp %d", line.score); }
    if (std::abs(line.score) <= MATE_SCORE) {
        return Format("cp %d%s", line.score, BoundWord(line));
    }
    const int moves = (INFINITE_SCORE - std::abs(line.score)) / PLIES_PER_MOVE;
    return Format("mate %d%s", line.score > 0 ? moves : -moves, BoundWord(line));
}

std::string UciSearchLine(const SearchLine& line, double nodes) {
    const double seconds = line.thread != 0 ? SecondsSoFar() : PBlock.time.elapsed.Get();
    std::string prefix = "info";
    if (PBlock.options.uci_extra) {
        prefix = Format("info [%02d%c]", line.thread, line.line_index >= 0 ? '.' : ' ');
    } else if (PBlock.options.multipv != 1) {
        prefix = Format("info multipv %d", line.line_index + 1);
    }
    const std::string seldepth =
        Manners().full_info ? Format(" seldepth %d", std::max(line.depth, SelectiveDepth())) : "";
    const std::string fill =
        Manners().full_info ? Format(" hashfull %.0f", PER_MILLE * HashFill()) : "";
    return Format("%s depth %d%s time %.0f score %s nodes %.0f nps %.0f%s pv %s", prefix.c_str(),
                  line.depth, seldepth.c_str(), seconds * MS_PER_SECOND, ScoreText(line).c_str(),
                  nodes, NodesPerSecond(nodes, seconds), fill.c_str(),
                  LineText(line.pv, MAX_LINE_MOVES, 0).c_str());
}

std::string ConsoleSearchLine(const SearchLine& line, double nodes) {
    const int limit =
        PBlock.control.stop == STOP_NONE ? CONSOLE_MOVES_RUNNING : CONSOLE_MOVES_FINISHED;
    return Format("%02d] %02d%c %5.1f %7.0fK %5d  %s", line.thread, line.depth,
                  line.line_index >= 0 ? '.' : ' ', PBlock.time.elapsed.Get(),
                  nodes / NODES_PER_KILONODE, line.score,
                  LineText(line.pv, limit, CONSOLE_MOVES_PER_LINE).c_str());
}

double CollectedNodes() { return static_cast<double>(Collect().nodes); }

}  // namespace

bool SearchInfoWanted() {
    const double noise = PBlock.options.noise;
    return noise != NOISE_NEVER &&
           (PBlock.control.stop != STOP_NONE || PBlock.time.elapsed >= noise);
}

void DisplaySearchInfo(int thread, int line_index, int depth, int score, const Move* pv) {
    if (!SearchInfoWanted() || depth == 0 || pv[1] == NO_MOVE) { return; }
    const SearchLine line = {thread, line_index, depth, score, pv};
    const std::lock_guard<std::mutex> guard(info_mutex);
    const double nodes = CollectedNodes();
    ShowMessage((PBlock.options.protocol == PROTOCOL_UCI ? UciSearchLine(line, nodes)
                                                         : ConsoleSearchLine(line, nodes))
                    .c_str());
}

void DisplayIterationStart(int depth) {
    const std::lock_guard<std::mutex> guard(info_mutex);
    const double nodes = CollectedNodes();
    const double seconds = SecondsSoFar();
    ShowMessageF("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f", depth,
                 seconds * MS_PER_SECOND, nodes, NodesPerSecond(nodes, seconds),
                 PER_MILLE * HashFill());
}

void DisplayCurrentMove(Move m, int number) {
    ShowMessageF("info currmove %s%s currmovenumber %d", square_name[MoveFrom(m)],
                 square_name[MoveTo(m)], number);
}

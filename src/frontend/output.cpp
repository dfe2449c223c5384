// The writers of everything the engine says. Nothing has to be initialised for standard output;
// OpenLog comes before the first line that shall reach the log. One lock of its own keeps every
// line whole whichever thread writes it; spinlock2, taken by the search information writers, keeps
// a line together with the statistics that it shows.
#include "frontend/output.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>

#include "board/moves.h"
#include "frontend/pblock.h"
#include "platform/input.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr int MAX_LINE_MOVES = 66;            // moves of a principal variation that are shown
constexpr int CONSOLE_MOVES_RUNNING = 8;      // the same in console form while the search runs
constexpr int CONSOLE_MOVES_FINISHED = 32;    // and once it was told to stop
constexpr int CONSOLE_MOVES_PER_LINE = 8;     // then a new line starts below the first move
constexpr std::size_t CONSOLE_INDENT = 30;    // width of what stands before the first move
constexpr double SHORTEST_RATE_TIME = 0.001;  // seconds below which no node rate is shown

FILE* fdlog = nullptr;         // changed by the front end while no search runs
std::mutex write_mutex;        // held for one line on standard output, the log and the status line
bool status_is_shown = false;  // under write_mutex

void EraseStatus() {
    if (!status_is_shown) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    status_is_shown = false;
}

void WriteWhole(FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

bool LogIsOn() { return PBlock.log && fdlog != nullptr; }

// `line` ends with its line feed.
void WriteLine(const std::string& line, bool to_output) {
    const std::lock_guard<std::mutex> guard(write_mutex);
    if (to_output) {
        EraseStatus();
        WriteWhole(stdout, line);
    }
    if (LogIsOn()) WriteWhole(fdlog, line);
}

std::string FormatList(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
std::string FormatList(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatList(format, arguments);
    va_end(arguments);
    return text;
}

std::string MoveText(Move m) {
    char text[MOVE_TEXT_SIZE];
    MoveToStr(m, text);
    return text;
}

// The first `limit` moves of a line, separated by blanks; with `moves_per_line` not 0 a new,
// indented line begins after each that many.
std::string LineText(const Move* pv, int limit, int moves_per_line) {
    std::string text;
    for (int i = 1; i <= limit && pv[i] != NO_MOVE; ++i) {
        if (i > 1 && moves_per_line != 0 && (i - 1) % moves_per_line == 0)
            text += '\n' + std::string(CONSOLE_INDENT, ' ');
        else if (i > 1)
            text += ' ';
        text += MoveText(pv[i]);
    }
    return text;
}

double NodesPerSecond(double seconds) {
    return seconds > SHORTEST_RATE_TIME ? static_cast<double>(sstats.nodes) / seconds : 0.0;
}

std::string UciSearchLine(int thread, int line_index, int depth, int score, const Move* pv) {
    const double seconds = PBlock.elapsed;
    std::string prefix = "info";
    if (uci_extra)
        prefix = Format("info [%02d%c]", thread, line_index >= 0 ? '.' : ' ');
    else if (PBlock.multipv != 1)
        prefix = Format("info multipv %d", line_index + 1);
    return Format("%s depth %d time %.0f score cp %d nodes %.0f nps %.0f pv %s\n", prefix.c_str(),
                  depth, seconds * 1000.0, score, static_cast<double>(sstats.nodes),
                  NodesPerSecond(seconds), LineText(pv, MAX_LINE_MOVES, 0).c_str());
}

std::string ConsoleSearchLine(int thread, int line_index, int depth, int score, const Move* pv) {
    const int limit = PBlock.stop == STOP_NONE ? CONSOLE_MOVES_RUNNING : CONSOLE_MOVES_FINISHED;
    return Format("%02d] %02d%c %5.1f %7.0fK %5d  %s\n", thread, depth, line_index >= 0 ? '.' : ' ',
                  PBlock.elapsed.Get(), static_cast<double>(sstats.nodes) / 1000.0, score,
                  LineText(pv, limit, CONSOLE_MOVES_PER_LINE).c_str());
}

// Writes a text that the log never holds.
void WriteUnlogged(std::FILE* out, const char* format, va_list arguments) {
    const std::string text = FormatList(format, arguments);
    const std::lock_guard<std::mutex> guard(write_mutex);
    EraseStatus();
    WriteWhole(out, text);
}

}  // namespace

void OpenLog() {
    CloseLog();
    std::error_code error;
    if (std::filesystem::exists(LOG_FILE_NAME, error) &&
        (std::filesystem::is_directory(LOG_FILE_NAME, error) ||
         !std::filesystem::remove(LOG_FILE_NAME, error))) {
        PrintDirect("log file in use\n\n");
        return;
    }
    fdlog = std::fopen(LOG_FILE_NAME, "w");
}

void CloseLog() {
    if (fdlog != nullptr) std::fclose(fdlog);
    fdlog = nullptr;
}

void ShowMessage(const char* text) { WriteLine(std::string(text) + '\n', true); }

void ShowMessageF(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteLine(FormatList(format, arguments) + '\n', true);
    va_end(arguments);
}

void LogMessage(const char* text) {
    if (LogIsOn()) WriteLine(std::string(text) + '\n', false);
}

void PrintDirect(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteUnlogged(stdout, format, arguments);
    va_end(arguments);
}

void ShowError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteUnlogged(stderr, format, arguments);
    va_end(arguments);
}

bool SearchInfoWanted() {
    const double noise = PBlock.noise;
    return noise != NOISE_NEVER && (PBlock.stop != STOP_NONE || PBlock.elapsed >= noise);
}

void DisplaySearchInfo(int thread, int line_index, int depth, int score, const Move* pv) {
    if (!SearchInfoWanted() || depth == 0 || pv[1] == NO_MOVE) return;
    const SpinGuard guard(&spinlock2);
    Collect();
    WriteLine(PBlock.protocol == PROTOCOL_UCI
                  ? UciSearchLine(thread, line_index, depth, score, pv)
                  : ConsoleSearchLine(thread, line_index, depth, score, pv),
              true);
}

void DisplayIterationStart(int depth) {
    const SpinGuard guard(&spinlock2);
    Collect();
    const double seconds = PBlock.elapsed;
    WriteLine(Format("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f\n", depth,
                     seconds * 1000.0, static_cast<double>(sstats.nodes), NodesPerSecond(seconds),
                     1000.0 * HashFill()),
              true);
}

void DisplayCurrentMove(Move m, int number) {
    const SpinGuard guard(&spinlock2);
    Collect();
    WriteLine(Format("info currmove %s%s currmovenumber %d\n", square_name[MoveFrom(m)],
                     square_name[MoveTo(m)], number),
              true);
}

void ShowBoard(const Position* pos) {
    static constexpr char white_letters[] = "-PNBRQK-";
    static constexpr char black_letters[] = "-onbrqk-";
    char fields[EPD_FIELDS_SIZE];
    MakeEPD(pos, fields);
    std::string text = std::string(fields) + '\n';
    for (int rank = 7; rank >= 0; --rank) {
        text += ' ';
        for (int file = 0; file < 8; ++file) {
            const int code = pos->board[8 * rank + file];
            const char empty = (rank + file) % 2 == 0 ? '+' : '-';
            text += ' ';
            if (code == NO_PIECE)
                text += empty;
            else
                text +=
                    (PieceColour(code) == WHITE ? white_letters : black_letters)[PieceType(code)];
        }
        text += '\n';
    }
    text += pos->side == WHITE ? "white\n" : "black\n";
    ShowMessage(text.c_str());
}

void ShowStatus(const char* format, ...) {
    // Asked once: a tool may offer its status for every position of hundreds of thousands.
    static const bool somebody_looks = OutputIsConsole() && ErrorIsConsole();
    if (!somebody_looks) return;
    va_list arguments;
    va_start(arguments, format);
    std::string text(1, '\r');
    text += FormatList(format, arguments);
    text += "\033[K";
    va_end(arguments);
    const std::lock_guard<std::mutex> guard(write_mutex);
    WriteWhole(stderr, text);
    status_is_shown = true;
}

void ClearStatus() {
    const std::lock_guard<std::mutex> guard(write_mutex);
    EraseStatus();
}

// Everything the engine tells its user: message lines, the log file, search information lines, the
// board diagram. A leaf header (type headers only). Every line leaves as one write and is flushed.
// ShowMessage, LogMessage and PrintDirect may be called from any thread; search information is
// serialised by spinlock2.
#pragma once

#include "board/position.h"

inline constexpr const char* LOG_FILE_NAME = "vesk.log";

// Opens the log file anew; when the old one cannot be deleted prints "log file in use" and runs
// without one.
void OpenLog();
void CloseLog();

// Writes the text and a line feed to standard output, and to the log when it is on.
void ShowMessage(const char* text);
// The same from a printf format.
void ShowMessageF(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes the text and a line feed to the log only, when it is on.
void LogMessage(const char* text);
// Writes a text as it stands (no line feed added) to standard output only; for listings that are
// never logged.
void PrintDirect(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes a text as it stands to standard error, for what must not mix with a tool's own output.
void ShowError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints one search information line, unless `noise` or an empty line forbids it. depth in plies,
// score in centipawns for the side to move, pv indexed from 1 and ended by 0. line_index: 0-based
// number of the variation, -1 for an update in the middle of an iteration.
void DisplaySearchInfo(int thread, int line_index, int depth, int score, const Move* pv);
// True when a search information line may be printed now.
bool SearchInfoWanted();

// UCI progress of the root search. Take spinlock2 and gather the statistics themselves.
void DisplayIterationStart(int depth);
void DisplayCurrentMove(Move m, int number);

void ShowBoard(const Position* pos);

// A status line on standard error that rewrites itself, only when standard error and standard
// output are terminals. ClearStatus takes it away.
void ShowStatus(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ClearStatus();

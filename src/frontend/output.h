// How the engine speaks to its user: message lines, the log file, the status line. A leaf header:
// every folder may include it. Every line leaves as one write and is flushed. All writers but
// OpenLog and CloseLog may be called from any thread. Output that cannot be written is noted (see
// platform/outstream.h) and dropped from then on.
#pragma once

inline constexpr const char* LOG_FILE_NAME = "vesk.log";

// Opens the log file anew; when the old one cannot be deleted prints "log file in use" and runs
// without one. What is said until BeginLog reaches the log only then, if it is still on; where the
// folder takes no file it says so on standard error, once, and the engine runs without a log.
void OpenLog();
void BeginLog();
void CloseLog();

// Writes the text and a line feed to standard output, and to the log when it is on.
void ShowMessage(const char* text);
// The same from a printf format.
void ShowMessageF(const char* format, ...) __attribute__((format(printf, 1, 2)));
// A remark of the engine that is no answer, as one line; marked as such where the protocol asks for
// that.
void ShowRemark(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes the text and a line feed to the log only, when it is on.
void LogMessage(const char* text);
// Writes a text as it stands (no line feed added) to standard output only; for listings that are
// never logged.
void PrintDirect(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Writes a text as it stands to standard error, for what must not mix with a tool's own output.
void ShowError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// A status line on standard error that rewrites itself, only when standard error and standard
// output are terminals. ClearStatus takes it away.
void ShowStatus(const char* format, ...) __attribute__((format(printf, 1, 2)));
void ClearStatus();

// While one lives nobody else writes: for the line that the user edits (platform/lineedit.h). Any
// thread, never two at once in one thread; no writer may be called meanwhile.
class OutputTurn {
public:
    OutputTurn();
    ~OutputTurn();
    OutputTurn(const OutputTurn&) = delete;
    OutputTurn& operator=(const OutputTurn&) = delete;
};

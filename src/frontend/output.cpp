// The writers of everything the engine says. Nothing has to be initialised for standard output;
// OpenLog comes before the first line that shall reach the log. One lock of its own keeps every
// line whole whichever thread writes it.
#include "frontend/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <utility>

#include "frontend/pblock.h"
#include "platform/files.h"
#include "platform/infile.h"
#include "platform/input.h"
#include "platform/lineedit.h"
#include "platform/outstream.h"

namespace {

std::mutex write_mutex;        // held for one line on standard output, the log and the status line
FILE* fdlog = nullptr;         // under write_mutex
PathLock log_lock;             // of the open log; another engine leaves it alone
bool status_is_shown = false;  // under write_mutex
// Under write_mutex: between OpenLog and BeginLog nobody knows yet whether there shall be a log.
bool log_waits = false;
std::string waiting_lines;
std::string log_fault;  // why there is no log, until the user has been told

void EraseStatus() {
    if (!status_is_shown) { return; }
    WriteStream(OutStream::Error, "\r\033[K");
    status_is_shown = false;
}

// Writes beside the line that the user edits, if there is one.
void WriteText(OutStream out, const std::string& text) {
    HideEditedLine();
    EraseStatus();
    WriteStream(out, text);
    if (text.ends_with('\n')) { RestoreEditedLine(); }
}

// Adds a line to the log when it is on. A log that cannot be written any more ends; the engine goes
// on.
void WriteToLog(const std::string& line) {
    if (!PBlock.options.log || fdlog == nullptr) { return; }
    if (log_waits) {
        waiting_lines += line;
        return;
    }
    errno = 0;
    const std::size_t written = std::fwrite(line.data(), 1, line.size(), fdlog);
    if (written == line.size() && std::fflush(fdlog) == 0) { return; }
    const std::string why = std::strerror(errno != 0 ? errno : EIO);
    std::fclose(fdlog);
    fdlog = nullptr;
    WriteText(OutStream::Error,
              std::string("the log ends: cannot write ") + LOG_FILE_NAME + ": " + why + "\n");
}

// `line` ends with its line feed.
void WriteLine(const std::string& line, bool to_output) {
    const std::lock_guard<std::mutex> guard(write_mutex);
    if (to_output) { WriteText(OutStream::Output, line); }
    WriteToLog(line);
}

std::string FormatList(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
std::string FormatList(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    if (length > 0) { std::vsnprintf(text.data(), text.size() + 1, format, again); }
    va_end(again);
    return text;
}

// Writes a text that the log never holds.
void WriteUnlogged(OutStream out, const char* format, va_list arguments) {
    const std::string text = FormatList(format, arguments);
    const std::lock_guard<std::mutex> guard(write_mutex);
    WriteText(out, text);
}

// Takes the old log away and makes a new one. nullptr when that cannot be, or when the old one is
// the log of an engine that still runs.
FILE* NewLog() {
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::symlink_status(LOG_FILE_NAME, error))) {
        if (!log_lock.TryLock(LOG_FILE_NAME)) { return nullptr; }
        if (std::filesystem::is_directory(LOG_FILE_NAME, error) || !RemoveFile(LOG_FILE_NAME)) {
            return nullptr;
        }
    }
    FILE* file = OpenNewFile(LOG_FILE_NAME);
    if (file != nullptr && !log_lock.TryLock(LOG_FILE_NAME)) {
        std::fclose(file);
        return nullptr;
    }
    return file;
}

}  // namespace

OutputTurn::OutputTurn() { write_mutex.lock(); }
OutputTurn::~OutputTurn() { write_mutex.unlock(); }

void OpenLog() {
    CloseLog();
    FILE* file = NewLog();
    const int fault = errno;
    const bool in_use = file == nullptr && std::filesystem::exists(LOG_FILE_NAME);
    if (in_use) { PrintDirect("log file in use\n\n"); }
    const std::lock_guard<std::mutex> guard(write_mutex);
    fdlog = file;
    log_fault = file == nullptr && !in_use ? std::strerror(fault) : "";
    log_waits = true;
}

void BeginLog() {
    const std::lock_guard<std::mutex> guard(write_mutex);
    log_waits = false;
    if (!waiting_lines.empty()) { WriteToLog(std::exchange(waiting_lines, "")); }
    if (PBlock.options.log && !log_fault.empty()) {
        WriteText(OutStream::Error, std::string("no log: cannot write ") + LOG_FILE_NAME + ": " +
                                        std::exchange(log_fault, "") + "\n");
    }
}

void CloseLog() {
    const std::lock_guard<std::mutex> guard(write_mutex);
    if (fdlog != nullptr) { std::fclose(fdlog); }
    fdlog = nullptr;
    log_lock.Release();
}

void ShowMessage(const char* text) { WriteLine(std::string(text) + '\n', true); }

void ShowMessageF(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteLine(FormatList(format, arguments) + '\n', true);
    va_end(arguments);
}

void ShowRemark(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatList(format, arguments);
    va_end(arguments);
    if (PBlock.options.conventions.marked_remarks && PBlock.options.protocol == PROTOCOL_UCI) {
        text = "info string " + text.substr(0, text.find_last_not_of('\n') + 1);
    }
    WriteLine(text + '\n', true);
}

void LogMessage(const char* text) { WriteLine(std::string(text) + '\n', false); }

void PrintDirect(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteUnlogged(OutStream::Output, format, arguments);
    va_end(arguments);
}

void ShowError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    WriteUnlogged(OutStream::Error, format, arguments);
    va_end(arguments);
}

void ShowStatus(const char* format, ...) {
    // Asked once: a tool may offer its status for every position of hundreds of thousands.
    static const bool somebody_looks = OutputIsConsole() && ErrorIsConsole();
    if (!somebody_looks) { return; }
    va_list arguments;
    va_start(arguments, format);
    std::string text(1, '\r');
    text += FormatList(format, arguments);
    text += "\033[K";
    va_end(arguments);
    const std::lock_guard<std::mutex> guard(write_mutex);
    HideEditedLine();
    WriteStream(OutStream::Error, text);
    status_is_shown = true;
}

void ClearStatus() {
    const std::lock_guard<std::mutex> guard(write_mutex);
    EraseStatus();
    RestoreEditedLine();
}

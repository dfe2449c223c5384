// The writers of everything the engine says. Nothing has to be initialised for standard output;
// OpenLog comes before the first line that shall reach the log. One lock of its own keeps every
// line whole whichever thread writes it.
#include "frontend/output.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>

#include "frontend/pblock.h"
#include "platform/input.h"

namespace {

FILE* fdlog = nullptr;         // changed by the front end while no search runs
std::mutex write_mutex;        // held for one line on standard output, the log and the status line
bool status_is_shown = false;  // under write_mutex

void EraseStatus() {
    if (!status_is_shown) { return; }
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    status_is_shown = false;
}

void WriteWhole(FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

bool LogIsOn() { return PBlock.options.log && fdlog != nullptr; }

// `line` ends with its line feed.
void WriteLine(const std::string& line, bool to_output) {
    const std::lock_guard<std::mutex> guard(write_mutex);
    if (to_output) {
        EraseStatus();
        WriteWhole(stdout, line);
    }
    if (LogIsOn()) { WriteWhole(fdlog, line); }
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
    if (fdlog != nullptr) { std::fclose(fdlog); }
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
    if (LogIsOn()) { WriteLine(std::string(text) + '\n', false); }
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
    WriteWhole(stderr, text);
    status_is_shown = true;
}

void ClearStatus() {
    const std::lock_guard<std::mutex> guard(write_mutex);
    EraseStatus();
}

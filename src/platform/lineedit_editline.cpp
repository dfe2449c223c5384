// Line editing by the library editline (libedit), key by key in its unbuffered form, so that the
// program goes on with its searches between two keys. The history is kept where the user's other
// programs keep theirs: $XDG_STATE_HOME/vesk/history, or ~/.local/state/vesk/history.
#include "platform/lineedit.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <histedit.h>
#include <poll.h>
#include <unistd.h>

#include "platform/outstream.h"
#include "platform/sleep.h"

namespace {

char prompt[] = "> ";  // the library takes no constant
constexpr int HISTORY_LINES = 1000;
constexpr int REST_OF_KEY_MS = 100;
constexpr wchar_t NO_KEY = L'\a';  // does nothing, also at the end of a key that was cut short
constexpr char CONTROL_D = '\x04';
constexpr int DEFAULT_WIDTH = 80;

// What is on the terminal.
enum class Line {
    None,    // no line is being edited
    Shown,   // below everything else
    Hidden,  // something else is being written in its place
};

EditLine* editor = nullptr;  // while line editing runs
History* history_lines = nullptr;
CompletionsOf completions_of = nullptr;
Line state = Line::None;
bool input_is_over = false;

std::atomic<bool> size_changed{false};
std::atomic<bool> was_stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free,
              "a signal handler may use nothing that locks");

void Write(std::string_view text) { WriteStream(OutStream::Output, text); }

// --- where the cursor stands ---

// Whether a byte is not the first one of its character.
bool ContinuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Columns that a text takes; every character counts as one.
int Columns(std::string_view text) {
    return static_cast<int>(text.size()) -
           static_cast<int>(std::count_if(text.begin(), text.end(), ContinuesCharacter));
}

int TerminalWidth() {
    int width = 0;
    if (el_get(editor, EL_GETTC, "co", &width) != 0 || width <= 0) { return DEFAULT_WIDTH; }
    return width;
}

// Rows of the terminal from the beginning of the line to its end, and to the cursor.
struct Rows {
    int all;
    int to_cursor;
};

Rows RowsOfLine() {
    const LineInfo* line = el_line(editor);
    const std::string_view text(line->buffer,
                                static_cast<std::size_t>(line->lastchar - line->buffer));
    const std::string_view before =
        text.substr(0, static_cast<std::size_t>(line->cursor - line->buffer));
    const int width = TerminalWidth();
    return {(Columns(prompt) + Columns(text)) / width, (Columns(prompt) + Columns(before)) / width};
}

void GoBelowLine() {
    const Rows rows = RowsOfLine();
    std::string text;
    if (rows.all > rows.to_cursor) {
        text = "\033[" + std::to_string(rows.all - rows.to_cursor) + "B";
    }
    Write(text + "\r\n");
}

// --- signals ---

void NoteSize(int) {
    size_changed.store(true, std::memory_order_relaxed);
    RaiseAlert();
}

// The shell has used the terminal meanwhile.
void NoteContinued(int) {
    was_stopped.store(true, std::memory_order_relaxed);
    RaiseAlert();
}

void Catch(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(number, &action, nullptr);
}

void SeeToSignals() {
    if (size_changed.exchange(false, std::memory_order_relaxed)) { el_resize(editor); }
    if (was_stopped.exchange(false, std::memory_order_relaxed) && state == Line::Shown) {
        el_set(editor, EL_PREP_TERM, 1);
        el_set(editor, EL_REFRESH);
    }
}

// --- keys ---

bool KeyWaits(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    int ready;
    do { ready = poll(&input, 1, milliseconds); } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

// Reads one character for the library. It asks only when a key waits, or for the rest of one; a
// rest that does not come, as after a lone escape, must not keep the program waiting.
int ReadKey(EditLine*, wchar_t* key) {
    std::mbstate_t conversion = {};
    for (;;) {
        if (!KeyWaits(REST_OF_KEY_MS)) {
            *key = NO_KEY;
            return 1;
        }
        char byte;
        ssize_t got;
        do { got = read(STDIN_FILENO, &byte, 1); } while (got < 0 && errno == EINTR);
        if (got <= 0) {
            input_is_over = true;
            return 0;
        }
        constexpr std::size_t INCOMPLETE = static_cast<std::size_t>(-2);
        const std::size_t result = std::mbrtowc(key, &byte, 1, &conversion);
        if (result == INCOMPLETE) { continue; }
        if (result > 1) { *key = NO_KEY; }  // no character in the user's encoding
        return 1;
    }
}

// In whole characters: the library takes no part of one.
std::string CommonStart(const std::vector<std::string>& words) {
    const std::string& first = words.front();
    std::size_t length = first.size();
    for (const std::string& word : words) {
        const auto end = std::mismatch(first.begin(), first.end(), word.begin(), word.end()).first;
        length = std::min(length, static_cast<std::size_t>(end - first.begin()));
    }
    while (length > 0 && length < first.size() && ContinuesCharacter(first[length])) { --length; }
    return first.substr(0, length);
}

// Lists the words below the line, and the line anew below them.
void List(const std::vector<std::string>& words) {
    int column = 0;
    for (const std::string& word : words) { column = std::max(column, Columns(word) + 2); }
    const auto columns = static_cast<std::size_t>(std::max(TerminalWidth() / column, 1));
    GoBelowLine();
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool last = (i + 1) % columns == 0 || i + 1 == words.size();
        text += words[i];
        const auto blanks = static_cast<std::size_t>(column - Columns(words[i]));
        text += last ? "\r\n" : std::string(blanks, ' ');
    }
    Write(text);
    el_set(editor, EL_REFRESH);
}

unsigned char Complete(EditLine*, int) {
    const LineInfo* line = el_line(editor);
    const std::string before(line->buffer, line->cursor);
    const std::size_t typed = before.size() - (before.find_last_of(' ') + 1);
    const std::vector<std::string> words = completions_of(before);
    if (words.empty()) { return CC_REFRESH_BEEP; }
    std::string common = CommonStart(words);
    if (words.size() == 1 && !common.ends_with('/')) { common += ' '; }
    if (common.size() > typed) {
        return el_insertstr(editor, common.c_str() + typed) == 0 ? CC_REFRESH : CC_ERROR;
    }
    List(words);
    return CC_NORM;
}

char* Prompt(EditLine*) { return prompt; }

// --- history ---

// Empty where the user has no place for it.
std::filesystem::path HistoryFile() {
    const char* state_home = std::getenv("XDG_STATE_HOME");
    std::filesystem::path folder = state_home != nullptr ? state_home : "";
    if (!folder.is_absolute()) {
        const char* home = std::getenv("HOME");
        if (home == nullptr || home[0] != '/') { return {}; }
        folder = std::filesystem::path(home) / ".local" / "state";
    }
    return folder / "vesk" / "history";
}

// What cannot be kept is not kept.
void SaveHistory() {
    const std::filesystem::path file = HistoryFile();
    if (file.empty()) { return; }
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    HistEvent event;
    if (!error) { history(history_lines, &event, H_SAVE, file.c_str()); }
}

void OpenHistory() {
    history_lines = history_init();
    if (history_lines == nullptr) { return; }
    HistEvent event;
    history(history_lines, &event, H_SETSIZE, HISTORY_LINES);
    history(history_lines, &event, H_SETUNIQUE, 1);
    history(history_lines, &event, H_LOAD, HistoryFile().c_str());
    el_set(editor, EL_HIST, history, history_lines);
}

// --- the whole ---

bool TerminalIsOurs() {
    const char* kind = std::getenv("TERM");
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0 &&
           tcgetpgrp(STDIN_FILENO) == getpgrp() && kind != nullptr && *kind != '\0' &&
           std::strcmp(kind, "dumb") != 0;
}

// The terminal is what it was before.
void EndLineEditing() {
    if (editor == nullptr) { return; }
    if (state == Line::Shown) { GoBelowLine(); }
    el_set(editor, EL_UNBUFFERED, 0);
    if (history_lines != nullptr) {
        SaveHistory();
        history_end(history_lines);
    }
    el_end(editor);
    editor = nullptr;
    state = Line::None;
}

// What searches for keys by itself would keep the program waiting: control-R looks for an older
// line that begins like this one.
void BindKeys() {
    el_set(editor, EL_EDITOR, "emacs");
    // The wide form: of narrow names the library makes copies that it never frees.
    el_wset(editor, EL_ADDFN, L"vesk-complete", L"completes commands and file names", Complete);
    el_set(editor, EL_BIND, "^I", "vesk-complete", nullptr);
    el_set(editor, EL_BIND, "^R", "ed-search-prev-history", nullptr);
    el_set(editor, EL_BIND, "^S", "ed-search-next-history", nullptr);
    el_source(editor, nullptr);  // the user's own ~/.editrc
}

}  // namespace

void StartLineEditing(CompletionsOf completions) {
    if (!TerminalIsOurs()) { return; }
    std::setlocale(LC_CTYPE, "");
    editor = el_init("vesk", stdin, stdout, stderr);
    if (editor == nullptr) { return; }
    completions_of = completions;
    el_set(editor, EL_PROMPT, Prompt);
    el_set(editor, EL_GETCFN, ReadKey);
    BindKeys();
    OpenHistory();
    Catch(SIGWINCH, NoteSize);
    Catch(SIGCONT, NoteContinued);
    std::atexit(EndLineEditing);
}

bool LineEditingRuns() { return editor != nullptr; }

void OfferEditedLine() {
    if (editor == nullptr) { return; }
    SeeToSignals();
    if (state == Line::None) {
        el_set(editor, EL_UNBUFFERED, 1);  // begins a line and shows it
    } else if (state == Line::Hidden) {
        el_set(editor, EL_REFRESH);
    }
    state = Line::Shown;
}

void HideEditedLine() {
    if (editor == nullptr || state != Line::Shown) { return; }
    const int row = RowsOfLine().to_cursor;
    Write((row > 0 ? "\033[" + std::to_string(row) + "A" : std::string()) + "\r\033[J");
    state = Line::Hidden;
}

void RestoreEditedLine() {
    if (editor != nullptr && state == Line::Hidden) { OfferEditedLine(); }
}

int PollEditedLine(char* buffer, std::size_t size) {
    SeeToSignals();
    while (KeyWaits(0)) {
        OfferEditedLine();
        int length = 0;
        const char* line = el_gets(editor, &length);
        if (input_is_over || (line != nullptr && length == 1 && line[0] == CONTROL_D)) {
            EndLineEditing();
            return -1;
        }
        if (line == nullptr || length <= 0 || line[length - 1] != '\n') { continue; }
        HistEvent event;
        if (history_lines != nullptr && length > 1) {
            history(history_lines, &event, H_ENTER, line);
        }
        const std::size_t count = std::min(static_cast<std::size_t>(length), size);
        std::memcpy(buffer, line, count);
        buffer[count - 1] = '\n';
        el_set(editor, EL_UNBUFFERED, 0);  // the line is done
        state = Line::None;
        return static_cast<int>(count);
    }
    return 0;
}

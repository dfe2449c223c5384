// What the line editing offers for the word that is being typed in the console.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <vector>

#include "eval/weights.h"
#include "frontend/console.h"
#include "frontend/consolecommands.h"
#include "platform/lineedit.h"
#include "platform/words.h"

namespace {

using Words = std::vector<std::string>;

Words CommandNames() {
    Words names;
    for (const ConsoleWord& w : ConsoleWords()) { names.emplace_back(w.name); }
    return names;
}

Words TuningNames() {
    Words names;
    for (const Weight& w : AllWeights()) {
        if (FindTuningWord(TuningWord(w)) != nullptr) { names.emplace_back(TuningWord(w)); }
    }
    return names;
}

// Whether a name can be shown and typed as a word of a command: letters in UTF-8, no blank, nothing
// that steers the terminal, also none of the upper control characters.
bool IsPlainName(std::string_view name) {
    constexpr char32_t DELETE = 0x7F, AFTER_CONTROLS = 0xA0;
    while (!name.empty()) {
        const char32_t c = TakeLetter(&name);
        if (c <= U' ' || (c >= DELETE && c < AFTER_CONTROLS) || c == NO_LETTER) { return false; }
    }
    return true;
}

// The files and folders that the path begins, folders with their stroke.
Words FilesFrom(const std::string& path) {
    const std::string folder = path.substr(0, path.find_last_of('/') + 1);
    const std::string name = path.substr(folder.size());
    std::error_code error;
    std::filesystem::directory_iterator file(folder.empty() ? "." : folder, error);
    Words names;
    for (; !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
        const std::string found = file->path().filename().string();
        const bool hidden = found.starts_with('.') && !name.starts_with('.');
        if (hidden || !IsPlainName(found)) { continue; }
        std::error_code is_no_folder;
        const bool is_folder = std::filesystem::is_directory(file->path(), is_no_folder);
        names.push_back(folder + found + (is_folder ? "/" : ""));
    }
    return names;
}

// Every word that could stand after `words`, which is not empty.
Words WordsAfter(const Words& words, const std::string& begun) {
    const std::string& command = words.front();
    const auto row = std::ranges::find_if(ConsoleWords(),
                                          [&](const ConsoleWord& w) { return w.name == command; });
    if (row == ConsoleWords().end()) { return {}; }
    const bool first = words.size() == 1;
    if (first && std::string_view(row->arguments).starts_with("FILE")) { return FilesFrom(begun); }
    if (first && command == "help") { return CommandNames(); }
    if (first && command == "tune") { return TuningNames(); }
    if (first && command == "board") { return {"style"}; }
    if (words.size() == 2 && command == "board") { return {"ascii", "symbols"}; }
    return {};
}

}  // namespace

std::vector<std::string> ConsoleCompletions(const std::string& line) {
    Words words;
    std::size_t start = 0;
    for (std::size_t end; (end = line.find(' ', start)) != std::string::npos; start = end + 1) {
        words.push_back(line.substr(start, end - start));
    }
    const std::string begun = line.substr(start);
    Words candidates = words.empty() ? CommandNames() : WordsAfter(words, begun);
    std::erase_if(candidates, [&](const std::string& w) { return !w.starts_with(begun); });
    std::ranges::sort(candidates);
    return candidates;
}

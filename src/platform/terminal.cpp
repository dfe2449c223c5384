// What the terminal can show. The same on every system: where none of these variables is set it is
// taken to be a plain one.
#include "platform/terminal.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>

#include "platform/input.h"

namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The encoding stands in the first of these that is set.
std::string LocaleName() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (std::string value = Variable(name); !value.empty()) { return value; }
    }
    return "";
}

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

bool TerminalShowsSymbols() {
    std::string locale = LocaleName();
    std::ranges::transform(locale, locale.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::string kind = Variable("TERM");
    return OutputIsConsole() && !kind.empty() && kind != "dumb" && kind != "linux" &&
           (Contains(locale, "utf-8") || Contains(locale, "utf8"));
}

bool TerminalShowsColours() {
    return OutputIsConsole() && Variable("NO_COLOR").empty() &&
           (Contains(Variable("TERM"), "256color") || !Variable("COLORTERM").empty());
}

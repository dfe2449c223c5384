// What the user can look up: every option and every command has its entry.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "frontend/commandline.h"
#include "frontend/consolecommands.h"
#include "support/engine.h"

namespace {

std::string Page(const std::string& name) { return FileContent(DataFile("../../" + name)); }

void ExpectEntry(const std::string& page, const std::string& entry) {
    EXPECT_NE(page.find(entry), std::string::npos) << entry;
}

// Ends with the line feed of the entry's line.
std::string Entry(const char* macro, const std::string& name, const std::string& arguments) {
    return std::string(".It ") + macro + ' ' + name +
           (arguments.empty() ? "" : " Ar " + arguments) + '\n';
}

TEST(Manual, EveryOptionAndEveryCommandHasItsEntry) {
    std::string page = Page("share/man/vesk.6");
    for (std::size_t at; (at = page.find("\\&")) != std::string::npos;) { page.erase(at, 2); }
    const std::string readme = Page("README.md");
    for (const OptionHelp& o : OptionHelps()) {
        const bool dashed = o.name.starts_with('-');
        ExpectEntry(page,
                    dashed ? Entry("Fl", o.name.substr(1), o.value) : Entry("Cm", o.name, ""));
        ExpectEntry(readme, "| `" + o.name + (o.value.empty() ? "" : " " + o.value) + "` |");
    }
    for (const ConsoleWord& w : ConsoleWords()) {
        ExpectEntry(page, Entry("Ic", w.name, w.arguments));
    }
}

}  // namespace

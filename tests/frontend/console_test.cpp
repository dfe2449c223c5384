// The table of console commands; what they print is compared in whole sessions.
#include <gtest/gtest.h>

#include <string>

#include "frontend/consolecommands.h"
#include "support/engine.h"

namespace {

TEST(Console, EveryCommandIsDocumentedWithItsArguments) {
    const std::string page = FileContent(DataFile("../../docs/console.md"));
    for (const ConsoleWord& w : ConsoleWords()) {
        const std::string arguments = w.arguments;
        const std::string usage = w.name + (arguments.empty() ? "" : " " + arguments);
        EXPECT_NE(page.find("`" + usage + "`"), std::string::npos) << usage;
    }
}

}  // namespace

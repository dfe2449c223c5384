// Command lines: what they store; which mode they choose is compared in sessions.
#include "frontend/commandline.h"

#include <gtest/gtest.h>

#include <string>

#include "frontend/rows.h"

namespace {

TEST(CommandLine, ValuesAreStoredWithinTheirLimits) {
    ExpectRows("start", [](const std::string& text) {
        CommandWords words(text);
        StartOptions options;
        PBlock.options.log = 1;
        return ChangesOf([&] { ReadCommandLine(words.Count(), words.argv.data(), &options); });
    });
}

}  // namespace

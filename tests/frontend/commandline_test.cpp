// Command lines: what they store; which mode they choose is compared in sessions.
#include "frontend/commandline.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "frontend/rows.h"

namespace {

TEST(CommandLine, ValuesAreStoredWithinTheirLimits) {
    ExpectRows("start", [](const std::string& text) {
        std::istringstream in("vesk " + text);
        std::vector<std::string> words;
        std::vector<char*> argv;
        for (std::string word; in >> word;) { words.push_back(word); }
        for (std::string& word : words) { argv.push_back(word.data()); }
        StartOptions options;
        PBlock.options.log = 1;
        return ChangesOf(
            [&] { ReadCommandLine(static_cast<int>(argv.size()), argv.data(), &options); });
    });
}

}  // namespace

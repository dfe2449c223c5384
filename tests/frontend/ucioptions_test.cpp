// The options of the UCI protocol: what is announced holds at the start, and what is set stays
// within the limits announced.
#include "frontend/ucioptions.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "frontend/rows.h"
#include "support/session.h"

namespace {

TEST(UciOptions, StartWithWhatIsAnnounced) {
    ResetEngine();
    PBlock.Reset();
    PBlock.options.log = 0;  // as the answer to "uci" leaves it
    const std::regex form("option name (.+) type (?:spin|check) default (\\w+).*");
    for (const std::string& line : SplitLines(OutputOf(ShowUciOptions))) {
        std::smatch option;
        if (!std::regex_match(line, option, form)) { continue; }
        EXPECT_EQ(ChangesOf([&] { SetUciOption(option[1], option[2]); }), "") << line;
    }
}

TEST(UciOptions, AreSetWithinTheirLimits) {
    ExpectRows("option", [](const std::string& text) {
        const std::size_t blank = text.rfind(' ');
        return ChangesOf([&] { SetUciOption(text.substr(0, blank), text.substr(blank + 1)); });
    });
}

}  // namespace

// Console commands whose effect does not show in their answer; what they print is compared in whole
// sessions.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "frontend/console.h"
#include "frontend/rows.h"

namespace {

class ConsoleSearch : public EngineTest {
protected:
    static std::string Run(const std::string& line) {
        return OutputOf([&] { ConsoleCommand(line.c_str()); });
    }
};

TEST_F(ConsoleSearch, NumbersAreTakenWithinTheirLimits) {
    ExpectRows("console", [](const std::string& text) {
        PBlock.options.protocol = PROTOCOL_CONSOLE;
        return ChangesOf([&] { Type(text); });
    });
}

TEST_F(ConsoleSearch, ToolsLeaveTheWaitingRequestAlone) {
    PBlock.control.start_request = SEARCH_THINK;
    Run("perft 1");
    Run("ev");
    EXPECT_EQ(PBlock.control.search_state, SEARCH_IDLE) << "no search runs";
    EXPECT_EQ(PBlock.control.start_request, SEARCH_THINK) << "the request still waits";
}

TEST_F(ConsoleSearch, SwapListsEveryExchangeThatGains) {
    for (const auto& row : ReadTable("keys.tsv")) {
        SetGame(row[0]);
        if (WhyUnplayable(game_position) != nullptr) { continue; }
        std::string expected;
        std::istringstream values(row[10]);
        for (std::string value; values >> value;) {
            expected += "sq= " + value.substr(0, 2) + ", swap= " + value.substr(3) + "\n";
        }
        EXPECT_EQ(Run("swap"), expected) << row[0];
    }
}

}  // namespace

// Console commands whose effect does not show in their answer; what they print is compared in whole
// sessions.
#include <gtest/gtest.h>

#include <string>

#include "frontend/rows.h"

namespace {

TEST(ConsoleSearch, NumbersAreTakenWithinTheirLimits) {
    ExpectRows("console", [](const std::string& text) {
        PBlock.options.protocol = PROTOCOL_CONSOLE;
        return ChangesOf([&] { Type(text); });
    });
}

TEST(ConsoleSearch, ToolsLeaveTheWaitingRequestAlone) {
    ResetEngine();
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    PBlock.control.start_request = SEARCH_THINK;
    OutputOf([] { Type("perft 1|ev"); });
    EXPECT_EQ(PBlock.control.search_state, SEARCH_IDLE) << "no search runs";
    EXPECT_EQ(PBlock.control.start_request, SEARCH_THINK) << "the request still waits";
}

}  // namespace

// UCI lines: what they set and ask for; what is answered is compared in sessions.
#include <gtest/gtest.h>

#include <string>

#include "frontend/rows.h"

namespace {

TEST(Uci, LinesSetTheClockTheBoundsAndTheRequests) {
    ExpectRows("uci", [](const std::string& text) { return ChangesOf([&] { Type(text); }); });
}

}  // namespace

// Input without blocking.
#include "platform/input.h"

#include <cstring>
#include <string>

#include "platform/pipedinput.h"

namespace {

TEST_F(PipedInput, TellsNothingWaitingFromTheEndAndLosesNoByte) {
    char buffer[16] = {};
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 0);
    Write(std::string("go\0", 3));
    EXPECT_EQ(PollInput(buffer, 2), 2);
    EXPECT_EQ(PollInput(buffer + 2, 2), 1);
    EXPECT_EQ(std::memcmp(buffer, "go\0", 3), 0);
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 0);
    Write("last");
    Close();  // what was written before the hang-up still counts
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 4);
    EXPECT_EQ(PollInput(buffer, sizeof buffer), -1);
    close(STDIN_FILENO);
    EXPECT_EQ(PollInput(buffer, sizeof buffer), -1);
}

}  // namespace

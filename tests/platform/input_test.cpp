// Input without blocking.
#include "platform/input.h"

#include "platform/pipedinput.h"

namespace {

TEST_F(PipedInput, TellsNothingWaitingFromTheEndAndLosesNoByte) {
    char buffer[16] = {};
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 0);
    Write({"go\0", 3});
    EXPECT_EQ(PollInput(buffer, 2), 2);
    EXPECT_EQ(PollInput(buffer + 2, 2), 1);
    EXPECT_EQ(std::string_view(buffer, 4), std::string_view("go\0\0", 4));
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 0);
    Write("last");
    Close();  // what was written before the hang-up still counts
    EXPECT_EQ(PollInput(buffer, sizeof buffer), 4);
    EXPECT_EQ(PollInput(buffer, sizeof buffer), -1);
    close(STDIN_FILENO);
    EXPECT_EQ(PollInput(buffer, sizeof buffer), -1);
}

}  // namespace

// The command loop: the clock of a self-play game.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/engine.h"
#include "support/session.h"

namespace {

// "level 40 60 2": 60 seconds for either side, then 62 less the time of the move, and so on.
TEST(CommandLoop, SelfPlayChargesTheMoverAndAddsTheIncrement) {
    const ScratchFolder folder;
    Session vesk({"-c", "-nolog"});
    vesk.Send("level 40 60 2\nsd 9\nself");
    double clock[2] = {60.0, 60.0};
    for (int ply = 0; ply < 5; ++ply) {
        double shown = 0.0, seconds = 0.0;
        const std::string start = vesk.Expect("Ply= " + std::to_string(ply) + ", ");
        ASSERT_EQ(std::sscanf(start.c_str(), "Ply= %*d, Clock= %lf", &shown), 1) << start;
        EXPECT_NEAR(shown, clock[ply % 2], 0.011) << "ply " << ply;
        const std::string end = vesk.Expect("move= ");
        ASSERT_EQ(std::sscanf(end.c_str(), "move= %*s time= %lf", &seconds), 1) << end;
        clock[ply % 2] += 2.0 - seconds;
    }
    vesk.Send("quit");
    EXPECT_EQ(vesk.Wait(), 0);
}

}  // namespace

// Players that do not answer; whole games are played in selfplay_test.
#include "arena/enginelink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

#ifndef _WIN32
// A player that the shell plays.
TEST(EngineLink, TellsAPlayerThatHangsFromOneThatHasEnded) {
    const auto open = [](EngineLink* link, const std::string& script) {
        std::string why;
        return link->Open({"/bin/sh", "-c", "echo uciok; echo readyok; " + script}, &why);
    };
    SearchAnswer answer;
    EngineLink talking([] { return false; });
    ASSERT_TRUE(
        open(&talking, "echo info depth 3 score mate -1; echo bestmove e2e4; exec sleep 60"));
    EXPECT_TRUE(talking.Ask("position startpos", "go", 60.0, &answer));
    EXPECT_EQ(answer.move, "e2e4");
    EXPECT_EQ(answer.score, -9997);
    EXPECT_FALSE(talking.Ask("position startpos", "go", 0.01, &answer));
    EXPECT_TRUE(talking.Hangs());
    EngineLink ended([] { return false; });
    ASSERT_TRUE(open(&ended, "read uci; read new; read ready"));
    EXPECT_FALSE(ended.Ask("position startpos", "go", 60.0, &answer));
    EXPECT_FALSE(ended.Hangs());
    EXPECT_FALSE(ended.NewGame()) << "and nobody is killed by writing to it";
    // While nobody listens, as in a program that is stopped, no time runs out.
    EngineLink stopped([] {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        return false;
    });
    ASSERT_TRUE(
        open(&stopped, "sleep 0.3; echo info depth 3 score cp 7; echo bestmove e2e4; read end"));
    EXPECT_TRUE(stopped.Ask("position startpos", "go", 0.01, &answer)) << "it has answered";
    EXPECT_EQ(answer.score, 7);
}
#endif

}  // namespace

// What ends a game by the rules; whole games are played in selfplay_test.
#include "arena/game.h"

#include <gtest/gtest.h>

#include "support/engine.h"

namespace {

TEST(Game, HasNoMateLeftWithBareKingsOneMinorPieceOrBishopsOfOneColour) {
    const std::pair<const char*, bool> cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - -", true},    {"4k3/8/8/8/8/8/8/4KN2 w - -", true},
        {"4kb2/8/8/8/8/8/8/4K3 w - -", true},   {"4kb2/8/8/8/8/8/8/2B1K3 w - -", true},
        {"4kb2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/8/8/8/8/8/8/3NKN2 w - -", false},
        {"4kn2/8/8/8/8/8/8/4KB2 w - -", false}, {"4k3/4p3/8/8/8/8/8/4K3 w - -", false},
        {"4k3/8/8/8/8/8/8/4K2R w - -", false},  {"4k3/8/8/8/8/8/8/4K2q w - -", false}};
    for (const auto& [fen, dead] : cases) {
        EXPECT_EQ(NoMateIsPossible(SetGame(fen)), dead) << fen;
    }
}

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
}
#endif

}  // namespace

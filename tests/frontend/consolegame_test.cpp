// Console commands that change the game, by the game that they leave; what they print is compared
// in sessions.
#include <gtest/gtest.h>

#include "frontend/rows.h"

namespace {

TEST(ConsoleGame, CommandsLeaveTheGameAndItsRecordRight) { ExpectRows("game", GameAfter); }

}  // namespace

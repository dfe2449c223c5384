// Games from files; what else is read and written is compared in sessions.
#include <gtest/gtest.h>

#include <filesystem>

#include "frontend/rows.h"

namespace {

TEST(ConsoleFiles, LoadTakesTheGameThatIsAskedForOrNone) {
    const ScratchFolder folder;
    std::filesystem::copy(DataFile("engine-games.pgn"), "games.pgn");
    ExpectRows("file", GameAfter);
}

}  // namespace

// The self-play match: what it refuses, how it ends, and that its games are games.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>

#include "frontend/frontend.h"
#include "frontend/match_games.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

const std::string READ = "loading parameters from test1.rc\n\n";

std::string RunMatch() {
    testing::internal::CaptureStdout();
    Tune_3();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(Match, RefusesToStartWithoutItsFiles) {
    const ScratchFolder folder;
    ResetEngine();
    std::snprintf(PBlock.match_file, FILE_NAME_SIZE, "match.pgn");
    EXPECT_EQ(RunMatch(), "Can't open file test1.rc\n\n");
    EXPECT_FALSE(std::filesystem::exists("match.pgn"));
    std::ofstream("test1.rc") << "";
    std::snprintf(PBlock.match_file, FILE_NAME_SIZE, "no/such/folder/match.pgn");
    EXPECT_EQ(RunMatch(), READ + "can't open no/such/folder/match.pgn\n");
}

TEST(Match, QuitLeavesTheUnfinishedGameUnwritten) {
    const ScratchFolder folder;
    ResetEngine();
    std::ofstream("test1.rc") << "";
    std::snprintf(PBlock.match_file, FILE_NAME_SIZE, "match.pgn");
    SetToolInput(true);
    FeedInput("new\nquit\n", 9);
    EXPECT_EQ(RunMatch(), READ + "Starting match...\n");
    EXPECT_EQ(std::filesystem::file_size("match.pgn"), 0u);
    EXPECT_TRUE(game_position->hist_count == 15 || game_position->hist_count == 31);
    SetToolInput(false);
    ResetEngine();
}

// The real program, its input closed from the start: games appear in the file one by one, and each
// can be replayed.
TEST(Match, PlaysLegalGamesThatCanBeReadAtAnyTime) {
    const ScratchFolder folder;
    std::ofstream("test1.rc") << "pawn_value_op 200\n";
    Session match({"-match", "match.pgn"});
    match.CloseInput();
    std::vector<MatchGame> games;
    for (int i = 0; i < 1200 && games.size() < 2; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        games = ReadMatchGames("match.pgn");
    }
    match.Signal(2);
    EXPECT_EQ(match.Wait(), 0);
    EXPECT_EQ(match.RestOfOutput(), READ + "Starting match...\n");
    games = ReadMatchGames("match.pgn");
    ASSERT_GE(games.size(), 2u);
    ResetEngine();
    for (const MatchGame& game : games) EXPECT_EQ(FaultOfGame(game), "");

    std::ifstream in("match.pgn");
    const std::string text(std::istreambuf_iterator<char>(in), {});
    const std::regex form(
        "(\\[Event selfplay\\]\n\\[Game \\d+\\]\n\\[White \"Player[12]\"\\]\n\\[Black "
        "\"Player[12]\"\\]\n"
        "\\[Result \"(1-0|0-1|1/2-1/2)\"\\]\n)");
    EXPECT_EQ(std::distance(std::sregex_iterator(text.begin(), text.end(), form), {}),
              static_cast<std::ptrdiff_t>(games.size()));
    const std::regex plies("\n([a-h][1-8]){2} \\{-?\\d+\\.\\d\\d/\\d+\\}   ([a-h][1-8]){2} \\{");
    EXPECT_TRUE(std::regex_search(text, plies));
    EXPECT_EQ(text.substr(text.size() - 2), "\n\n");
}

}  // namespace

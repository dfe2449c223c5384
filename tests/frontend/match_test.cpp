// The self-play match: its games are games. How it starts and ends is compared in sessions.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <string>
#include <thread>

#include "frontend/match.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

int GamesIn(const std::string& text) {
    int games = 0;
    for (std::size_t at = 0; (at = text.find("[Event ", at)) != std::string::npos; ++at) {
        ++games;
    }
    return games;
}

// The real program, its input closed from the start: games appear in the file one by one, and the
// checker can replay each. Player 1 plays badly.
TEST(Match, PlaysLegalGamesThatCanBeReadAtAnyTime) {
    const ScratchFolder folder;
    std::ofstream("test1.rc")
        << "queen_value_op 1\nqueen_value_en 1\nrook_value_op 1\nrook_value_en 1\n";
    Session match({"-match", "match.pgn"});
    match.CloseInput();
    for (int i = 0; i < 1200 && GamesIn(FileContent("match.pgn")) < 2; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    match.Signal(2);
    EXPECT_EQ(match.Wait(), 0);
    EXPECT_EQ(match.RestOfOutput(), "loading parameters from test1.rc\n\nStarting match...\n");
    const std::string text = FileContent("match.pgn");
    const std::regex form(R"x(\[Event selfplay\]
\[Game \d+\]
\[White "Player[12]"\]
\[Black "Player[12]"\]
\[Result "(1-0|0-1|1/2-1/2)"\]
([a-h][1-8]){2} \{-?\d+\.\d\d/\d+\}   ([a-h][1-8]){2} \{-?\d+\.\d\d/\d+\}
)x");
    const int games = GamesIn(text);
    EXPECT_GE(games, 2);
    EXPECT_EQ(std::distance(std::sregex_iterator(text.begin(), text.end(), form), {}), games);
    EXPECT_EQ(text.substr(text.size() - 2), "\n\n");

    Session checker({"match.pgn"}, VESK_CHECKMATCH);
    EXPECT_EQ(checker.Wait(), 0);
    const std::string verdict = checker.RestOfOutput();
    EXPECT_NE(verdict.find("player 1 won 0, player 2 won " + std::to_string(games)),
              std::string::npos)
        << verdict;
}

TEST(MatchScore, CountsGamesForPlayersAndMarksWhatIsBeyondTheMargin) {
    MatchScore score;
    score.Count(GameOutcome::WhiteWins, 0);
    score.Count(GameOutcome::WhiteWins, 1);
    score.Count(GameOutcome::BlackWins, 1);
    score.Count(GameOutcome::BlackWins, 1);
    score.Count(GameOutcome::Drawn, 1);
    EXPECT_EQ(score.Line(), "   5 games,    3   1   1  0.700 (+/- 0.968)  ");
    const std::pair<MatchScore, const char*> cases[] = {
        {{200, {200, 0}, 0}, " 200 games,  200   0   0  1.000 (+/- 0.108)  "},
        {{201, {201, 0}, 0}, " 201 games,  201   0   0  1.000 (+/- 0.108) *"},
        {{201, {0, 150}, 51}, " 201 games,    0 150  51  0.127 (+/- 0.108) *"},
        {{201, {121, 80}, 0}, " 201 games,  121  80   0  0.602 (+/- 0.108)  "},
    };
    for (const auto& [standing, line] : cases) { EXPECT_EQ(standing.Line(), line); }
}

}  // namespace

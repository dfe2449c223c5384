// The self-play match: its games are games. How it starts and ends is compared in sessions.
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "frontend/match.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

// The real program, its input closed from the start: games appear in the file one by one, and the
// checker can replay each. Player 1 plays badly.
TEST(Match, PlaysLegalGamesThatCanBeReadAtAnyTime) {
    const ScratchFolder folder;
    std::ofstream("test1.rc")
        << "queen_value_op 1\nqueen_value_en 1\nrook_value_op 1\nrook_value_en 1\n";
    Session match({"-match", "match.pgn"});
    match.CloseInput();
    match.Expect("Starting match...");
    std::string text;
    for (int i = 0; i < 1200 && text.find("[Game 2]") == std::string::npos; ++i) {
        match.IsSilentFor(0.1);
        text = FileContent("match.pgn");
    }
    match.Signal(SIGINT);
    EXPECT_EQ(match.Wait(), 0);
    EXPECT_EQ(match.Output(), "loading parameters from test1.rc\n\nStarting match...\n");
    const std::regex form(R"x(\[Event selfplay\]
\[Game \d+\]
\[White "Player[12]"\]
\[Black "Player[12]"\]
\[Result "(1-0|0-1|1/2-1/2)"\]
([a-h][1-8]){2} \{-?\d+\.\d\d/\d+\}   ([a-h][1-8]){2} \{-?\d+\.\d\d/\d+\}
)x");
    text = FileContent("match.pgn");
    const auto games = std::distance(std::sregex_iterator(text.begin(), text.end(), form), {});
    EXPECT_TRUE(text.ends_with("\n\n"));
    Session checker({"match.pgn"}, VESK_CHECKMATCH);
    EXPECT_EQ(checker.Wait(), 0);
    const std::string verdict = "player 1 won 0, player 2 won " + std::to_string(games);
    EXPECT_THAT(checker.Output(), testing::HasSubstr(verdict));
}

// A second engine loads the game by its notation and saves it: the same moves.
TEST(Match, WritesGamesOfTheStandardThatComeBackMoveByMove) {
    const ScratchFolder folder;
    std::ofstream("test1.rc") << "queen_value_op 1\n";
    Session match({"-match", "match.pgn", "-d", "1", "-standard", "-nolog"});
    match.Expect("   9 games");
    match.Send("quit");
    EXPECT_EQ(match.Wait(), 0);
    const std::string text = FileContent("match.pgn");
    const std::regex form(R"x(\[Event "Self-play match"\]
\[Site "\?"\]
\[Date "\d{4}\.\d\d\.\d\d"\]
\[Round "9"\]
\[White "Player([12])"\]
\[Black "Player[12]"\]
\[Result "(1-0|0-1|1/2-1/2)"\]
\[Termination "(adjudication|normal)"\]

((?:[^[][^\n]{0,78}\n)+)
)x");
    std::smatch game;
    ASSERT_TRUE(std::regex_search(text, game, form)) << text;
    const std::regex comment(R"x(\{[-+](\d+\.\d\d|M\d+)/1 \d+\.\d{3}s\})x"), blanks(R"x(\s+)x");
    const std::regex black_number(R"x(\d+\.\.\.)x");  // after a comment
    std::string moves = std::regex_replace(game.str(4), comment, "");
    EXPECT_TRUE(std::regex_search(moves, black_number));
    moves = std::regex_replace(std::regex_replace(moves, black_number, ""), blanks, " ");
    EXPECT_THAT(moves, testing::Not(testing::HasSubstr("{"))) << "a comment of another form";
    EXPECT_TRUE(moves.ends_with(" " + game.str(2) + " "));
    RunVesk({"-c", "-standard", "-nolog"}, "load match.pgn 9\nsave\n");
    const std::string saved = FileContent("tmp.pgn");
    const std::string saved_moves =
        std::regex_replace(saved.substr(saved.find("1. ")), blanks, " ");
    EXPECT_EQ(saved_moves.substr(0, saved_moves.rfind(' ', saved_moves.size() - 2)),
              moves.substr(0, moves.rfind(' ', moves.size() - 2)));
}

TEST(MatchScore, CountsGamesForPlayersAndMarksWhatIsBeyondTheMargin) {
    MatchScore score;
    score.Count(GameOutcome::WhiteWins, 0);
    score.Count(GameOutcome::WhiteWins, 1);
    score.Count(GameOutcome::BlackWins, 1);
    score.Count(GameOutcome::Drawn, 1);
    EXPECT_EQ(score.Line(), "   4 games,    2   1   1  0.625 (+/- 1.122)  ");
    const std::pair<MatchScore, const char*> cases[] = {
        {{200, {200, 0}, 0}, " 200 games,  200   0   0  1.000 (+/- 0.108)  "},
        {{201, {201, 0}, 0}, " 201 games,  201   0   0  1.000 (+/- 0.108) *"},
        {{201, {0, 150}, 51}, " 201 games,    0 150  51  0.127 (+/- 0.108) *"},
        {{201, {121, 80}, 0}, " 201 games,  121  80   0  0.602 (+/- 0.108)  "},
    };
    for (const auto& [standing, line] : cases) { EXPECT_EQ(standing.Line(), line); }
}

}  // namespace

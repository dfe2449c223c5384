// The self-play match between two parameter sets. Front-end thread only.
#pragma once

#include <string>

// Plays the games of the match, prints the score after every ten and writes the games to
// PBlock.tool.match_file, until the user quits or all are played. When the parameters of player 1
// or the file cannot be opened, or the file holds something else than games, it says so and has
// failed. Requires StartUp and idle search threads.
void Tune_3();

enum class GameOutcome { Undecided, WhiteWins, BlackWins, Drawn };

// The standing of a match. Players are numbered from 0.
struct MatchScore {
    int games = 0;
    int wins[2] = {0, 0};
    int draws = 0;

    // Adds a game that has ended. Requires an outcome other than Undecided.
    void Count(GameOutcome outcome, int white_player);
    // Games, wins of either player, draws, the share of the points of player 0 and its error
    // margin, and "*" when the share is beyond it. Requires at least one game.
    std::string Line() const;
};

// Self-play at volume: games between two parameter sets, many at once, until their number is
// reached or a test of two hypotheses is decided. Front-end thread only.
#pragma once

#include <optional>
#include <string>

#include "arena/elo.h"
#include "arena/opening.h"
#include "platform/types.h"

struct SelfPlaySettings {
    std::string games_file;     // the games, in the standard's form; what it holds is gone on from
    std::string parameters[2];  // files of players 1 and 2; empty: the built-in weights
    int games = 1000;           // even: each opening is played with the colours reversed
    int at_once = 0;            // games played at the same time, 0 = one for each processor
    // What ends a search: the first of these that is not 0.
    double seconds = 0.0;
    int depth = 0;
    u64 nodes = 8000;
    int hash_mb = 16;
    int decided_score = 0;  // centipawns at which games are adjudicated, 0 = never
    OpeningSettings openings;
    std::optional<Hypotheses> test;
};

// Plays, writes each game to its file as soon as those before it are there, tells the standing in
// the status line and every so many games, and at the end. `look` is called again and again; when
// it sets PBlock.control.quit the games that are not over are forgotten. False when it cannot be
// done, which has been said. Requires StartUp and idle search threads.
[[nodiscard]] bool RunSelfPlay(const SelfPlaySettings& settings, void (*look)());

// The standing in one line: games, wins, draws, losses, score, Elo, and the test where there is
// one.
std::string StandingLine(const Tally& tally, const std::optional<Hypotheses>& test);

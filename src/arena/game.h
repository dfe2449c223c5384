// One game of self-play, by the rules. Any thread, with a record of its own.
#pragma once

#include <string>
#include <vector>

#include "arena/elo.h"
#include "arena/enginelink.h"
#include "arena/opening.h"
#include "eval/threadblock.h"

// How games are played.
struct GameRules {
    std::string go;          // the line that asks for a move
    double answer_seconds =  // how long the answer may take
        PATIENCE_SECONDS;
    int decided_score =
        0;  // centipawns: beyond it for some moves, by both players, a game is over; 0 = never
};

struct GamePly {
    Move move;
    SearchAnswer answer;  // of depth 0 for a move of the opening
};

struct PlayedGame {
    std::string start;  // four fields of a FEN
    std::vector<GamePly> plies;
    int white_half_points = 0;           // 0..2
    const char* termination = "normal";  // "adjudication" when no rule ended it
};

enum class GameEnd { Finished, NoAnswer, IllegalMove };

// Plays a game from its opening. players[WHITE] and players[BLACK] are ready; `block` is nobody
// else's. NoAnswer when a player has ended, hangs or was given up; after an illegal move `game`
// ends before it.
GameEnd PlayGame(const Opening& opening, EngineLink* const players[2], const GameRules& rules,
                 ThreadBlock* block, PlayedGame* game);

// What the tags of a game say beside what the game itself tells.
struct GameNames {
    std::string event;
    std::string date;
    std::string players[2];  // by colour
    int round;               // from 1
};
// The game in the standard's form. Uses `block` for its positions.
std::string TextOfGame(const PlayedGame& game, const GameNames& names, ThreadBlock* block);

// "1-0" and the like. Requires 0..2.
const char* ResultText(int white_half_points);

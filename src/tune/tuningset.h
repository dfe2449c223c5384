// Labelled positions that stand in memory for the tuner of all weights, about 500 bytes each. Needs
// the square tables and keys. Read by any thread, changed by the one who loads.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/position.h"

struct ThreadBlock;

struct TuningPosition {
    Position position;         // as SetPosition leaves it; its links are those of whoever set it up
    double result;             // expected, 0..1, for the side to move
    std::optional<int> score;  // of the search, centipawns, likewise
};

// The positions of a game share its result, so they are in the same part.
struct TuningSet {
    std::vector<TuningPosition> training;
    std::vector<TuningPosition> held_out;  // those of a tenth of the games: measured only
    double results = 0;                    // of games, that the training positions come from
    std::size_t left_out = 0;              // in check, or no position that can be played
};

// Reads the positions of an EPD file, with their labels "tune", "ce" and "id", into an empty set.
// Which part a position belongs to depends on its game's name, or without one on the position.
// False when the file cannot be read, or the end of the program is wanted. Sets *scratch to one
// position after the other. Requires a scratch position with its undo records.
[[nodiscard]] bool LoadTuningSet(const std::string& path, Position* scratch, TuningSet* set);

// Static evaluation of a position of the set in centipawns for the side to move, by the derived
// tables as they are. Called by the owner of the block.
int StaticScore(ThreadBlock* tb, const Position& position);

// How the games of self-play begin. Each pair of games has one opening, which depends on the
// settings and the number of the pair alone. Front-end thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "board/position.h"
#include "platform/types.h"

struct OpeningSettings {
    std::string
        epd_file;        // positions to begin with, one after the other; empty: the start position
    int book_plies = 0;  // moves of the opening book, as far as it goes, 0..60
    std::optional<int> random_plies;  // then moves drawn by lot, 0..60
    u32 seed = 1;

    // Where nothing else makes games differ, lots do.
    int RandomPlies() const {
        constexpr int USUAL_PLIES = 8;
        return random_plies.value_or(epd_file.empty() && book_plies == 0 ? USUAL_PLIES : 0);
    }
};

struct Opening {
    std::string start;  // four fields of a FEN
    std::vector<Move> moves;
};

// Makes the openings of the first `count` pairs. Empty, with *why, when the file of positions
// cannot be used. Leaves the game position anywhere. Requires StartUp and idle search threads.
std::vector<Opening> MakeOpenings(const OpeningSettings& settings, std::size_t count,
                                  std::string* why);

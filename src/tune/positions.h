// The labelled positions of a file, kept in memory for the passes of the tuner as they are set up:
// about 500 bytes each. Needs the square tables and keys. Read by any thread, changed by the one
// who loads.
#pragma once

#include <array>
#include <deque>
#include <vector>

#include "board/position.h"

struct LabelledPosition {
    Position position;  // as SetPosition leaves it; its links are those of whoever set it up
    double result;      // expected, 0..1, for the side to move
};

// Invariant: each playable position is in exactly one of the lists of indices.
struct PositionSet {
    std::deque<LabelledPosition> positions;  // never moved while it grows
    // Indices of positions. Quiet ones by the side to move: a pass scores the sides one after the
    // other, since the draw scores, which all threads read, are those of the root's side.
    std::array<std::vector<u32>, 2> quiet;
    std::vector<u32> in_check;
};

// Reads every position of an EPD file into an empty set. False when the file cannot be read. Sets
// *scratch to one position after the other. Requires a scratch position with its undo records.
[[nodiscard]] bool LoadPositions(const char* path, Position* scratch, PositionSet* set);

// Sets *pos to a position of the set, as SetPosition would from its line. Requires 0 <= index <
// set.positions.size() and a *pos with its links.
void SetUpPosition(const PositionSet& set, u32 index, Position* pos);

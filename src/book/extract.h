// Labelled positions out of games, for tuning. Front-end thread only, while no search runs.
#pragma once

#include <string>

inline constexpr const char* POSITIONS_FILE = "positions.epd";  // where they go by default

// Writes the quiet positions of the games of `games`, each once, to `target`, one a line: four
// position fields, "ce" with the score of the comment where there is one, "tune" with the result,
// 1.0, 0.5 or 0.0, both those of the side to move, and "id" with the number of the game. Left out
// are what the book or the first FIRST_EXTRACTED_PLY plies brought, positions in check, those in
// which the quiescence search finds more than the static evaluation, and games without a result. A
// game with a move that cannot be read is told and left out. Shows what it has done. When a file
// cannot be read or written that is said, the target stays as it was, and the tool has failed.
// `look` is called after each game; when it sets PBlock.control.quit the rest of the games is left
// out. Leaves the game position anywhere and the options as they were.
void ExtractPositions(const std::string& games, const std::string& target,
                      void (*look)() = nullptr);

inline constexpr int FIRST_EXTRACTED_PLY = 10;  // of the game, counted from 0

// Enumeration of legal moves through the search's staged move picker: the mate test and the node
// counter. Each thread works on its own position.
#pragma once

#include "eval/threadblock.h"

inline constexpr int MAX_PERFT_DEPTH = 20;  // plies, of what the user may ask for

// What the mate test finds.
inline constexpr int NO_MATE = 0;  // a legal move exists
inline constexpr int CHECKMATE = 1;
inline constexpr int STALEMATE = 2;

// NO_MATE, CHECKMATE or STALEMATE for the side to move, which is in check or not, as said. A
// position whose list does not fit into the move buffer counts as without moves. Uses up the
// picker's state of the current ply, whose hash move is tried like any other.
int IsMate(ThreadBlock* tb, int in_check);
// Adds the number of legal move sequences of length depth (0..20) to tb->nodes; depth 0 counts one
// node, the position itself. Returns false when moves were left uncounted: a list did not fit into
// the thread's move buffer, or the user wants the program to end. Leaves the position as it was.
[[nodiscard]] bool Perft(ThreadBlock* tb, int depth);

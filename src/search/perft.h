// Enumeration of legal moves through the search's staged move picker: the mate test and the node
// counter. Each thread works on its own position.
#pragma once

#include "eval/threadblock.h"

// 0 a legal move exists, 1 checkmate, 2 stalemate. Uses up the picker's state of the current ply.
int IsMate(ThreadBlock* tb, int in_check);
// Adds the number of legal move sequences of length depth (1..20) to tb->nodes. Depth 0 counts one
// node, the position itself. Returns 1, or 0 when moves were left uncounted: a list did not fit
// into the thread's move buffer, or the user wants the program to end.
int Perft(ThreadBlock* tb, int depth);

// Draws by rule, which end a line without a search: repetition and fifty moves, as the search, the
// lines read back from the table and the self-play match see them. A thread asks for its own
// position.
#pragma once

#include "eval/threadblock.h"
#include "frontend/pblock.h"

// True when the position has stood on the board, same side to move, often enough: twice before near
// the root, where most of the moves between are those of the game; once before further on, where
// the side that came back could do so again.
bool IsRepetitionDraw(const Position* pos);
// The counter has run out: the next ply beyond a hundred draws, or the hundredth itself where the
// conventions say so. Any thread.
inline bool FiftyMovesAreOver(const Position* pos) {
    return pos->fifty > FIFTY_MOVE_PLIES ||
           (pos->fifty == FIFTY_MOVE_PLIES && PBlock.options.conventions.fen_counters);
}
// True for a position of the search path whose fifty-move counter has run out while the side to
// move still has a legal move: mates and stalemates are the node's own business. Never at the root,
// and at its replies only where the hundredth ply draws. A move list without room counts as one
// with a legal move. Requires an empty hash move of the current ply; uses up its picker.
bool IsFiftyMoveDraw(ThreadBlock* tb, int in_check);
// Either of them.
inline bool IsDrawnByRule(ThreadBlock* tb, int in_check) {
    return tb->pos.fifty >= SHORTEST_CYCLE &&
           (IsFiftyMoveDraw(tb, in_check) || IsRepetitionDraw(&tb->pos));
}

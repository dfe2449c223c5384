// The words that everything above speaks in: moves, bitboards, colours, scores. A type header: it
// includes no other header of the engine but the integer names.
#pragma once

#include "platform/types.h"

using Move = u16;      // see moves.h
using Bitboard = u64;  // bit n = square n, a1 = 0, h8 = 63

struct Position;

// How a move's text tells a promotion.
enum class MoveStyle : u8 {
    Plain,  // "e7e8=Q"
    Uci,    // "e7e8q"
};

// Colours.
inline constexpr int WHITE = 0;
inline constexpr int BLACK = 1;

inline constexpr int NO_SQUARE = 64;
inline constexpr Move NO_MOVE = 0;

inline constexpr int PV_SIZE = 70;       // moves of a principal variation, indexed by ply
inline constexpr int NO_SCORE = -10000;  // a score that does not exist (side to move in check)

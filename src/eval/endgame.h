// Endgame knowledge: endings with a rule of their own, and the factor that scales endings which are
// hard to win. Needs the square tables and InitKPK. Pure functions of the evaluation's record; any
// thread may call them on its own.
#pragma once

#include "eval/evalhelpers.h"

// True, with *score in centipawns for the side to move, when a special ending answers the position;
// pd->trivial_draw is set for dead material. Needs pos, pd and king_square of *info. Compiled for
// both kinds of report.
template <typename Report>
[[nodiscard]] bool EvalSpecialEnding(EvalInfo* info, int* score, Report report);

// The mop-up score of a side with a rook or more against a lone king, centipawns for `side`.
// Requires that one side has nothing but its king. Needs pos and king_square of *info.
int EvalMopup(const EvalInfo* info, int side);

// What a blended score (centipawns for the side to move, tempo included) is multiplied by, 0..1.
// Needs every field of *info. (drawishness.cpp)
double DrawishnessFactor(const EvalInfo* info, int score);

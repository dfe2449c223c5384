// The ending of king and pawn against king, decided by a bitbase that is computed at start-up.
// After InitKPK everything is read-only and any thread may ask.
#pragma once

#include "board/position.h"

// Values of the bitbase; positions that cannot be are draws.
inline constexpr u8 KPK_DRAW = 1;
inline constexpr u8 KPK_WIN = 2;
inline constexpr int KPK_PAWNS = 32;  // pawn squares of the files a to d: file + 4 * rank

// [0 the pawn's side to move, 1 the lone king's][pawn][king of the pawn's side][lone king], squares
// as White sees them when the pawn is White's. With a pawn on ranks 2 to 7 an entry is KPK_WIN or
// KPK_DRAW. Written by InitKPK only.
extern u8 kpk_db[2][KPK_PAWNS][SQUARE_COUNT][SQUARE_COUNT];

// Fills the bitbase. Main thread, once, at start-up.
void InitKPK();

// True when the pawn of `owner` on square `pawn` wins with both kings alone on the board, whatever
// other men there are; `side` is to move. Requires a pawn on ranks 2 to 7.
[[nodiscard]] bool PawnWins(const Position* pos, int owner, int pawn, int side);

// KPK_SCORE centipawns when the pawn wins and belongs to `side`, which is to move, less than 0 by
// as much when it wins against `side`, else 0. Requires exactly one pawn and no pieces.
inline constexpr int KPK_SCORE = 800;
int EvalKPK(const Position* pos, int side);

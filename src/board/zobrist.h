// Zobrist keys and the material tables. InitZobrist fills the keys once per run, before the first
// position is set; afterwards everything is read-only and any thread may read.
#pragma once

#include "board/position.h"

// Key of a piece code on a square. Codes of no piece have keys too, which nobody reads.
extern u64 rtable[16][64];
// Key by en passant square (0..64) and, separately, by castling rights (0..15).
extern u64 rtable2[66];
inline constexpr u64 stmh[2] = {0, ~u64{0}};  // side to move

// What a piece adds to its side's material signature, one hexadecimal digit per type, and to its
// non-pawn material in units.
inline constexpr u32 msig[8] = {0, 0x1, 0x10, 0x100, 0x1000, 0x10000, 0, 0};
inline constexpr i16 npv[8] = {0, 0, 3, 3, 5, 10, 0, 0};

// Fills rtable and rtable2; the same keys in every run. Returns the number of keys that stayed too
// close to another (0 with these constants). Main thread, before any position is set.
int InitZobrist();

// Key of the transposition table and the evaluation cache: placement, en passant square, rights and
// side.
inline u64 SearchKey(const Position* pos) {
    return pos->hash ^ rtable2[pos->ep_square] ^ rtable2[pos->castle] ^ stmh[pos->side];
}

// Piece counts out of a material signature, 0..9.
constexpr int SignatureDigit(u32 sig, int type) { return static_cast<int>(sig / msig[type] % 16); }
constexpr int PawnCount(u32 sig) { return SignatureDigit(sig, PAWN); }
constexpr int KnightCount(u32 sig) { return SignatureDigit(sig, KNIGHT); }
constexpr int BishopCount(u32 sig) { return SignatureDigit(sig, BISHOP); }
constexpr int RookCount(u32 sig) { return SignatureDigit(sig, ROOK); }
constexpr int QueenCount(u32 sig) { return SignatureDigit(sig, QUEEN); }

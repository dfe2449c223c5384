// Moves: the 16-bit move word, the move-list entry, and the declarations of generation, make and
// unmake, legality and exchange tests, and move text. Needs the tables of bitboards.h and
// zobrist.h. Each thread works on its own Position; IsValidMove belongs to the front-end thread.
#pragma once

#include "board/position.h"

// Move word: bits 0-5 to, 8-13 from, one flag at most for a promotion. NO_MOVE (0) = none, 0xFFFF
// ends a list.
inline constexpr Move END_OF_LIST = 0xFFFF;
inline constexpr Move PROMOTE_QUEEN = 0x0040;
inline constexpr Move PROMOTE_KNIGHT = 0x0080;
inline constexpr Move PROMOTE_BISHOP = 0x4000;
inline constexpr Move PROMOTE_ROOK = 0x8000;
inline constexpr Move PROMOTION_FLAGS = 0xC0C0;

constexpr int MoveTo(Move m) { return m & 63; }
constexpr int MoveFrom(Move m) { return (m >> 8) & 63; }
// A king's step by two files is castling.
constexpr bool IsTwoFileStep(int from, int to) { return to - from == 2 || from - to == 2; }
constexpr bool IsPromotion(Move m) { return (m & PROMOTION_FLAGS) != 0; }
constexpr Move MakeMoveWord(int from, int to, Move flag = 0) {
    return static_cast<Move>((from << 8) | to | flag);
}

// One entry of a move list.
struct MoveEntry {
    Move move;
    u8 piece;     // code of the moving piece
    u8 captured;  // code of the captured piece, 0 for none and for en passant
    i16 score;    // ordering key; 0 until scored
};
static_assert(sizeof(MoveEntry) == 6);

inline constexpr int MOVE_BUFFER_SIZE = 4000;  // entries of a thread's move-list area
inline constexpr int MAX_LIST_SIZE =
    700;  // no list of any set-up position, nine of each kind included, is longer
inline constexpr int MOVE_TEXT_SIZE = 16;  // room for any text of a single move

inline constexpr int pawn_dir[2] = {8, -8};
inline constexpr int init_king_sq[2] = {4, 60};
inline constexpr int piece_value[8] = {0,   100, 325,   325,
                                       515, 990, 10000, 0};  // exchange values, centipawns
inline constexpr int exchange_scale[8] = {0, 1,  3, 3,
                                          5, 10, 0, 0};  // coarse values of the exchange tests

// --- generation (movegen.cpp) ---
// Write the pseudo-legal moves of `side` at `list` and return the end; entries have score 0, no
// terminator is written.
MoveEntry* GeneratePawnCaptures(const Position* pos, int side,
                                MoveEntry* list);  // no promotions; en passant included
MoveEntry* GeneratePieceCaptures(const Position* pos, int side, MoveEntry* list);
MoveEntry* GeneratePromotions(const Position* pos, int side, int underpromote, MoveEntry* list);
MoveEntry* GenerateNonCaptures(const Position* pos, int side, MoveEntry* list);
// The full scored and terminated list of the side to move at the current ply's list start.
// Requires: pos->sstack[pos->ply].list_start with room for MAX_LIST_SIZE entries.
void GenerateAll(Position* pos);

// --- make and unmake (makemove.cpp) ---
// Play a pseudo-legal move (or pass) and take it back. Require room in the history.
void MakeMove(Position* pos, Move m);
void UnmakeMove(Position* pos);
void MakeNullMove(Position* pos);
void UnmakeNullMove(Position* pos);
// The same for moves of the game itself: the root ply stays 1, and a history close to its limit
// first drops its oldest part.
void PlayGameMove(Position* pos, Move m);
void TakeBackGameMove(Position* pos);
// Writes one move to "trace.txt" (0 = null move). Called by MakeMove while tracing is on.
void TraceMove(Position* pos, Move m);
// Forgets what was traced last and closes the file.
void ResetTrace();

// --- legality, checks, exchanges (legality.cpp, exchange.cpp) ---
int MoveIsLegal(const Position* pos, int side, Move m);         // 0 also for the move 0
int MoveIsLegalNonZero(const Position* pos, int side, Move m);  // requires m != 0
// 1 when m could have come from the generators for the side to move: for moves from outside.
int MoveIsPseudoLegal(const Position* pos, Move m);
int MoveGivesCheck(const Position* pos, int side,
                   const MoveEntry* e);  // 0 no, 1 direct, 2 discovered
int MoveAttacksKingArea(const Position* pos, int type, int from, int to, Bitboard area);
// Exchange on `to` for `side` in centipawns; from = 64: least valuable attacker, may decline.
int swapoff1(Position* pos, int side, int from, int to, Bitboard occupied);
int MoveIsSafe(Position* pos, Move m);

// --- text (movetext.cpp) ---
void MoveToStr(Move m, char* out);  // at most 7 bytes
void GenMoveStrings(const Position* pos, Move m, char* coord, char* san, char* file_form,
                    char* rank_form);
// 1 and *out when the text names exactly one legal move of the game position, else 0 and *out = 0.
// Edits the text; requires room for one more character.
int IsValidMove(char* text, Move* out);

// Moves: the 16-bit move word, the move-list entry, and the declarations of generation, make and
// unmake, legality and exchange tests, and move text. Needs the tables of bitboards.h and
// zobrist.h. Each thread works on its own Position.
#pragma once

#include <string_view>

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

// An exchange below it loses: nearly a pawn, in centipawns.
inline constexpr int LOSING_EXCHANGE = -89;

// The square on which the last move arrived, NO_SQUARE when there is no last move.
inline int RecaptureSquare(const Position* pos) {
    return pos->last_move != NO_MOVE ? MoveTo(pos->last_move) : NO_SQUARE;
}

// Plain order of captures: the most valuable victim first, then the least valuable mover.
constexpr i16 CaptureOrder(const MoveEntry* e) {
    constexpr int per_victim = 32, offset = 8;
    return static_cast<i16>(PieceType(e->captured) * per_victim - PieceType(e->piece) + offset);
}

// --- generation (movegen.cpp) ---
// Write the pseudo-legal moves of `side` at `list` and return the end; entries have score 0, no
// terminator is written.
MoveEntry* GeneratePawnCaptures(const Position* pos, int side,
                                MoveEntry* list);  // no promotions; en passant included
MoveEntry* GeneratePieceCaptures(const Position* pos, int side, MoveEntry* list);
MoveEntry* GeneratePromotions(const Position* pos, int side, int underpromote, MoveEntry* list);
MoveEntry* GenerateNonCaptures(const Position* pos, int side, MoveEntry* list);
// All of these, in the order of GenerateAll, unscored and without an end mark. Requires room for
// MAX_LIST_SIZE entries.
MoveEntry* GeneratePseudoLegal(const Position* pos, int side, MoveEntry* list);
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
// The four spellings of one move, each with "+" where it gives check. Empty where a pawn move has
// none.
struct MoveForms {
    char coord[MOVE_TEXT_SIZE];      // "g1f3", "e7e8=Q"
    char san[MOVE_TEXT_SIZE];        // "Nf3", "exd5", "e8=Q", "o-o"
    char file_form[MOVE_TEXT_SIZE];  // "Ngf3", "ed", "O-O"
    char rank_form[MOVE_TEXT_SIZE];  // "N1f3", "0-0"
};

// What a text says.
struct MoveReading {
    Move move = NO_MOVE;             // the one legal move that it names, NO_MOVE when there is none
    bool ambiguous = false;          // it spells two legal moves
    char text[MOVE_TEXT_SIZE] = "";  // of a move: the text as it was understood, check sign cut off
};

// Coordinates of a move ("null" for none) with their NUL, at most MOVE_TEXT_SIZE bytes.
void MoveToStr(Move m, char* out, MoveStyle style);
// Requires a pseudo-legal move of the side to move, and both kings.
void GenMoveStrings(const Position* pos, Move m, MoveForms* forms);
// Reads a move of the side to move in any of its spellings, with or without check sign; of a piece
// also without or with full disambiguation when only one can be meant. Nothing is read of a
// position that cannot be played.
MoveReading ReadMove(const Position* pos, std::string_view text);

// Moves: the 16-bit move word, the move-list entry, and the declarations of generation, make and
// unmake, legality and exchange tests, and move text. Needs the tables of bitboards.h and
// zobrist.h. Whoever owns a Position may call these for it; they touch nothing else but its
// history, its search stack and, while moves are traced, the trace.
#pragma once

#include <cassert>
#include <string_view>
#include <vector>

#include "board/position.h"

// Move word: bits 0-5 to, 8-13 from, one flag at most for a promotion. NO_MOVE (0) = none, 0xFFFF
// ends a list.
inline constexpr Move END_OF_LIST = 0xFFFF;
inline constexpr Move PROMOTE_QUEEN = 0x0040;
inline constexpr Move PROMOTE_KNIGHT = 0x0080;
inline constexpr Move PROMOTE_BISHOP = 0x4000;
inline constexpr Move PROMOTE_ROOK = 0x8000;
inline constexpr Move PROMOTION_FLAGS = 0xC0C0;

// Squares of a move, 0..63.
constexpr int MoveTo(Move m) { return m & 63; }
constexpr int MoveFrom(Move m) { return (m >> 8) & 63; }
// A king's step by two files is castling.
constexpr bool IsTwoFileStep(int from, int to) { return to - from == 2 || from - to == 2; }
constexpr bool IsPromotion(Move m) { return (m & PROMOTION_FLAGS) != 0; }
// Requires: two squares and one promotion flag at most.
constexpr Move MakeMoveWord(int from, int to, Move flag = 0) {
    assert(from >= 0 && from < SQUARE_COUNT && to >= 0 && to < SQUARE_COUNT);
    assert((flag & PROMOTION_FLAGS) == flag && (flag & (flag - 1)) == 0);
    return static_cast<Move>((from << 8) | to | flag);
}

// The type that a promotion puts on the board. Requires: IsPromotion(m).
constexpr int PromotedType(Move m) {
    assert(IsPromotion(m));
    if (m & PROMOTE_KNIGHT) { return KNIGHT; }
    if (m & PROMOTE_BISHOP) { return BISHOP; }
    if (m & PROMOTE_ROOK) { return ROOK; }
    return QUEEN;
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
// No list of any set-up position is as long: nine of each kind with three steps to four promotions
// each, 8, 13, 14 and 27 squares, and the king's 8 and two castlings.
inline constexpr int MAX_LIST_SIZE = 700;
static_assert(MAX_LIST_SIZE > MAX_PIECES_OF_A_KIND * (3 * 4 + 8 + 13 + 14 + 27) + 8 + 2);
inline constexpr int MOVE_TEXT_SIZE = 16;  // room for any text of a single move

// Distances between squares: a rank up, a file to the right.
inline constexpr int NORTH = FILE_COUNT;
inline constexpr int EAST = 1;

inline constexpr int pawn_dir[2] = {NORTH, -NORTH};
inline constexpr int init_king_sq[2] = {SquareOfText("e1"), SquareOfText("e8")};
// Where a castling rook stands, and where the king goes, as seen from the king's square.
inline constexpr int KING_SIDE_ROOK = 3 * EAST;
inline constexpr int QUEEN_SIDE_ROOK = -4 * EAST;
inline constexpr int CASTLING_STEP = 2 * EAST;

// By piece type: exchange values in centipawns, and the coarse ones of MoveIsSafe.
inline constexpr int piece_value[8] = {0, 100, 325, 325, 515, 990, 10000, 0};
inline constexpr int exchange_scale[8] = {0, 1, 3, 3, 5, 10, 0, 0};

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
// Write pseudo-legal moves of `side` at `list` and return the end: entries have score 0, no
// terminator is written. Require: room for the moves, MAX_LIST_SIZE entries at most.

// Captures by pawns, en passant included, without promotions.
MoveEntry* GeneratePawnCaptures(const Position* pos, int side, MoveEntry* list);
MoveEntry* GeneratePieceCaptures(const Position* pos, int side, MoveEntry* list);
// Promotions with and without capture: to a queen only, or with `underpromote` to all four.
MoveEntry* GeneratePromotions(const Position* pos, int side, int underpromote, MoveEntry* list);
// King side first: two entries at most.
MoveEntry* GenerateCastling(const Position* pos, int side, MoveEntry* list);
// All other moves to empty squares, castling included.
MoveEntry* GenerateNonCaptures(const Position* pos, int side, MoveEntry* list);
// All of these in this order.
MoveEntry* GeneratePseudoLegal(const Position* pos, int side, MoveEntry* list);

// The same for the side to move at the start of the current ply's list, with an end mark; captures
// are scored by CaptureOrder, and the lists of the next two plies start after it. Requires:
// pos->sstack[pos->ply].list_start with room for MAX_LIST_SIZE entries and two more.
void GenerateAll(Position* pos);

// --- make and unmake (makemove.cpp) ---
// Play a move or pass. Require: room in the history; MakeMove a pseudo-legal move of the side to
// move.
void MakeMove(Position* pos, Move m);
void MakeNullMove(Position* pos);
// Take back the last move, which was made by MakeMove or by MakeNullMove respectively. A piece that
// comes back stands last in its list.
void UnmakeMove(Position* pos);
void UnmakeNullMove(Position* pos);
// The same for moves of the game itself: the root ply stays 1, and a history close to its limit
// first drops its oldest part.
void PlayGameMove(Position* pos, Move m);
void TakeBackGameMove(Position* pos);

// --- legality and checks (legality.cpp) ---
// 1 when the pseudo-legal move leaves the king of `side`, which makes it, out of attack, else 0.
// Requires: that king; m != NO_MOVE.
int MoveIsLegalNonZero(const Position* pos, int side, Move m);
// The same, and 0 for NO_MOVE.
int MoveIsLegal(const Position* pos, int side, Move m);

// What tells the legality of most moves of the side to move by a bit: found once for a position.
// En passant is no matter of masks.
struct LegalityMasks {
    // The king and the men that alone shield it: their moves need the full test.
    Bitboard full_test;
    // Where all other men may go: every square, or those that end the check when there is one.
    Bitboard targets;
};
// Requires the king of the side to move.
LegalityMasks FindLegality(const Position* pos);
// MoveIsLegalNonZero for the side to move, by the masks of this position. Requires m != NO_MOVE.
inline bool MoveIsLegal(const Position* pos, const LegalityMasks& masks, Move m) {
    const int to = MoveTo(m);
    if ((masks.full_test >> MoveFrom(m) & 1) != 0 || to == pos->ep_square) {
        return MoveIsLegalNonZero(pos, pos->side, m) != 0;
    }
    const bool legal = (masks.targets >> to & 1) != 0;
    assert(legal == (MoveIsLegalNonZero(pos, pos->side, m) != 0));
    return legal;
}

// 1 when m, any 16 bits, could have come from the generators for the side to move, else 0.
int MoveIsPseudoLegal(const Position* pos, Move m);
// Whether m, any 16 bits, is a legal move of the side to move. Requires its king.
bool IsLegalMove(const Position* pos, Move m);
// The legal moves of a playable position, in the order of generation.
std::vector<Move> LegalMoves(const Position* pos);

// Results of MoveGivesCheck.
inline constexpr int NO_CHECK = 0;
inline constexpr int DIRECT_CHECK = 1;      // by the moved or promoted piece
inline constexpr int DISCOVERED_CHECK = 2;  // only by a line piece behind it

// Castling's rook and the line that a pawn taken en passant opens count as no check. Requires: a
// pseudo-legal move of `side`, an enemy king.
int MoveGivesCheck(const Position* pos, int side, const MoveEntry* e);

// What tells the checks of the side to move by a bit: found once for a position.
struct CheckMasks {
    Bitboard squares[PIECE_TYPES];  // by type, from where it attacks the enemy king
    Bitboard shields;  // men of the side that alone stand before one of its line pieces
};
// Requires an enemy king that is not attacked.
CheckMasks FindChecks(const Position* pos);
// The type that stands on the move's square after it.
constexpr int ArrivingType(const MoveEntry* e) {
    return IsPromotion(e->move) ? PromotedType(e->move) : PieceType(e->piece);
}
// MoveGivesCheck for the side to move, by the masks of this position.
inline int MoveGivesCheck(const Position* pos, const CheckMasks& masks, const MoveEntry* e) {
    int check = NO_CHECK;
    if ((masks.squares[ArrivingType(e)] >> MoveTo(e->move) & 1) != 0) {
        check = DIRECT_CHECK;
    } else if ((masks.shields >> MoveFrom(e->move) & 1) != 0) {
        return MoveGivesCheck(pos, pos->side, e);
    }
    assert(check == MoveGivesCheck(pos, pos->side, e));
    return check;
}

// 1 when a bishop, rook or queen (0 for any other type) of the side to move that goes from `from`
// to `to` newly attacks a square of `area` that another of its side attacks too. Requires: that
// piece on `from`.
int MoveAttacksKingArea(const Position* pos, int type, int from, int to, Bitboard area);

// --- exchanges (exchange.cpp) ---

// What `side` gains in centipawns, -9999..9999, when both sides take on `to` as long as it pays,
// over the occupancy `occupied`, in which every attacker stands. With from = NO_SQUARE `side`
// begins with its least valuable attacker or declines (>= 0); else its piece on `from` goes to `to`
// whatever comes of it.
int swapoff1(const Position* pos, int side, int from, int to, Bitboard occupied);
// Does the exchange that the piece on `from` begins on `to` end below LOSING_EXCHANGE? Requires a
// piece on `from`; what stands on `to` is not its own.
bool ExchangeLoses(const Position* pos, int from, int to);
// 1 when the piece of the side to move that m moves is not lost on its square by more than
// -LOSING_EXCHANGE, else 0. Requires: a piece on the move's square.
int MoveIsSafe(const Position* pos, Move m);

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

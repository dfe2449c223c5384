// The board state of one thread: the Position record, its undo records, set-up from text and
// single-piece edits. The Zobrist keys (zobrist.h) and square tables (bitboards.h) must have been
// filled before a position is set. A Position is used by the thread that owns it; the front end
// edits only the one of slot 0.
#pragma once

#include <cassert>
#include <string_view>

#include "board/types.h"

// The board's measures. Files and ranks are numbered from 0, a1 is square 0, h8 square 63.
inline constexpr int SQUARE_COUNT = 64;
inline constexpr int LAST_SQUARE = SQUARE_COUNT - 1;
inline constexpr int FILE_COUNT = 8;
inline constexpr int LAST_FILE = FILE_COUNT - 1;
inline constexpr int RANK_COUNT = 8;
inline constexpr int FIRST_RANK = 0;
inline constexpr int SECOND_RANK = 1;   // relative: where the side's pawns start
inline constexpr int SEVENTH_RANK = 6;  // relative: one step before promotion
inline constexpr int LAST_RANK = RANK_COUNT - 1;

// Piece types; a piece code is colour * 8 + type, 0 = empty square.
inline constexpr int NO_PIECE = 0;
inline constexpr int PAWN = 1;
inline constexpr int KNIGHT = 2;
inline constexpr int BISHOP = 3;
inline constexpr int ROOK = 4;
inline constexpr int QUEEN = 5;
inline constexpr int KING = 6;
inline constexpr int PIECE_TYPES = 8;  // room by type; 0 and 7 are no piece

// Castling rights, the bits of `castle`. A side's rights are the white ones shifted left by 2 *
// side.
inline constexpr int WHITE_KING_SIDE = 1;
inline constexpr int WHITE_QUEEN_SIDE = 2;
inline constexpr int BLACK_KING_SIDE = 4;
inline constexpr int BLACK_QUEEN_SIDE = 8;
inline constexpr int ALL_RIGHTS = 15;

constexpr int PieceCode(int colour, int type) { return colour * 8 + type; }
constexpr int PieceType(int code) { return code & 7; }
constexpr int PieceColour(int code) { return code >> 3; }
constexpr int FileOf(int square) { return square & 7; }
constexpr int RankOf(int square) { return square >> 3; }
// Requires: file and rank 0..7.
constexpr int SquareOf(int file, int rank) {
    assert(file >= 0 && file < FILE_COUNT && rank >= 0 && rank < RANK_COUNT);
    return rank * FILE_COUNT + file;
}
// square ^ flip_sq[side] is the square as the side sees it: Black's board is turned over.
inline constexpr int flip_sq[2] = {0, 56};
constexpr int RelativeSquare(int square, int side) { return square ^ flip_sq[side]; }
// 0 the side's back rank, 7 the one where its pawns promote.
constexpr int RelativeRank(int square, int side) { return RankOf(RelativeSquare(square, side)); }

// Limits of the records.
inline constexpr int MAX_UNDO_RECORDS = 800;  // game history plus search depth
// A longer game drops its oldest records; what is left has room for the deepest search.
inline constexpr int GAME_HISTORY_LIMIT = 720;
inline constexpr int GAME_HISTORY_KEPT = 200;   // what stays of it then
inline constexpr int MAX_PIECES_OF_A_KIND = 9;  // room of a piece list without its end mark
inline constexpr int FIFTY_MOVE_PLIES = 100;    // reversible plies beyond which the game is drawn
inline constexpr int SHORTEST_CYCLE = 4;        // plies from a position back to itself
inline constexpr int FIFTY_COUNTER_MAX = 255;   // `fifty` stops counting there
inline constexpr int EPD_FIELDS_SIZE = 82;      // longest text of MakeEPD with its NUL

struct PlyData;

// One move or null move made; everything as it was before the move. Owned by the thread's history
// array.
struct UndoRecord {
    Move move;    // the move made; 0 = null move
    u8 captured;  // type of the piece on the to-square, 0 if none (also for en passant)
    u8 ep;        // ep_square
    u8 fifty;
    u8 castle;
    u64 hash;
    u64 pawn_hash;  // not written for a null move
};

// The board state of one thread. Owned and written by that thread; slot 0's by the front end.
// Invariants:
// 1. board, plist, bb, sig and npm describe the same set of pieces.
// 2. bb[c][0] is the union of bb[c][1..6]; bb[c][7] is 0; board[64] is 0.
// 3. hash and pawn_hash agree with the placement, except between a single-piece edit and SetHash.
// 4. plist[c][t] holds the squares in the order of arrival, ended by 64; types 0 and 7 are always
// empty; place leads from a square to its entry.
// 5. side, castle and ep_square hold values that they can have.
struct Position {
    u8 board[65];        // piece code by square
    u8 plist[2][8][10];  // piece lists; [c][KING][0] is the king square
    u8 place[64];        // by occupied square: where its piece stands in its list
    Bitboard bb[2][8];   // by colour and type, [c][0] = all pieces of the colour
    u8 side;             // side to move
    u8 castle;           // castling rights
    u8 ep_square;        // square passed over by the double pawn push just made, else 64
    u8 fifty;            // plies since the last capture, pawn move, castling or null move, 0..255
    u32 sig[2];      // material signature, one hexadecimal digit per type, derived from the pieces
    i16 npm[2];      // non-pawn material in units (N 3, B 3, R 5, Q 10), derived from the pieces
    u64 hash;        // Zobrist key of the placement, derived
    u64 pawn_hash;   // the same over pawns only, derived
    Move last_move;  // move that led here; 0 after set-up and after a null move
    i16 hist_count;  // undo records in use
    i16 ply;         // search ply, 1 = root; index of the search stack
    UndoRecord* undo;  // the owning thread's 800 records
    PlyData* sstack;   // the owning thread's search stack
    u8 thread_id;      // the owning thread's slot
};

// Piece letters by type (index 0 a blank) and the start position.
inline constexpr char wchar[8] = " PNBRQK";
inline constexpr char bchar[8] = " pnbrqk";
inline constexpr char fen_opn[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

// square_name[square] is "a1".."h8".
struct SquareNames {
    char text[SQUARE_COUNT][3];

    constexpr SquareNames() : text{} {
        for (int square = 0; square < SQUARE_COUNT; ++square) {
            text[square][0] = static_cast<char>('a' + FileOf(square));
            text[square][1] = static_cast<char>('1' + RankOf(square));
        }
    }
    // Requires: 0 <= square < 64.
    constexpr const char* operator[](int square) const {
        assert(square >= 0 && square < SQUARE_COUNT);
        return text[square];
    }
};
inline constexpr SquareNames square_name;

// The square that a text begins with ("e4"), NO_SQUARE when it begins with none.
constexpr int SquareOfText(std::string_view text) {
    if (text.size() < 2 || text[0] < 'a' || text[0] > 'h' || text[1] < '1' || text[1] > '8') {
        return NO_SQUARE;
    }
    return SquareOf(text[0] - 'a', text[1] - '1');
}
// The type of a piece letter, NO_PIECE when it is none: upper case only, as in move texts; or, as
// in a FEN, either case, which then tells *colour.
int PieceTypeOfLetter(char letter);
int PieceTypeOfLetter(char letter, int* colour);

// All pieces of both colours.
inline Bitboard Occupied(const Position* pos) { return pos->bb[WHITE][0] | pos->bb[BLACK][0]; }
inline bool OwnPieceOn(const Position* pos, int side, int square) {
    return pos->board[square] != NO_PIECE && PieceColour(pos->board[square]) == side;
}
// NO_SQUARE when the colour has no king, the first in the list when it has several.
inline int KingSquare(const Position* pos, int colour) { return pos->plist[colour][KING][0]; }

// What follows is for the thread that owns the position; it changes nothing else.

// Sets `pos` from FEN or EPD text; only the four position fields are read. Never fails and never
// reads past the text's NUL: surplus squares and ranks pile up on the last one of their rank or
// board without adding a second piece there, a tenth piece of a kind is left out, a text that ends
// early keeps the side, without rights or en passant square. Leaves an empty history, ply 1 and a
// fifty-move counter of 0. Requires: pos->undo points to the thread's history.
void SetPosition(Position* pos, const char* fen);

// Writes the four position fields ("... w KQkq -"), NUL-terminated, at most EPD_FIELDS_SIZE bytes;
// returns where the NUL is.
char* MakeEPD(const Position* pos, char* out);

// Puts a piece on a square; the keys stay as they are. Requires: an empty square, PAWN..KING, fewer
// than nine pieces of the kind.
void AddPiece(Position* pos, int colour, int type, int square);
// Takes the piece off a square; the keys stay as they are. Requires: an occupied square.
void RemovePiece(Position* pos, int square);

// Number of earlier positions of the game and path, same side to move, equal to this one, within
// the last fifty-counter plies; counting stops at `limit` (> 0).
int CountRepetitions(const Position* pos, int limit);

// Recomputes both keys from the board.
void SetHash(Position* pos);

// 1 when every invariant of the record holds (recomputed from scratch), else 0.
int PositionIsSound(const Position* pos);

// nullptr when the position can be searched and played (one king each, no pawn on the first or last
// rank, side not to move not in check), else a short English text that says what is wrong with it.
const char* WhyUnplayable(const Position* pos);
// No sequence of legal moves can give mate: bare kings, one minor piece, or bishops on squares of
// one colour only.
bool NoMateIsPossible(const Position* pos);
// WhyUnplayable without a look at the king that could be captured: nullptr when moves can be
// generated.
const char* WhyImpossible(const Position* pos);

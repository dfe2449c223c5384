// The board diagram with symbols. The tables of the board must be filled.
#include "frontend/symbolboard.h"

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/position.h"

namespace {

constexpr const char* outlines[] = {" ", "♙", "♘", "♗", "♖", "♕", "♔"};  // by type
constexpr const char* filled[] = {" ", "♟", "♞", "♝", "♜", "♛", "♚"};
constexpr const char* FILES = "    a  b  c  d  e  f  g  h\n";
constexpr const char* PLAIN = "\033[0m";

// Of 256: the squares, dark and light; the same of the last move; the pieces, white and black.
constexpr int square_colour[] = {137, 180};
constexpr int marked_colour[] = {142, 186};
constexpr int piece_colour[] = {231, 16};

bool IsOfLastMove(const Position* pos, int square) {
    const Move m = pos->last_move;
    return m != NO_MOVE && (square == MoveFrom(m) || square == MoveTo(m));
}

bool IsLight(int square) { return sq_color[square] == 0; }

// Both colours are filled figures: what tells them apart is the ink.
std::string ColouredSquare(const Position* pos, int square) {
    const int code = pos->board[square];
    const int ground = (IsOfLastMove(pos, square) ? marked_colour : square_colour)[IsLight(square)];
    const int ink = piece_colour[code == NO_PIECE ? 0 : PieceColour(code)];
    return "\033[48;5;" + std::to_string(ground) + ";38;5;" + std::to_string(ink) + "m " +
           filled[PieceType(code)] + " ";
}

std::string PlainSquare(const Position* pos, int square) {
    const int code = pos->board[square];
    std::string figure = (PieceColour(code) == WHITE ? outlines : filled)[PieceType(code)];
    if (code == NO_PIECE) { figure = IsLight(square) ? " " : "·"; }
    return IsOfLastMove(pos, square) ? "[" + figure + "]" : " " + figure + " ";
}

}  // namespace

std::string SymbolBoard(const Position* pos, bool colours) {
    std::string text;
    for (int rank = 7; rank >= 0; --rank) {
        text += ' ' + std::to_string(rank + 1) + ' ';
        for (int square = 8 * rank; square < 8 * rank + 8; ++square) {
            text += colours ? ColouredSquare(pos, square) : PlainSquare(pos, square);
        }
        text += colours ? PLAIN : "";
        text += '\n';
    }
    return text + FILES;
}

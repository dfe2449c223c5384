// The Position record: set-up from text, the text of a position, single pieces, keys and checks of
// the record.
#include "board/position.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "board/bitboards.h"
#include "board/zobrist.h"

const char wchar[8] = " PNBRQK";
const char bchar[8] = " pnbrqk";
const char* const fen_opn = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

// clang-format off
const char square_name[64][3] = {
    "a1", "b1", "c1", "d1", "e1", "f1", "g1", "h1", "a2", "b2", "c2", "d2", "e2", "f2", "g2", "h2",
    "a3", "b3", "c3", "d3", "e3", "f3", "g3", "h3", "a4", "b4", "c4", "d4", "e4", "f4", "g4", "h4",
    "a5", "b5", "c5", "d5", "e5", "f5", "g5", "h5", "a6", "b6", "c6", "d6", "e6", "f6", "g6", "h6",
    "a7", "b7", "c7", "d7", "e7", "f7", "g7", "h7", "a8", "b8", "c8", "d8", "e8", "f8", "g8", "h8"};
// clang-format on

namespace {

constexpr int FIRST_FEN_SQUARE = 56;  // a8
constexpr int SHORTEST_CYCLE = 4;     // plies until a position can come back

void ClearBoard(Position* pos) {
    std::memset(pos->board, 0, sizeof pos->board);
    std::memset(pos->bb, 0, sizeof pos->bb);
    for (auto& colour : pos->plist) {
        for (auto& list : colour) { list[0] = NO_SQUARE; }
    }
    for (int colour = 0; colour < 2; ++colour) {
        pos->sig[colour] = 0;
        pos->npm[colour] = 0;
    }
}

int ListLength(const Position* pos, int colour, int type) {
    int n = 0;
    while (pos->plist[colour][type][n] != NO_SQUARE) { ++n; }
    return n;
}

// Adds a piece of the text unless the record has no room for it.
void AddPieceOfText(Position* pos, char letter, int square) {
    int colour = WHITE;
    const int type = PieceTypeOfLetter(letter, &colour);
    if (type == NO_PIECE || pos->board[square] != 0) { return; }
    if (ListLength(pos, colour, type) >= MAX_PIECES_OF_A_KIND) { return; }
    AddPiece(pos, colour, type, square);
}

// Reads the board field; returns where it ended (a blank or the text's NUL).
const char* ReadBoardField(Position* pos, const char* text) {
    int cursor = FIRST_FEN_SQUARE;
    for (; *text != '\0' && *text != ' '; ++text) {
        const int last_of_rank = cursor | 7;
        if (*text >= '0' && *text <= '9') {
            const int next = cursor + (*text - '0');
            cursor = next <= last_of_rank ? next : last_of_rank;
        } else if (*text == '/') {
            // Surplus ranks stay on the first rank, where the cursor stands.
            if (cursor >= 8) { cursor = (cursor & ~7) - 8; }
        } else {
            AddPieceOfText(pos, *text, cursor);
            if (cursor != last_of_rank) { ++cursor; }
        }
    }
    return text;
}

const char* SkipBlanks(const char* text) {
    while (*text == ' ') { ++text; }
    return text;
}

const char* ReadCastlingField(Position* pos, const char* text) {
    pos->castle = 0;
    for (text = SkipBlanks(text); *text != '\0' && *text != ' '; ++text) {
        if (*text == 'K') { pos->castle |= WHITE_KING_SIDE; }
        if (*text == 'Q') { pos->castle |= WHITE_QUEEN_SIDE; }
        if (*text == 'k') { pos->castle |= BLACK_KING_SIDE; }
        if (*text == 'q') { pos->castle |= BLACK_QUEEN_SIDE; }
    }
    return text;
}

void ReadEnPassantField(Position* pos, const char* text) {
    int square = NO_SQUARE;
    bool has_file = false;
    for (text = SkipBlanks(text); *text != '\0' && *text != ' '; ++text) {
        if (*text >= 'a' && *text <= 'h') {
            square = *text - 'a';
            has_file = true;
        } else if (*text >= '1' && *text <= '8' && square < NO_SQUARE) {
            square += 8 * (*text - '1');
        }
    }
    pos->ep_square = static_cast<u8>(has_file && square < NO_SQUARE ? square : NO_SQUARE);
}

// The fields that are derived from the board, recomputed square by square.
struct DerivedFields {
    Bitboard bb[2][8] = {};
    u32 sig[2] = {};
    int npm[2] = {};
    int count[2][8] = {};
    u64 hash = 0;
    u64 pawn_hash = 0;
};

DerivedFields Derive(const Position* pos) {
    DerivedFields d;
    for (int square = 0; square < 64; ++square) {
        const int code = pos->board[square];
        if (code == 0) { continue; }
        const int colour = PieceColour(code) & 1;
        const int type = PieceType(code);
        d.bb[colour][0] |= Bit(square);
        d.bb[colour][type] |= Bit(square);
        d.sig[colour] += msig[type];
        d.npm[colour] += npv[type];
        ++d.count[colour][type];
        d.hash ^= rtable[code & 15][square];
        if (type == PAWN) { d.pawn_hash ^= rtable[code & 15][square]; }
    }
    return d;
}

bool BoardCodesAreSound(const Position* pos) {
    if (pos->board[NO_SQUARE] != 0) { return false; }
    for (int square = 0; square < 64; ++square) {
        const int code = pos->board[square];
        if (code == 0) { continue; }
        if (PieceColour(code) > 1 || PieceType(code) < PAWN || PieceType(code) > KING) {
            return false;
        }
    }
    return true;
}

bool ListsAreSound(const Position* pos, const DerivedFields& d) {
    for (int colour = 0; colour < 2; ++colour) {
        for (int type = 0; type < 8; ++type) {
            const u8* list = pos->plist[colour][type];
            Bitboard seen = 0;
            int n = 0;
            for (; n <= MAX_PIECES_OF_A_KIND && list[n] != NO_SQUARE; ++n) {
                if (list[n] > NO_SQUARE || pos->board[list[n]] != PieceCode(colour, type)) {
                    return false;
                }
                seen |= Bit(list[n]);
            }
            if (n > MAX_PIECES_OF_A_KIND || n != d.count[colour][type]) { return false; }
            if (CountBits_1(seen) != n) { return false; }
        }
    }
    return true;
}

}  // namespace

int PieceTypeOfLetter(char letter) {
    for (int type = PAWN; type <= KING; ++type) {
        if (letter == wchar[type]) { return type; }
    }
    return NO_PIECE;
}

int PieceTypeOfLetter(char letter, int* colour) {
    const bool small = letter >= 'a' && letter <= 'z';
    *colour = small ? BLACK : WHITE;
    return PieceTypeOfLetter(small ? static_cast<char>(letter - 'a' + 'A') : letter);
}

void AddPiece(Position* pos, int colour, int type, int square) {
    const int n = ListLength(pos, colour, type);
    assert(n < MAX_PIECES_OF_A_KIND);
    u8* list = pos->plist[colour][type];
    list[n] = static_cast<u8>(square);
    list[n + 1] = NO_SQUARE;
    pos->board[square] = static_cast<u8>(PieceCode(colour, type & 7));
    pos->npm[colour] = static_cast<i16>(pos->npm[colour] + npv[type]);
    pos->sig[colour] += msig[type];
    pos->bb[colour][0] |= Bit(square);
    pos->bb[colour][type] |= Bit(square);
}

void RemovePiece(Position* pos, int square) {
    const int code = pos->board[square];
    assert(code != 0);
    const int colour = PieceColour(code);
    const int type = PieceType(code);
    pos->board[square] = 0;
    u8* entry = pos->plist[colour][type];
    while (*entry != square) { ++entry; }
    do { entry[0] = entry[1]; } while (*entry++ != NO_SQUARE);
    pos->npm[colour] = static_cast<i16>(pos->npm[colour] - npv[type]);
    pos->sig[colour] -= msig[type];
    pos->bb[colour][0] &= ~Bit(square);
    pos->bb[colour][type] &= ~Bit(square);
}

void SetHash(Position* pos) {
    const DerivedFields d = Derive(pos);
    pos->hash = d.hash;
    pos->pawn_hash = d.pawn_hash;
}

void SetPosition(Position* pos, const char* fen) {
    ClearBoard(pos);
    pos->castle = 0;
    pos->ep_square = NO_SQUARE;
    pos->hist_count = 0;
    pos->ply = 1;
    pos->fifty = 0;
    pos->last_move = 0;
    const char* text = ReadBoardField(pos, fen);
    if (*text != '\0') { ++text; }
    if (*text == 'w') { pos->side = WHITE; }
    if (*text == 'b') { pos->side = BLACK; }
    if (*text != '\0') { ++text; }
    text = ReadCastlingField(pos, text);
    ReadEnPassantField(pos, text);
    SetHash(pos);
    std::memset(pos->undo, 0, 2 * sizeof pos->undo[0]);
}

void MakeEPD(const Position* pos, char* out) {
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const int code = pos->board[rank * 8 + file];
            if (code == 0) {
                ++empty;
                continue;
            }
            if (empty) { *out++ = static_cast<char>('0' + empty); }
            empty = 0;
            *out++ = PieceColour(code) == WHITE ? wchar[PieceType(code)] : bchar[PieceType(code)];
        }
        if (empty) { *out++ = static_cast<char>('0' + empty); }
        if (rank > 0) { *out++ = '/'; }
    }
    *out++ = ' ';
    *out++ = pos->side == WHITE ? 'w' : 'b';
    *out++ = ' ';
    if (pos->castle & WHITE_KING_SIDE) { *out++ = 'K'; }
    if (pos->castle & WHITE_QUEEN_SIDE) { *out++ = 'Q'; }
    if (pos->castle & BLACK_KING_SIDE) { *out++ = 'k'; }
    if (pos->castle & BLACK_QUEEN_SIDE) { *out++ = 'q'; }
    if ((pos->castle & 15) == 0) { *out++ = '-'; }
    *out++ = ' ';
    if (pos->ep_square < NO_SQUARE) {
        *out++ = square_name[pos->ep_square][0];
        *out++ = square_name[pos->ep_square][1];
    } else {
        *out++ = '-';
    }
    *out = '\0';
}

int PositionIsSound(const Position* pos) {
    if (!BoardCodesAreSound(pos)) { return 0; }
    const DerivedFields d = Derive(pos);
    for (int colour = 0; colour < 2; ++colour) {
        if (std::memcmp(pos->bb[colour], d.bb[colour], sizeof d.bb[colour]) != 0) { return 0; }
        if (pos->sig[colour] != d.sig[colour] || pos->npm[colour] != d.npm[colour]) { return 0; }
    }
    if (pos->hash != d.hash || pos->pawn_hash != d.pawn_hash) { return 0; }
    return ListsAreSound(pos, d) ? 1 : 0;
}

const char* WhyUnplayable(const Position* pos) {
    static const char* const no_king[2] = {"white has no king", "black has no king"};
    static const char* const kings[2] = {"white has more than one king",
                                         "black has more than one king"};
    for (int colour = 0; colour < 2; ++colour) {
        const int n = CountBits_1(pos->bb[colour][KING]);
        if (n == 0) { return no_king[colour]; }
        if (n > 1) { return kings[colour]; }
    }
    const Bitboard pawns = pos->bb[WHITE][PAWN] | pos->bb[BLACK][PAWN];
    if (pawns & (RankMask(0) | RankMask(7))) { return "a pawn stands on the first or last rank"; }
    if (InCheck(pos, pos->side ^ 1)) { return "the side that is not to move is in check"; }
    return nullptr;
}

int CountRepetitions(const Position* pos, int limit) {
    const int oldest = std::max(pos->hist_count - pos->fifty, 0);
    int count = 0;
    for (int i = pos->hist_count - SHORTEST_CYCLE; i >= oldest && count < limit; i -= 2) {
        if (pos->undo[i].hash == pos->hash) { ++count; }
    }
    return count;
}

// The Position record: set-up from text, the text of a position, single pieces, keys and checks of
// the record.
#include "board/position.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "board/bitboards.h"
#include "board/zobrist.h"

namespace {

constexpr int FIRST_FEN_SQUARE = SquareOfText("a8");
constexpr int CLEARED_RECORDS = 2;  // of the history; the one before the first move tells no move

constexpr struct {
    u8 right;
    char letter;
} castling_letters[] = {{WHITE_KING_SIDE, 'K'},
                        {WHITE_QUEEN_SIDE, 'Q'},
                        {BLACK_KING_SIDE, 'k'},
                        {BLACK_QUEEN_SIDE, 'q'}};

constexpr char piece_letters[] = " PNBRQK  pnbrqk";  // by code
static_assert(piece_letters[PieceCode(WHITE, KING)] == 'K' &&
              piece_letters[PieceCode(BLACK, PAWN)] == 'p');

void ClearBoard(Position* pos) {
    std::memset(pos->board, 0, sizeof pos->board);
    std::memset(pos->bb, 0, sizeof pos->bb);
    for (auto& colour : pos->plist) {
        for (auto& list : colour) { list[0] = NO_SQUARE; }
    }
    for (const int colour : {WHITE, BLACK}) {
        pos->sig[colour] = 0;
        pos->npm[colour] = 0;
    }
}

// Adds a piece of the text unless the record has no room for it.
void AddPieceOfText(Position* pos, char letter, int square) {
    int colour = WHITE;
    const int type = PieceTypeOfLetter(letter, &colour);
    if (type == NO_PIECE || pos->board[square] != 0) { return; }
    if (CountBits(pos->bb[colour][type]) >= MAX_PIECES_OF_A_KIND) { return; }
    AddPiece(pos, colour, type, square);
}

// Reads the board field; returns where it ended (a blank or the text's NUL).
const char* ReadBoardField(Position* pos, const char* text) {
    int cursor = FIRST_FEN_SQUARE;
    for (; *text != '\0' && *text != ' '; ++text) {
        const int rank = RankOf(cursor);
        const int last_of_rank = SquareOf(LAST_FILE, rank);
        if (*text >= '0' && *text <= '9') {
            cursor = std::min(cursor + (*text - '0'), last_of_rank);
        } else if (*text == '/') {
            // Surplus ranks stay on the first rank, where the cursor stands.
            if (rank != FIRST_RANK) { cursor = SquareOf(0, rank - 1); }
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
        for (const auto& [right, letter] : castling_letters) {
            if (*text == letter) { pos->castle |= right; }
        }
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
            square += FILE_COUNT * (*text - '1');
        }
    }
    pos->ep_square = static_cast<u8>(has_file && square < NO_SQUARE ? square : NO_SQUARE);
}

// The fields that are derived from the board, recomputed square by square. Requires: sound codes.
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
    for (int square = 0; square < SQUARE_COUNT; ++square) {
        const int code = pos->board[square];
        if (code == 0) { continue; }
        const int colour = PieceColour(code);
        const int type = PieceType(code);
        d.bb[colour][0] |= Bit(square);
        d.bb[colour][type] |= Bit(square);
        d.sig[colour] += msig[type];
        d.npm[colour] += npv[type];
        ++d.count[colour][type];
        d.hash ^= rtable[code][square];
        if (type == PAWN) { d.pawn_hash ^= rtable[code][square]; }
    }
    return d;
}

bool BoardCodesAreSound(const Position* pos) {
    if (pos->board[NO_SQUARE] != 0) { return false; }
    for (int square = 0; square < SQUARE_COUNT; ++square) {
        const int code = pos->board[square];
        if (code == 0) { continue; }
        if (PieceColour(code) > 1 || PieceType(code) < PAWN || PieceType(code) > KING) {
            return false;
        }
    }
    return true;
}

bool ListsAreSound(const Position* pos, const DerivedFields& d) {
    for (const int colour : {WHITE, BLACK}) {
        for (int type = 0; type < PIECE_TYPES; ++type) {
            const u8* list = pos->plist[colour][type];
            Bitboard seen = 0;
            int n = 0;
            for (; n <= MAX_PIECES_OF_A_KIND && list[n] != NO_SQUARE; ++n) {
                if (list[n] > NO_SQUARE || pos->board[list[n]] != PieceCode(colour, type) ||
                    pos->place[list[n]] != n) {
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

// Text of empty squares in the board field: their number, and the slashes before them, between them
// and after them.
struct EmptySquares {
    char text[17];  // "/8/8/8/8/8/8/8/8/" is the longest
    u8 length;
};
constexpr EmptySquares TextOfEmptySquares(int first_file, int count) {
    EmptySquares t = {};
    const auto add = [&t](int c) { t.text[t.length++] = static_cast<char>(c); };
    int run = 0;
    for (int i = 0; i <= count; ++i) {
        const bool rank_begins = (first_file + i) % FILE_COUNT == 0;
        if (rank_begins && run != 0) { add('0' + run); }
        if (rank_begins) { add('/'); }
        run = (rank_begins ? 0 : run) + 1;
    }
    if (run > 1) { add('0' + run - 1); }
    return t;
}
// By the file of the first one and by their number.
constexpr auto empty_squares = [] {
    LookupTable<LookupTable<EmptySquares, SQUARE_COUNT + 1>, FILE_COUNT> texts = {};
    for (int file = 0; file < FILE_COUNT; ++file) {
        for (int n = 0; n <= SQUARE_COUNT; ++n) { texts[file][n] = TextOfEmptySquares(file, n); }
    }
    return texts;
}();

static_assert(empty_squares[0][SQUARE_COUNT].length == sizeof EmptySquares::text);
static_assert(empty_squares[1][6].length == 1 && empty_squares[1][7].text[1] == '/');

// Writes the board field and returns its end. It goes from piece to piece: where they stand cannot
// be foreseen, and a jump for each square would cost more than the rest.
char* WriteBoardField(const Position* pos, char* out) {
    constexpr int longest_field = SQUARE_COUNT + RANK_COUNT - 1;
    constexpr int from_eighth_rank = SquareOf(0, LAST_RANK);  // turns the order of the ranks round
    char text[longest_field + 2 * sizeof(EmptySquares::text)];
    char* end = text;
    int next = 0;  // square to be written, counted from the eighth rank down
    const auto add_empty_squares = [&](int up_to) {
        const EmptySquares& empty = empty_squares[next % FILE_COUNT][up_to - next];
        std::memcpy(end, empty.text, sizeof empty.text);
        end += empty.length;
    };
    for (Bitboard pieces = __builtin_bswap64(Occupied(pos)); pieces != 0;) {
        const int square = PopLSB(&pieces);
        add_empty_squares(square);
        *end++ = piece_letters[pos->board[square ^ from_eighth_rank]];
        next = square + 1;
    }
    add_empty_squares(SQUARE_COUNT);
    // Without the slashes before and after everything.
    const std::size_t length = static_cast<std::size_t>(end - text) - 2;
    std::memcpy(out, text + 1, length);
    return out + length;
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
    assert(colour == WHITE || colour == BLACK);
    assert(type >= PAWN && type <= KING);
    assert(square >= 0 && square < SQUARE_COUNT && pos->board[square] == NO_PIECE);
    const int n = CountBits(pos->bb[colour][type]);
    assert(n < MAX_PIECES_OF_A_KIND);
    u8* list = pos->plist[colour][type];
    assert(list[n] == NO_SQUARE);
    list[n] = static_cast<u8>(square);
    list[n + 1] = NO_SQUARE;
    pos->place[square] = static_cast<u8>(n);
    pos->board[square] = static_cast<u8>(PieceCode(colour, type));
    pos->npm[colour] = static_cast<i16>(pos->npm[colour] + npv[type]);
    pos->sig[colour] += msig[type];
    pos->bb[colour][0] |= Bit(square);
    pos->bb[colour][type] |= Bit(square);
}

void RemovePiece(Position* pos, int square) {
    assert(square >= 0 && square < SQUARE_COUNT);
    const int code = pos->board[square];
    assert(code != NO_PIECE);
    const int colour = PieceColour(code);
    const int type = PieceType(code);
    pos->board[square] = 0;
    // The later ones move up.
    u8* list = pos->plist[colour][type];
    int n = pos->place[square];
    assert(list[n] == square);
    for (; list[n + 1] != NO_SQUARE; ++n) {
        list[n] = list[n + 1];
        pos->place[list[n]] = static_cast<u8>(n);
    }
    list[n] = NO_SQUARE;
    pos->npm[colour] = static_cast<i16>(pos->npm[colour] - npv[type]);
    pos->sig[colour] -= msig[type];
    pos->bb[colour][0] &= ~Bit(square);
    pos->bb[colour][type] &= ~Bit(square);
}

void SetHash(Position* pos) {
    pos->hash = pos->pawn_hash = 0;
    for (Bitboard men = Occupied(pos); men != 0;) {
        const int square = PopLSB(&men);
        const int code = pos->board[square];
        pos->hash ^= rtable[code][square];
        if (PieceType(code) == PAWN) { pos->pawn_hash ^= rtable[code][square]; }
    }
}

void SetPosition(Position* pos, const char* fen) {
    assert(pos->undo != nullptr);
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
    std::memset(pos->undo, 0, CLEARED_RECORDS * sizeof pos->undo[0]);
}

char* MakeEPD(const Position* pos, char* out) {
    out = WriteBoardField(pos, out);
    *out++ = ' ';
    *out++ = pos->side == WHITE ? 'w' : 'b';
    *out++ = ' ';
    const char* const rights = out;
    for (const auto& [right, letter] : castling_letters) {
        if (pos->castle & right) { *out++ = letter; }
    }
    if (out == rights) { *out++ = '-'; }
    *out++ = ' ';
    if (pos->ep_square < NO_SQUARE) {
        *out++ = square_name[pos->ep_square][0];
        *out++ = square_name[pos->ep_square][1];
    } else {
        *out++ = '-';
    }
    *out = '\0';
    return out;
}

int PositionIsSound(const Position* pos) {
    if (pos->side > BLACK || pos->castle > ALL_RIGHTS || pos->ep_square > NO_SQUARE) { return 0; }
    if (!BoardCodesAreSound(pos)) { return 0; }
    const DerivedFields d = Derive(pos);
    for (const int colour : {WHITE, BLACK}) {
        if (std::memcmp(pos->bb[colour], d.bb[colour], sizeof d.bb[colour]) != 0) { return 0; }
        if (pos->sig[colour] != d.sig[colour] || pos->npm[colour] != d.npm[colour]) { return 0; }
    }
    if (pos->hash != d.hash || pos->pawn_hash != d.pawn_hash) { return 0; }
    return ListsAreSound(pos, d) ? 1 : 0;
}

const char* WhyImpossible(const Position* pos) {
    static const char* const no_king[2] = {"white has no king", "black has no king"};
    static const char* const kings[2] = {"white has more than one king",
                                         "black has more than one king"};
    for (const int colour : {WHITE, BLACK}) {
        const int n = CountBits_1(pos->bb[colour][KING]);
        if (n == 0) { return no_king[colour]; }
        if (n > 1) { return kings[colour]; }
    }
    const Bitboard pawns = pos->bb[WHITE][PAWN] | pos->bb[BLACK][PAWN];
    if (pawns & (RankMask(FIRST_RANK) | RankMask(LAST_RANK))) {
        return "a pawn stands on the first or last rank";
    }
    return nullptr;
}

const char* WhyUnplayable(const Position* pos) {
    const char* why = WhyImpossible(pos);
    if (why == nullptr && InCheck(pos, pos->side ^ 1)) {
        why = "the side that is not to move is in check";
    }
    return why;
}

bool NoMateIsPossible(const Position* pos) {
    Bitboard bishops = 0, knights = 0;
    for (int c = 0; c < 2; ++c) {
        if ((pos->bb[c][PAWN] | pos->bb[c][ROOK] | pos->bb[c][QUEEN]) != 0) { return false; }
        bishops |= pos->bb[c][BISHOP];
        knights |= pos->bb[c][KNIGHT];
    }
    if (knights != 0) { return bishops == 0 && CountBits(knights) == 1; }
    bool of_colour[2] = {false, false};
    while (bishops != 0) { of_colour[sq_color[PopLSB(&bishops)] != 0] = true; }
    return !of_colour[0] || !of_colour[1];
}

int CountRepetitions(const Position* pos, int limit) {
    assert(limit > 0);
    const int oldest = std::max(pos->hist_count - pos->fifty, 0);
    int count = 0;
    for (int i = pos->hist_count - SHORTEST_CYCLE; i >= oldest && count < limit; i -= 2) {
        if (pos->undo[i].hash == pos->hash) { ++count; }
    }
    return count;
}

// Move text: coordinate notation, the four spellings of one move, and the reader that accepts any
// of them. Pure functions over the position; any thread may call.
#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "board/bitboards.h"
#include "board/moves.h"

namespace {

struct PromotionText {
    Move flag;
    char letter;
};
// In the order in which the flags are tested.
constexpr PromotionText promotion_texts[] = {
    {PROMOTE_QUEEN, 'Q'}, {PROMOTE_KNIGHT, 'N'}, {PROMOTE_BISHOP, 'B'}, {PROMOTE_ROOK, 'R'}};

// Lengths of texts.
constexpr std::size_t SQUARE_LENGTH = 2;        // "e4": a square, a pawn's step
constexpr std::size_t PAWN_CAPTURE_LENGTH = 4;  // "exd5"
constexpr std::size_t SHORTEST_PIECE_MOVE = 3;  // "Nf3"
constexpr std::size_t LONGEST_CASTLING = 5;     // "o-o-o"
constexpr std::size_t LONGEST_PIECE_MOVE = 5;   // "Nbxd2"; the full disambiguation is read slowly
// Squares.
constexpr int SECOND_RANK_START = 8;  // where a pawn can come from
constexpr int SEVENTH_RANK_END = 55;
constexpr int DOUBLE_STEP_RANK = 3;  // where it ends, as the side sees it

constexpr int CASTLINGS = 2;  // of a side

// So many moves of one spelling are called ambiguous; more are no move at all, without a word.
constexpr int AMBIGUOUS_MOVES = 2;

char PromotionLetter(Move m) {
    for (const PromotionText& p : promotion_texts) {
        if (m & p.flag) { return p.letter; }
    }
    return '\0';
}

void Append(char* text, const char* more) { std::strcat(text, more); }

void AppendChar(char* text, char c) {
    const char more[2] = {c, '\0'};
    Append(text, more);
}

char FileLetter(int square) { return square_name[square][0]; }
char RankDigit(int square) { return square_name[square][1]; }

// Pieces of a kind, other than pawns, that reach a square by their move, pinned or not.
Bitboard PiecesThatReach(const Position* pos, int colour, int type, int to) {
    const Bitboard occupied = Occupied(pos) | Bit(to);
    Bitboard from = 0;
    if (type == KNIGHT) { from = BB_KnightRays[to]; }
    if (type == KING) { from = BB_KingRays[to]; }
    if (type == BISHOP || type == QUEEN) { from |= GenAttacksB(to, occupied); }
    if (type == ROOK || type == QUEEN) { from |= GenAttacksR(to, occupied); }
    return from & pos->bb[colour][type];
}

// --- writing ---

void WritePieceForms(const Position* pos, Move m, MoveForms* forms) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    const int type = PieceType(pos->board[from]);
    if (type == KING && IsTwoFileStep(from, to)) {
        const bool king_side = to > from;
        std::strcpy(forms->san, king_side ? "o-o" : "o-o-o");
        std::strcpy(forms->file_form, king_side ? "O-O" : "O-O-O");
        std::strcpy(forms->rank_form, king_side ? "0-0" : "0-0-0");
        return;
    }
    AppendChar(forms->san, wchar[type]);
    std::strcpy(forms->file_form, forms->san);
    AppendChar(forms->file_form, FileLetter(from));
    std::strcpy(forms->rank_form, forms->san);
    AppendChar(forms->rank_form, RankDigit(from));
    const Bitboard rivals =
        type == KING ? 0
                     : PiecesThatReach(pos, PieceColour(pos->board[from]), type, to) & ~Bit(from);
    if (rivals != 0) {
        const bool same_file = (rivals & FileMask(FileOf(from))) != 0;
        std::strcpy(forms->san, same_file ? forms->rank_form : forms->file_form);
    }
    for (char* form : {forms->san, forms->file_form, forms->rank_form}) {
        if (pos->board[to]) { AppendChar(form, 'x'); }
        Append(form, square_name[to]);
    }
}

void WritePawnForms(const Position* pos, Move m, MoveForms* forms) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    if (pos->board[to] || to == pos->ep_square) {
        AppendChar(forms->san, FileLetter(from));
        AppendChar(forms->san, 'x');
        AppendChar(forms->file_form, FileLetter(from));
        AppendChar(forms->file_form, FileLetter(to));
    }
    Append(forms->san, square_name[to]);
    if (!IsPromotion(m)) { return; }
    for (char* form : {forms->coord, forms->san, forms->file_form}) {
        AppendChar(form, '=');
        AppendChar(form, PromotionLetter(m));
    }
}

void WriteCoordinates(Move m, char* out) {
    std::strcpy(out, square_name[MoveFrom(m)]);
    Append(out, square_name[MoveTo(m)]);
}

// The four spellings without check signs.
void WriteForms(const Position* pos, Move m, MoveForms* forms) {
    WriteCoordinates(m, forms->coord);
    forms->san[0] = forms->file_form[0] = forms->rank_form[0] = '\0';
    if (PieceType(pos->board[MoveFrom(m)]) == PAWN) {
        WritePawnForms(pos, m, forms);
    } else {
        WritePieceForms(pos, m, forms);
    }
}

// --- reading the usual spellings, without listing the moves of the position ---

// "Nf3", "Nxf3", "Nbd2", "N1xd2": the move, when exactly one piece fits the text, else NO_MOVE.
Move ReadPieceMove(const Position* pos, std::string_view text) {
    const int type = PieceTypeOfLetter(text[0]);
    const int to = SquareOfText(text.substr(text.size() - SQUARE_LENGTH));
    if (to == NO_SQUARE || (pos->bb[pos->side][0] & Bit(to)) != 0) { return NO_MOVE; }
    // Between the letter and the square.
    std::string_view middle = text.substr(1, text.size() - SHORTEST_PIECE_MOVE);
    const bool capture = !middle.empty() && middle.back() == 'x';
    if (capture) { middle.remove_suffix(1); }
    if (middle.size() > 1 || capture != (pos->board[to] != NO_PIECE)) { return NO_MOVE; }
    Bitboard from = PiecesThatReach(pos, pos->side, type, to);
    if (middle.size() == 1) {
        const char c = middle[0];
        if (c >= 'a' && c <= 'h') {
            from &= FileMask(c - 'a');
        } else if (c >= '1' && c <= '8') {
            from &= RankMask(c - '1');
        } else {
            return NO_MOVE;
        }
    }
    if (from == 0 || (from & (from - 1)) != 0) { return NO_MOVE; }
    return MakeMoveWord(GetLSB(from), to);
}

// The step or double step of a pawn to an empty square, NO_MOVE when there is none; promotions are
// left out.
Move PawnPushTo(const Position* pos, int to) {
    const int step = pawn_dir[pos->side];
    const int rank = RelativeRank(to, pos->side);
    if (pos->board[to] != NO_PIECE || rank <= SECOND_RANK || rank == LAST_RANK) { return NO_MOVE; }
    const int behind = to - step;
    const int pawn = PieceCode(pos->side, PAWN);
    if (pos->board[behind] == pawn) { return MakeMoveWord(behind, to); }
    if (rank != DOUBLE_STEP_RANK || pos->board[behind] != NO_PIECE) { return NO_MOVE; }
    return pos->board[behind - step] == pawn ? MakeMoveWord(behind - step, to) : NO_MOVE;
}

// "e4" and "exd5", without promotions and captures in passing.
Move ReadPawnMove(const Position* pos, std::string_view text) {
    const int to = SquareOfText(text.substr(text.size() - SQUARE_LENGTH));
    if (to == NO_SQUARE || to == pos->ep_square || RankOf(to) == FIRST_RANK ||
        RankOf(to) == LAST_RANK) {
        return NO_MOVE;
    }
    if (text.size() == SQUARE_LENGTH) { return PawnPushTo(pos, to); }
    const int behind = to - pawn_dir[pos->side];
    if (behind < SECOND_RANK_START || behind > SEVENTH_RANK_END) { return NO_MOVE; }
    const int file = text[0] - 'a';
    if (text[1] != 'x' || std::abs(file - FileOf(to)) != 1 ||
        (pos->bb[pos->side ^ 1][0] & Bit(to)) == 0) {
        return NO_MOVE;
    }
    const int from = behind - FileOf(behind) + file;
    return pos->board[from] == PieceCode(pos->side, PAWN) ? MakeMoveWord(from, to) : NO_MOVE;
}

// Castling, "o"s in the text already.
Move ReadCastling(const Position* pos, std::string_view text) {
    if (text != "o-o" && text != "o-o-o") { return NO_MOVE; }
    MoveEntry list[CASTLINGS];
    const MoveEntry* const end = GenerateCastling(pos, pos->side, list);
    for (const MoveEntry* e = list; e != end; ++e) {
        if ((MoveTo(e->move) > MoveFrom(e->move)) == (text == "o-o")) { return e->move; }
    }
    return NO_MOVE;
}

void LowerCastlingLetters(char* text) {
    for (; *text; ++text) {
        if (*text == 'O' || *text == '0') { *text = 'o'; }
    }
}

void SetText(MoveReading* reading, std::string_view text) {
    std::memcpy(reading->text, text.data(), text.size());
    reading->text[text.size()] = '\0';
}

// True when the text is one of the usual spellings of a legal move. It then names that move alone:
// the other spellings of other moves look different.
bool ReadUsualForm(const Position* pos, std::string_view text, MoveReading* reading) {
    const char first = text[0];
    const std::size_t length = text.size();
    SetText(reading, text);
    Move m = NO_MOVE;
    if (length >= SHORTEST_PIECE_MOVE && length <= LONGEST_PIECE_MOVE &&
        PieceTypeOfLetter(first) > PAWN) {
        m = ReadPieceMove(pos, text);
    } else if ((length == SQUARE_LENGTH || length == PAWN_CAPTURE_LENGTH) && first >= 'a' &&
               first <= 'h') {
        m = ReadPawnMove(pos, text);
    } else if (length <= LONGEST_CASTLING && (first == 'O' || first == 'o' || first == '0')) {
        LowerCastlingLetters(reading->text);
        m = ReadCastling(pos, reading->text);
    }
    if (m == NO_MOVE || !MoveIsLegal(pos, pos->side, m)) { return false; }
    reading->move = m;
    return true;
}

// --- reading any spelling: every move that it may name is written and compared ---

bool IsOneOf(const MoveForms& forms, const char* text) {
    return !std::strcmp(text, forms.coord) || !std::strcmp(text, forms.san) ||
           !std::strcmp(text, forms.file_form) || !std::strcmp(text, forms.rank_form);
}

// A piece move without any disambiguation, or with file and rank together.
bool IsLooseForm(const Position* pos, Move m, const char* text) {
    const int from = MoveFrom(m);
    const int type = PieceType(pos->board[from]);
    if (type == PAWN || type == KING) { return false; }
    char tail[MOVE_TEXT_SIZE] = "";
    if (pos->board[MoveTo(m)]) { AppendChar(tail, 'x'); }
    Append(tail, square_name[MoveTo(m)]);
    if (text[0] != wchar[type]) { return false; }
    if (!std::strcmp(text + 1, tail)) { return true; }
    const char* after_origin = text + 1 + SQUARE_LENGTH;
    return !std::strncmp(text + 1, square_name[from], SQUARE_LENGTH) &&
           !std::strcmp(after_origin, tail);
}

// "e7e8q" -> "e7e8=Q", "e8Q" -> "e8=Q". The text has room for one more character.
void SpellOutPromotion(char* text) {
    const std::size_t length = std::strlen(text);
    assert(length >= SQUARE_LENGTH && length < MOVE_TEXT_SIZE - 1);
    const char last = static_cast<char>(std::toupper(static_cast<unsigned char>(text[length - 1])));
    if (std::strchr("BNQR", last) == nullptr) { return; }
    if (text[length - 2] == '=') {
        text[length - 1] = last;
        return;
    }
    text[length - 1] = '=';
    text[length] = last;
    text[length + 1] = '\0';
}

// The last square named in a text is the target of whatever move it spells; NO_SQUARE when none is
// named.
int TargetOfText(std::string_view text) {
    int target = NO_SQUARE;
    for (; text.size() >= SQUARE_LENGTH; text.remove_prefix(1)) {
        const int square = SquareOfText(text);
        if (square != NO_SQUARE) { target = square; }
    }
    return target;
}

// --- the moves that a text can name at all ---

MoveEntry* AddMovesTo(const Position* pos, Bitboard from, int to, MoveEntry* list) {
    while (from != 0) {
        const int square = PopLSB(&from);
        *list++ = {MakeMoveWord(square, to), pos->board[square], pos->board[to], 0};
    }
    return list;
}

// The square `from` when a piece of the side to move stands there, no pawn, that reaches `to`.
Bitboard PieceThatGoes(const Position* pos, int from, int to) {
    if (from == NO_SQUARE || !OwnPieceOn(pos, pos->side, from)) { return 0; }
    const int type = PieceType(pos->board[from]);
    return type == PAWN ? 0 : PiecesThatReach(pos, pos->side, type, to) & Bit(from);
}

// Writes every pseudo-legal move that the text may spell, and some others, each once and in no
// order; returns the end. What spells a piece's move begins with its letter or with the square that
// it leaves, and names its target.
MoveEntry* ListCandidates(const Position* pos, std::string_view text, int target, MoveEntry* list) {
    const int type = PieceTypeOfLetter(text[0]);
    const bool may_go_there = target != NO_SQUARE && (pos->bb[pos->side][0] & Bit(target)) == 0;
    if (type > PAWN) {
        const Bitboard from = may_go_there ? PiecesThatReach(pos, pos->side, type, target) : 0;
        return AddMovesTo(pos, from, target, list);
    }
    MoveEntry* end = GeneratePawnCaptures(pos, pos->side, list);
    end = GeneratePromotions(pos, pos->side, 1, end);
    end = GenerateCastling(pos, pos->side, end);
    if (!may_go_there) { return end; }
    end = AddMovesTo(pos, PieceThatGoes(pos, SquareOfText(text), target), target, end);
    const Move push = PawnPushTo(pos, target);
    return push == NO_MOVE ? end : AddMovesTo(pos, Bit(MoveFrom(push)), target, end);
}

struct Matches {
    int count = 0;
    Move move = NO_MOVE;
    void Add(Move m) {
        ++count;
        move = m;
    }
};

MoveReading ReadAnyForm(const Position* pos, std::string_view text) {
    MoveReading reading;
    SetText(&reading, text);
    // As it stands before a promotion is spelt out: "ab" is a pawn capture.
    char before[MOVE_TEXT_SIZE];
    std::strcpy(before, reading.text);
    SpellOutPromotion(reading.text);
    LowerCastlingLetters(reading.text);
    LowerCastlingLetters(before);
    const int target = TargetOfText(reading.text);
    Matches exact;
    Matches loose;
    bool matched_before = false;
    MoveEntry list[MAX_LIST_SIZE];
    const MoveEntry* const end = ListCandidates(pos, text, target, list);
    for (const MoveEntry* e = list; e != end; ++e) {
        if (target != NO_SQUARE && MoveTo(e->move) != target) { continue; }
        MoveForms forms;
        WriteForms(pos, e->move, &forms);
        const bool as_typed = IsOneOf(forms, before);
        const bool fits = as_typed || IsOneOf(forms, reading.text);
        const bool fits_loosely = !fits && IsLooseForm(pos, e->move, reading.text);
        if ((!fits && !fits_loosely) || !MoveIsLegal(pos, pos->side, e->move)) { continue; }
        if (fits) {
            exact.Add(e->move);
            matched_before = matched_before || as_typed;
        } else {
            loose.Add(e->move);
        }
    }
    if (matched_before) { std::strcpy(reading.text, before); }
    reading.ambiguous = exact.count == AMBIGUOUS_MOVES;
    if (exact.count == 1) {
        reading.move = exact.move;
    } else if (exact.count == 0 && loose.count == 1) {
        reading.move = loose.move;
    }
    return reading;
}

}  // namespace

void MoveToStr(Move m, char* out, MoveStyle style) {
    if (m == NO_MOVE) {
        std::strcpy(out, "null");
        return;
    }
    WriteCoordinates(m, out);
    const char letter = PromotionLetter(m);
    if (letter == '\0') { return; }
    if (style == MoveStyle::Uci) {
        AppendChar(out, static_cast<char>(std::tolower(letter)));
    } else {
        AppendChar(out, '=');
        AppendChar(out, letter);
    }
}

void GenMoveStrings(const Position* pos, Move m, MoveForms* forms) {
    assert(m != NO_MOVE && pos->board[MoveFrom(m)] != NO_PIECE);
    WriteForms(pos, m, forms);
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    const MoveEntry entry = {m, pos->board[from], pos->board[to], 0};
    if (MoveGivesCheck(pos, pos->side, &entry)) {
        for (char* form : {forms->coord, forms->san, forms->file_form, forms->rank_form}) {
            AppendChar(form, '+');
        }
    }
}

MoveReading ReadMove(const Position* pos, std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && text[length] != '\0' && text[length] != '+') { ++length; }
    text = text.substr(0, length);
    // The longest spelling is "e7e8=Q"; a longer text matches nothing.
    if (text.size() < SQUARE_LENGTH || text.size() >= MOVE_TEXT_SIZE - 1) { return {}; }
    if (WhyUnplayable(pos) != nullptr) { return {}; }
    MoveReading reading;
    if (ReadUsualForm(pos, text, &reading)) { return reading; }
    return ReadAnyForm(pos, text);
}

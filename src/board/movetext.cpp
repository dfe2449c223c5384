// Move text: coordinate notation, the four spellings of one move, and the reader that accepts any
// of them.
#include <cctype>
#include <cstring>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/output.h"
#include "frontend/pblock.h"

namespace {

struct PromotionText {
    Move flag;
    char letter;
};
// In the order in which the flags are tested.
constexpr PromotionText promotion_texts[] = {
    {PROMOTE_QUEEN, 'Q'}, {PROMOTE_KNIGHT, 'N'}, {PROMOTE_BISHOP, 'B'}, {PROMOTE_ROOK, 'R'}};

// The four spellings of one move.
struct MoveForms {
    char coord[MOVE_TEXT_SIZE];
    char san[MOVE_TEXT_SIZE];
    char file_form[MOVE_TEXT_SIZE];
    char rank_form[MOVE_TEXT_SIZE];
};

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

// Other men of the mover's kind that reach the target, pinned or not.
Bitboard Rivals(const Position* pos, int colour, int type, int from, int to) {
    const Bitboard occupied = Occupied(pos) | Bit(to);
    Bitboard reach = 0;
    if (type == KNIGHT) { reach = BB_KnightRays[to]; }
    if (type == BISHOP || type == QUEEN) { reach |= GenAttacksB(to, occupied); }
    if (type == ROOK || type == QUEEN) { reach |= GenAttacksR(to, occupied); }
    return reach & pos->bb[colour][type] & ~Bit(from);
}

void WritePieceForms(const Position* pos, Move m, char* san, char* file_form, char* rank_form) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    const int type = PieceType(pos->board[from]);
    if (type == KING && IsTwoFileStep(from, to)) {
        const bool king_side = to > from;
        std::strcpy(san, king_side ? "o-o" : "o-o-o");
        std::strcpy(file_form, king_side ? "O-O" : "O-O-O");
        std::strcpy(rank_form, king_side ? "0-0" : "0-0-0");
        return;
    }
    AppendChar(san, wchar[type]);
    std::strcpy(file_form, san);
    AppendChar(file_form, FileLetter(from));
    std::strcpy(rank_form, san);
    AppendChar(rank_form, RankDigit(from));
    if (const Bitboard rivals = Rivals(pos, PieceColour(pos->board[from]), type, from, to)) {
        std::strcpy(san, rivals & FileMask(FileOf(from)) ? rank_form : file_form);
    }
    for (char* form : {san, file_form, rank_form}) {
        if (pos->board[to]) { AppendChar(form, 'x'); }
        Append(form, square_name[to]);
    }
}

void WritePawnForms(const Position* pos, Move m, char* coord, char* san, char* file_form) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    if (pos->board[to] || to == pos->ep_square) {
        AppendChar(san, FileLetter(from));
        AppendChar(san, 'x');
        AppendChar(file_form, FileLetter(from));
        AppendChar(file_form, FileLetter(to));
    }
    Append(san, square_name[to]);
    if (!IsPromotion(m)) { return; }
    coord[4] = '\0';
    for (char* form : {coord, san, file_form}) {
        AppendChar(form, '=');
        AppendChar(form, PromotionLetter(m));
    }
}

void CutAtCheckSign(char* text) {
    if (char* sign = std::strchr(text, '+')) { *sign = '\0'; }
}

void MakeForms(const Position* pos, Move m, MoveForms* forms) {
    GenMoveStrings(pos, m, forms->coord, forms->san, forms->file_form, forms->rank_form);
    for (char* form : {forms->coord, forms->san, forms->file_form, forms->rank_form}) {
        CutAtCheckSign(form);
    }
}

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
    return !std::strncmp(text + 1, square_name[from], 2) && !std::strcmp(text + 3, tail);
}

// "e7e8q" -> "e7e8=Q", "e8Q" -> "e8=Q". The text has room for one more character.
void SpellOutPromotion(char* text) {
    const std::size_t length = std::strlen(text);
    if (length < 2) { return; }
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

void LowerCastlingLetters(char* text) {
    for (; *text; ++text) {
        if (*text == 'O' || *text == '0') { *text = 'o'; }
    }
}

// The last square named in a text is the target of whatever move it spells; NO_SQUARE when none is
// named.
int TargetOfText(const char* text) {
    int target = NO_SQUARE;
    for (; text[0] && text[1]; ++text) {
        if (text[0] >= 'a' && text[0] <= 'h' && text[1] >= '1' && text[1] <= '8') {
            target = 8 * (text[1] - '1') + text[0] - 'a';
        }
    }
    return target;
}

// Cheap test that spares most moves the writing of their texts: may the text spell this move at
// all?
bool MaySpell(const Position* pos, Move m, int target) {
    if (target != NO_SQUARE) { return MoveTo(m) == target; }
    // No square named: castling, a short pawn capture or a bare promotion suffix.
    const int type = PieceType(pos->board[MoveFrom(m)]);
    return type == PAWN || type == KING;
}

struct Matches {
    int count = 0;
    Move move = NO_MOVE;
    void Add(Move m) {
        ++count;
        move = m;
    }
};

}  // namespace

void MoveToStr(Move m, char* out) {
    if (m == NO_MOVE) {
        std::strcpy(out, "null");
        return;
    }
    std::strcpy(out, square_name[MoveFrom(m)]);
    Append(out, square_name[MoveTo(m)]);
    const char letter = PromotionLetter(m);
    if (letter == '\0') { return; }
    if (PBlock.options.protocol == PROTOCOL_UCI) {
        AppendChar(out, static_cast<char>(std::tolower(letter)));
    } else {
        AppendChar(out, '=');
        AppendChar(out, letter);
    }
}

void GenMoveStrings(const Position* pos, Move m, char* coord, char* san, char* file_form,
                    char* rank_form) {
    MoveToStr(m, coord);
    for (char* form : {san, file_form, rank_form}) { form[0] = '\0'; }
    const u8 mover = pos->board[MoveFrom(m)];
    if (PieceType(mover) == PAWN) {
        WritePawnForms(pos, m, coord, san, file_form);
    } else {
        WritePieceForms(pos, m, san, file_form, rank_form);
    }
    const MoveEntry entry = {m, mover, pos->board[MoveTo(m)], 0};
    if (MoveGivesCheck(pos, pos->side, &entry)) {
        for (char* form : {coord, san, file_form, rank_form}) { AppendChar(form, '+'); }
    }
}

int IsValidMove(char* text, Move* out) {
    *out = NO_MOVE;
    CutAtCheckSign(text);
    const std::size_t length = std::strlen(text);
    // The longest spelling is "e7e8=Q"; a longer text cannot match and would not fit the copy
    // below.
    if (length < 2 || length >= MOVE_TEXT_SIZE - 1) { return 0; }
    char before[MOVE_TEXT_SIZE];  // as it stands before a promotion is spelt out: "ab" is a pawn
                                  // capture
    std::strcpy(before, text);
    SpellOutPromotion(text);
    LowerCastlingLetters(text);
    LowerCastlingLetters(before);

    Position* pos = game_position;
    if (WhyUnplayable(pos) != nullptr) { return 0; }
    GenerateAll(pos);
    const int target = TargetOfText(text);
    Matches exact;
    Matches loose;
    bool matched_before = false;
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        if (!MaySpell(pos, e->move, target)) { continue; }
        MoveForms forms;
        MakeForms(pos, e->move, &forms);
        const bool as_typed = IsOneOf(forms, before);
        const bool fits = as_typed || IsOneOf(forms, text);
        const bool fits_loosely = !fits && IsLooseForm(pos, e->move, text);
        if ((!fits && !fits_loosely) || !MoveIsLegal(pos, pos->side, e->move)) { continue; }
        if (fits) {
            exact.Add(e->move);
            matched_before = matched_before || as_typed;
        } else {
            loose.Add(e->move);
        }
    }
    if (matched_before) { std::strcpy(text, before); }
    if (exact.count == 2) { ShowMessage("ambiguous move"); }
    if (exact.count == 1) {
        *out = exact.move;
        return 1;
    }
    if (exact.count == 0 && loose.count == 1) {
        *out = loose.move;
        return 1;
    }
    return 0;
}

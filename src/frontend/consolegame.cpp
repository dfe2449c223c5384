// Console commands that change the game and the position: setting up, moving, taking back, editing.

#include <algorithm>
#include <string>
#include <string_view>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/position.h"
#include "board/zobrist.h"
#include "book/gamemove.h"
#include "eval/evaluate.h"
#include "frontend/commandloop.h"
#include "frontend/consolecommands.h"
#include "frontend/input.h"
#include "frontend/output.h"
#include "frontend/report.h"
#include "search/threads.h"

// ---- the game record ----

RecordKeeper::RecordKeeper() : first_(game_position->hist_count) {
    for (int i = first_; i < MAX_UNDO_RECORDS; ++i) {
        moves_[static_cast<std::size_t>(i)] = game_position->undo[i].move;
    }
}

RecordKeeper::~RecordKeeper() {
    for (int i = first_; i < MAX_UNDO_RECORDS; ++i) {
        game_position->undo[i].move = moves_[static_cast<std::size_t>(i)];
    }
}

void EndGameRecord() {
    for (int i = game_position->hist_count; i < MAX_UNDO_RECORDS; ++i) {
        game_position->undo[i].move = NO_MOVE;
    }
}

void TakeBackAll() {
    while (game_position->hist_count > 0) { TakeBackGameMove(game_position); }
}

void NewGamePosition(const char* fen) {
    SetUpGame(fen);
    EndGameRecord();
}

namespace {

// The next move of the record, 0 when there is none.
Move NextRecordedMove() {
    const Position* pos = game_position;
    if (pos->hist_count >= GAME_HISTORY_LIMIT) { return NO_MOVE; }
    const Move m = pos->undo[pos->hist_count].move;
    return IsLegalMove(pos, m) ? m : NO_MOVE;
}

void PlayNewMove(Move m) {
    PlayGameMove(game_position, m);
    EndGameRecord();
}

int MoveNumber() { return game_position->hist_count / 2 + 1; }

// The board, or the evaluation while debugging.
void ShowPosition() {
    if (PBlock.options.debug != 0 && WhyUnplayable(game_position) == nullptr) {
        ShowEvaluation();
    } else {
        ShowBoard(game_position);
    }
}

}  // namespace

// ---- game and position ----

void NewCommand(const Command&) {
    LeaveGame();
    NewGamePosition(fen_opn);
    PBlock.control.computer = NO_COMPUTER;
    PBlock.time.ResetClocks();
    ShowBoard(game_position);
}

void FenCommand(const Command& c) {
    constexpr std::size_t FEN_START = 4;  // after "fen "
    LeaveGame();
    NewGamePosition(c.line.size() > FEN_START ? c.line.c_str() + FEN_START : "");
    ShowBoard(game_position);
}

// The evaluation would need the record of a thread that searches.
void BoardCommand(const Command&) {
    if (BusyThreads() > 0) {
        ShowBoard(game_position);
    } else {
        ShowPosition();
    }
}

void BoardStyleCommand(const Command& c) {
    if (c.word[1] == "style" && c.word[2] == "ascii") {
        PBlock.options.board_style = BoardStyle::Ascii;
    } else if (c.word[1] == "style" && c.word[2] == "symbols") {
        PBlock.options.board_style = BoardStyle::Symbols;
    } else {
        ShowMessage("board style ascii, or board style symbols");
        return;
    }
    ShowBoard(game_position);
}

void UndoCommand(const Command&) {
    LeaveGame();
    if (game_position->hist_count > 0) { TakeBackGameMove(game_position); }
    ShowPosition();
}

void RedoCommand(const Command&) {
    LeaveGame();
    const Move m = NextRecordedMove();
    if (m != NO_MOVE) {
        char text[MOVE_TEXT_SIZE];
        MoveToStr(m, text, TextStyle());
        ShowMessageF("%d. move %s", MoveNumber(), text);
        PlayGameMove(game_position, m);
    }
    ShowPosition();
}

void JumpCommand(const Command& c) {
    EndSelfPlay();
    const int plies = AnyNumber(c.word[1]);
    TakeBackAll();
    while (game_position->hist_count < plies) {
        const Move m = NextRecordedMove();
        if (m == NO_MOVE) { break; }
        PlayGameMove(game_position, m);
    }
    ShowBoard(game_position);
}

void EnterMove(const std::string& typed) {
    if (typed.empty() || WhyUnplayable(game_position) != nullptr) { return; }
    Move m;
    if (!IsValidMove(typed, &m)) { return; }
    LeaveGame();
    ShowMessageF("%d. move %s", MoveNumber(), typed.c_str());
    PlayNewMove(m);
    ShowPosition();
}

void MoveCommand(const Command& c) { EnterMove(c.word[1]); }

// ---- "edit" ----

namespace {

constexpr int EDIT_LINE_SIZE = 78;  // with the NUL

constexpr const char* edit_help[] = {
    ".                    end edit",
    "#                    clear board",
    "w  Pa2 Pb2 Kc2       white, pieces",
    "b  Pa7 Pb7 Kc7       black, pieces",
};

void ClearEditedBoard() {
    SetPosition(game_position, "8/8/8/8/8/8/8/8");  // keeps the side to move
    game_position->castle = WHITE_KING_SIDE | WHITE_QUEEN_SIDE | BLACK_KING_SIDE | BLACK_QUEEN_SIDE;
}

// Puts the piece of one word ("Pa2") on its square; false when that lies off the board.
[[nodiscard]] bool PlaceEditedPiece(int colour, std::string_view word) {
    const int square = SquareOfText(word.substr(1));
    if (square == NO_SQUARE) { return false; }
    Position* pos = game_position;
    int any_colour = WHITE;
    const int type = PieceTypeOfLetter(word[0], &any_colour);
    if (type == NO_PIECE) { return true; }
    if (pos->board[square] != NO_PIECE) { RemovePiece(pos, square); }
    if (CountBits(pos->bb[colour][type]) < MAX_PIECES_OF_A_KIND) {
        AddPiece(pos, colour, type, square);
    }
    return true;
}

// The first word of a text, which it takes away; empty at the end.
std::string_view TakeWord(std::string_view* text) {
    constexpr std::string_view BETWEEN_WORDS = " \t";
    text->remove_prefix(std::min(text->find_first_not_of(BETWEEN_WORDS), text->size()));
    const std::string_view word = text->substr(0, text->find_first_of(BETWEEN_WORDS));
    text->remove_prefix(word.size());
    return word;
}

void EditLine(std::string_view line) {
    if (line.starts_with('#')) {
        ClearEditedBoard();
        return;
    }
    std::string_view word = TakeWord(&line);
    if (!word.starts_with('w') && !word.starts_with('b')) { return; }
    const int colour = word[0] == 'w' ? WHITE : BLACK;
    game_position->side = static_cast<u8>(colour);
    game_position->ep_square = NO_SQUARE;  // the double push is no longer the last move
    while (!(word = TakeWord(&line)).empty()) {
        if (!PlaceEditedPiece(colour, word)) { return; }
    }
}

// Takes away the castling rights that the pieces do not bear out, and makes the board the start of
// a game.
void FinishEdit() {
    constexpr int RIGHTS_OF_A_SIDE = 2;  // bits
    constexpr int CLEARED_RECORDS = 2;
    Position* pos = game_position;
    for (int colour = 0; colour < 2; ++colour) {
        const int king = init_king_sq[colour];
        const int rook_code = PieceCode(colour, ROOK);
        const bool at_home = pos->board[king] == PieceCode(colour, KING);
        int lost = 0;
        if (!at_home || pos->board[king + KING_SIDE_ROOK] != rook_code) { lost |= WHITE_KING_SIDE; }
        if (!at_home || pos->board[king + QUEEN_SIDE_ROOK] != rook_code) {
            lost |= WHITE_QUEEN_SIDE;
        }
        pos->castle = static_cast<u8>(pos->castle & ~(lost << (RIGHTS_OF_A_SIDE * colour)));
    }
    SetHash(pos);
    pos->hist_count = 0;
    pos->ply = 1;
    pos->last_move = NO_MOVE;
    std::fill(pos->undo, pos->undo + CLEARED_RECORDS, UndoRecord{});
    EndGameRecord();
    ShowBoard(pos);
}

}  // namespace

void EditCommand(const Command&) {
    LeaveGame();
    for (const char* help : edit_help) { ShowMessage(help); }
    char line[EDIT_LINE_SIZE];
    while (ReadInputLine(line, sizeof line) && line[0] != '.') { EditLine(line); }
    FinishEdit();
}

// The console command language: one complete line in, its effect on the game position (slot 0) and
// on PBlock, its answer through the message output. Everything of start-up must have run. Front-end
// thread only; search threads may be busy, so a command that replaces what they read (the
// parameters, the records that a tool searches with) ends their search first. A request for another
// search waits until the search that runs has ended.
//
// The game record: the move words of the undo records from hist_count on are the moves that were
// taken back and can be replayed, ended by 0. Whatever makes trial moves on the game position keeps
// them with a RecordKeeper; a new move ends the record behind it.

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/position.h"
#include "board/trace.h"
#include "board/zobrist.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "eval/evaluate.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/frontend.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/report.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "platform/textlines.h"
#include "platform/words.h"
#include "search/perft.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/ttable.h"
#include "tune/tune.h"

namespace {

constexpr int MAX_WORDS = 10;   // the command word and nine arguments
constexpr int WORD_SIZE = 128;  // with the NUL

constexpr int MAX_PERFT_DEPTH = 20;
constexpr int EPD_LINE_SHOWN = 254;       // characters of a line of "test.epd" that are printed
constexpr int EPD_LINE_WITH_BOARD = 9;    // a shorter one is no position
constexpr int GAME_NUMBER_MAX = 1000;     // "load" takes a larger number for 1
constexpr int PGN_MOVE_LENGTH = 32;       // characters of a move in a game file
constexpr int SAVED_MOVES_PER_LINE = 11;  // of "save"
constexpr int EDIT_LINE_LENGTH = 77;
constexpr int PV_MAX_PLY = 66;

// A command line taken apart. Missing words are empty.
struct Command {
    const char* line;
    char word[MAX_WORDS][WORD_SIZE];
};

// Splits at every single blank; what is too long is cut.
void SplitWords(const char* line, Command* command) {
    command->line = line;
    for (auto& word : command->word) { word[0] = '\0'; }
    const char* start = line;
    for (int i = 0; i < MAX_WORDS; ++i) {
        const char* end = std::strchr(start, ' ');
        const std::size_t length =
            end == nullptr ? std::strlen(start) : static_cast<std::size_t>(end - start);
        const std::size_t kept = std::min<std::size_t>(length, WORD_SIZE - 1);
        std::memcpy(command->word[i], start, kept);
        command->word[i][kept] = '\0';
        if (end == nullptr) { return; }
        start = end + 1;
    }
}

// Number of a word, 0 without one; too large ones stop at the ends of int.
int AnyNumber(const char* word) { return WholeNumber(word, INT_MIN, INT_MAX); }

// ---- the running search ----

void AbandonSearch() { PBlock.control.stop = STOP_ABANDON; }

// A command changes the game: a self-play game does not go on from there.
void LeaveGame() {
    EndSelfPlay();
    AbandonSearch();
}

// A command that prepares a search of its own. InitSearch takes over a waiting request as the state
// of the search and clears the published line: the request is held back meanwhile, and the line of
// the last search comes back.
class OwnSearch {
public:
    OwnSearch() {
        FinishSearch();
        request_ = PBlock.control.start_request;
        kept_ = PBlock.result.Snapshot();
        PBlock.control.start_request = SEARCH_IDLE;
    }
    ~OwnSearch() {
        PBlock.control.start_request = request_;
        PBlock.result.PublishSnapshot(kept_);
    }
    OwnSearch(const OwnSearch&) = delete;
    OwnSearch& operator=(const OwnSearch&) = delete;

private:
    u8 request_;
    ResultSnapshot kept_;
};

// False, and one line that says why, when the game position cannot be searched or evaluated.
bool PositionIsPlayable() {
    const char* why = WhyUnplayable(game_position);
    if (why == nullptr) { return true; }
    ShowMessage(why);
    return false;
}

// ---- the game record ----

class RecordKeeper {
public:
    explicit RecordKeeper(Position* pos) : pos_(pos), first_(pos->hist_count) {
        for (int i = first_; i < MAX_UNDO_RECORDS; ++i) { moves_[i] = pos->undo[i].move; }
    }
    ~RecordKeeper() {
        for (int i = first_; i < MAX_UNDO_RECORDS; ++i) { pos_->undo[i].move = moves_[i]; }
    }
    RecordKeeper(const RecordKeeper&) = delete;
    RecordKeeper& operator=(const RecordKeeper&) = delete;

private:
    Position* pos_;
    int first_;
    Move moves_[MAX_UNDO_RECORDS];
};

// Nothing can be replayed behind the current position any more.
void EndGameRecord() {
    for (int i = game_position->hist_count; i < MAX_UNDO_RECORDS; ++i) {
        game_position->undo[i].move = NO_MOVE;
    }
}

// The next move of the record, 0 when there is none.
Move NextRecordedMove() {
    const Position* pos = game_position;
    if (pos->hist_count >= GAME_HISTORY_LIMIT) { return NO_MOVE; }
    const Move m = pos->undo[pos->hist_count].move;
    return m != NO_MOVE && MoveIsPseudoLegal(pos, m) && MoveIsLegal(pos, pos->side, m) ? m
                                                                                       : NO_MOVE;
}

void TakeBackAll() {
    while (game_position->hist_count > 0) { TakeBackGameMove(game_position); }
}

void NewGamePosition(const char* fen) {
    SetPosition(game_position, fen);
    EndGameRecord();
}

void PlayNewMove(Move m) {
    PlayGameMove(game_position, m);
    EndGameRecord();
}

int MoveNumber() { return game_position->hist_count / 2 + 1; }

// ---- showing ----

void ShowEvaluation() {
    const OwnSearch own;
    ShowEvalInfo();
}

// The board, or the evaluation while debugging.
void ShowPosition() {
    if (PBlock.options.debug != 0 && WhyUnplayable(game_position) == nullptr) {
        ShowEvaluation();
    } else {
        ShowBoard(game_position);
    }
}

// ---- game and position ----

void NewCommand(const Command&) {
    LeaveGame();
    NewGamePosition(fen_opn);
    PBlock.control.computer = NO_COMPUTER;
    PBlock.time.clock[WHITE] = PBlock.time.clock[BLACK] = PBlock.time.base_time;
    ShowBoard(game_position);
}

void FenCommand(const Command& c) {
    constexpr std::size_t FEN_START = 4;  // behind "fen "
    LeaveGame();
    NewGamePosition(std::strlen(c.line) > FEN_START ? c.line + FEN_START : "");
    ShowBoard(game_position);
}

void BoardCommand(const Command&) { ShowPosition(); }

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

// A word of the user that should be a move.
void EnterMove(const char* typed) {
    if (typed[0] == '\0' || WhyUnplayable(game_position) != nullptr) { return; }
    Move m;
    if (!IsValidMove(typed, &m)) { return; }
    LeaveGame();
    FinishSearch();
    ShowMessageF("%d. move %s", MoveNumber(), typed);
    PlayNewMove(m);
    ShowPosition();
}

void MoveCommand(const Command& c) { EnterMove(c.word[1]); }

// The first line that carries the wanted id; empty when there is none.
std::string FindEpdLine(LineReader* reader, const char* id) {
    const std::string wanted = std::string("id \"") + id + '"';
    TextLine line;
    while (ReadLine(reader, &line)) {
        if (line.text[0] == ';' || line.text[0] == ' ') { continue; }
        if (std::strstr(line.text, wanted.c_str()) == nullptr) { continue; }
        return std::string(line.text, std::strcspn(line.text, "\r")).substr(0, EPD_LINE_SHOWN);
    }
    return "";
}

void GetCommand(const Command& c) {
    LeaveGame();
    LineReader reader;
    if (!OpenLines(&reader, "test.epd")) { return; }
    const std::string line = FindEpdLine(&reader, c.word[1]);
    CloseLines(&reader);
    ShowMessage(line.c_str());
    if (line.size() >= EPD_LINE_WITH_BOARD) { NewGamePosition(line.c_str()); }
    FinishSearch();
    ClearTTable();
    ShowBoard(game_position);
}

// ---- "edit" ----

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
bool PlaceEditedPiece(int colour, const char* word) {
    const int square = SquareOfText(word + 1);
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

void EditLine(char* line) {
    if (line[0] == '#') {
        ClearEditedBoard();
        return;
    }
    const char* word = std::strtok(line, " \t\r");
    if (word == nullptr || (word[0] != 'w' && word[0] != 'b')) { return; }
    const int colour = word[0] == 'w' ? WHITE : BLACK;
    game_position->side = static_cast<u8>(colour);
    game_position->ep_square = NO_SQUARE;  // the double push is no longer the last move
    while ((word = std::strtok(nullptr, " \t\r")) != nullptr) {
        if (!PlaceEditedPiece(colour, word)) { return; }
    }
}

// Takes away the castling rights that the pieces do not bear out, and makes the board the start of
// a game.
void FinishEdit() {
    Position* pos = game_position;
    for (int colour = 0; colour < 2; ++colour) {
        const int king = init_king_sq[colour];
        const int rook_code = PieceCode(colour, ROOK);
        const bool at_home = pos->board[king] == PieceCode(colour, KING);
        int lost = 0;
        if (!at_home || pos->board[king + 3] != rook_code) { lost |= WHITE_KING_SIDE; }
        if (!at_home || pos->board[king - 4] != rook_code) { lost |= WHITE_QUEEN_SIDE; }
        pos->castle = static_cast<u8>(pos->castle & ~(lost << (2 * colour)));
    }
    SetHash(pos);
    pos->hist_count = 0;
    pos->ply = 1;
    pos->last_move = NO_MOVE;
    std::fill(pos->undo, pos->undo + 2, UndoRecord{});
    EndGameRecord();
    ShowBoard(pos);
}

void EditCommand(const Command&) {
    LeaveGame();
    FinishSearch();
    for (const char* help : edit_help) { ShowMessage(help); }
    char line[EDIT_LINE_LENGTH + 1];
    while (ReadInputLine(line, sizeof line) && line[0] != '.') { EditLine(line); }
    FinishEdit();
}

// ---- searching and its limits ----

void ForceCommand(const Command&) {
    LeaveGame();
    PBlock.control.computer = NO_COMPUTER;
}

void QuitCommand(const Command&) {
    AbandonSearch();
    PBlock.control.quit = 1;
}

void GoCommand(const Command& c) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    const int depth = AnyNumber(c.word[1]);
    const bool limited = depth >= 0 && depth < MAX_DEPTH;
    const int max_depth = limited ? depth : MAX_DEPTH;
    RequestSearch({.kind = SEARCH_ANALYSE, .max_depth = static_cast<i8>(max_depth)});
}

void AnalyseCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    PBlock.options.noise = 0.0;
    PBlock.control.computer = NO_COMPUTER;
    RequestSearch({.kind = SEARCH_ANALYSE, .max_depth = MAX_DEPTH});
}

void StopCommand(const Command&) { AbandonSearch(); }

void ThinkCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    EndSelfPlay();
    PBlock.control.computer = game_position->side;
    RequestSearch({.kind = SEARCH_THINK});
}

void SelfPlayCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    if (PBlock.control.selfplay) { return; }
    EndGameRecord();
    PBlock.options.ponder = 0;
    RequestSearch({.kind = SEARCH_THINK, .selfplay = true});
}

// "40 5:00 2": moves, minutes and seconds or seconds alone, increment.
void LevelCommand(const Command& c) {
    const char* base = c.word[2];
    const char* colon = std::strchr(base, ':');
    const double seconds =
        colon == nullptr ? DecimalNumber(base) : 60.0 * AnyNumber(base) + DecimalNumber(colon + 1);
    PBlock.time.moves_per_control = static_cast<u8>(AnyNumber(c.word[1]));
    PBlock.time.base_time = seconds;
    PBlock.time.increment = DecimalNumber(c.word[3]);
    PBlock.time.clock[WHITE] = PBlock.time.clock[BLACK] = seconds;
    ShowMessageF("set level to %d moves in %0.2f seconds, inc %0.2f", PBlock.time.moves_per_control,
                 seconds, PBlock.time.increment);
}

void DepthCommand(const Command& c) {
    PBlock.limits.max_depth = static_cast<i8>(WholeNumber(c.word[1], 0, MAX_DEPTH));
}

void TimeCommand(const Command& c) {
    if (PBlock.control.computer == WHITE || PBlock.control.computer == BLACK) {
        PBlock.time.clock[PBlock.control.computer] = DecimalNumber(c.word[1]);
    }
}

u16 SmallNumber(const char* word) { return static_cast<u16>(WholeNumber(word, 0, USHRT_MAX)); }

void PonderCommand(const Command& c) { PBlock.options.ponder = SmallNumber(c.word[1]); }
void NoiseCommand(const Command& c) { PBlock.options.noise = DecimalNumber(c.word[1]); }
void DebugCommand(const Command& c) { PBlock.options.debug = SmallNumber(c.word[1]); }

void MultiPvCommand(const Command& c) {
    PBlock.options.multipv = static_cast<u16>(WholeNumber(c.word[1], 1, MAX_MULTIPV));
}

void HashCommand(const Command& c) {
    PBlock.options.hash_mode = static_cast<u8>(WholeNumber(c.word[1], 0, UCHAR_MAX));
}

void TraceCommand(const Command& c) {
    SetTraceStyle(TextStyle());
    PBlock.options.trace = SmallNumber(c.word[1]);
}

// ---- selectivity and parameters ----

struct SelectivitySwitch {
    const char* name;
    u8 PersonalityRecord::*field;
    u8 off;  // its value while all selective pruning is off
};
constexpr SelectivitySwitch selectivity_switches[] = {
    {"NMP_depth", &PersonalityRecord::NMP_depth, 99},
    {"CNP_depth", &PersonalityRecord::CNP_depth, 0},
    {"LMP_depth", &PersonalityRecord::LMP_depth, 0},
    {"LMR_depth", &PersonalityRecord::LMR_depth, 99},
};

void SetCommand(const Command& c) {
    FinishSearch();
    const char* name = c.word[1];
    for (const SelectivitySwitch& s : selectivity_switches) {
        if (std::strcmp(name, s.name) != 0) { continue; }
        Personality.*s.field = static_cast<u8>(AnyNumber(c.word[2]));
        ShowMessageF("%s set to %d", name, Personality.*s.field);
        return;
    }
    if (std::strcmp(name, "ss_off") == 0) {
        for (const SelectivitySwitch& s : selectivity_switches) { Personality.*s.field = s.off; }
        ShowMessage("selectivity set to OFF");
    } else {
        Personality = DefaultPersonality;
        ShowMessage("selectivity set to default");
    }
}

struct SquareTable {
    const i16* table;
    const char* title;
};
constexpr SquareTable square_tables[] = {
    {PawnOpening, "PawnOpening"},     {PawnEnding, "PawnEnding"},
    {KnightOpening, "KnightOpening"}, {KnightEnding, "KnightEnding"},
    {BishopOpening, "BishopOpening"}, {BishopEnding, "BishopEnding"},
    {RookOpening, "RookOpening"},     {RookEnding, "RookEnding"},
    {QueenOpening, "QueenOpening"},   {QueenEnding, "QueenEnding"},
    {KingOpening, "KingOpening"},     {KingEnding, "KingEnding"},
};

void ParametersCommand(const Command&) {
    constexpr int SHOWN_DANGERS = 32;
    constexpr int SHOWN_MOBILITIES = 15;
    PrintDirect("piece values=  %d/%d  %d/%d  %d/%d  %d/%d  %d/%d\n", MtlPawnOp[1], MtlPawnEn[1],
                MtlKnightOp[1], MtlKnightEn[1], MtlBishopOp[1], MtlBishopEn[1], MtlRookOp[1],
                MtlRookEn[1], MtlQueenOp[1], MtlQueenEn[1]);
    for (int i = 0; i < SHOWN_DANGERS; ++i) {
        PrintDirect("i=%2d, kdngr= %3d\n", i, KingDanger[i]);
    }
    for (int i = 0; i < SHOWN_MOBILITIES; ++i) {
        PrintDirect("%3d  nmob= %3d  bmob=%3d  rmob=%3d  qmob= %3d\n", i, KnightMobility[i],
                    BishopMobility[i], RookMobility[i], QueenMobility[i]);
    }
    for (int rank = 1; rank <= 8; ++rank) {
        PrintDirect("rank=%d,  ppadv=%3d\n", rank, PP_BONUS[rank - 1]);
    }
    PrintDirect("pawn_shield= %d\n", Personality.pawn_shield);
    PrintDirect("pawn_storm= %d\n", Personality.pawn_storm);
    PrintDirect("hung= %d\n", Personality.hung);
    PrintDirect("pinned= %d\n", Personality.pinned);
    for (const SquareTable& t : square_tables) { PrintPSQTable(t.table, t.title); }
    PrintDirect("\n");
}

void ReductionsCommand(const Command&) {
    constexpr int SHOWN_DEPTHS = 30;
    for (const auto& layer : Personality.LMR_table) {
        for (int depth = 1; depth <= SHOWN_DEPTHS; ++depth) {
            std::string row;
            for (int i = 0; i < LMR_MOVES; ++i) { row += std::to_string(layer[depth][i]) + ' '; }
            PrintDirect("%2d  %s\n", depth, row.c_str());
        }
        PrintDirect("\n");
    }
}

// ---- looking into the engine ----

void EvaluationCommand(const Command&) {
    if (PositionIsPlayable()) { ShowEvaluation(); }
}

// Copies the published line when the search it comes from is, or was, one of the game position.
void CopySearchLine(Move* line) {
    const ResultSnapshot result = PBlock.result.Snapshot();
    if (result.searched_key == SearchKey(game_position)) {
        std::copy(std::begin(result.pv), std::end(result.pv), line);
    }
}

void LineCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    Position* pos = game_position;
    const RecordKeeper keep(pos);
    Move line[PV_SIZE + 2] = {};
    CopySearchLine(line);
    RetrievePV(ThreadData[0], 1, line);
    std::string text;
    int made = 0;
    for (int ply = 1; ply <= PV_MAX_PLY; ++ply) {
        const Move m = line[ply];
        if (m == NO_MOVE || !MoveIsPseudoLegal(pos, m) || !MoveIsLegal(pos, pos->side, m)) {
            break;
        }
        MoveForms forms;
        GenMoveStrings(pos, m, &forms);
        text += forms.san;
        text += ' ';
        MakeMove(pos, m);
        ++made;
    }
    PrintDirect("PV: %s\n\n", text.c_str());
    ShowBoard(pos);
    while (made-- > 0) { UnmakeMove(pos); }
}

void BookCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    const RecordKeeper keep(game_position);
    ChooseBookMove(game_position, 1);
    ShowMessage("");
}

void PerftCommand(const Command& c) {
    if (!PositionIsPlayable()) { return; }
    const OwnSearch own;
    const RecordKeeper keep(game_position);
    InitSearch();
    ThreadBlock* tb = ThreadData[0];
    const double start = MonotonicSeconds();
    const int complete = Perft(tb, WholeNumber(c.word[1], 0, MAX_PERFT_DEPTH));
    const double seconds = MonotonicSeconds() - start;
    const double nodes = static_cast<double>(tb->nodes.Get());
    if (InterruptSeen()) {
        ShowMessage("interrupted: the count is incomplete");
    } else if (!complete) {
        ShowMessage("too many moves for the move buffer: the count is incomplete");
    }
    ShowMessageF("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", nodes, seconds,
                 nodes / (seconds + 0.001));
}

void SwapCommand(const Command&) {
    if (!PositionIsPlayable()) { return; }
    Position* pos = game_position;
    Bitboard pieces = Occupied(pos);
    while (pieces != 0) {
        const int square = PopLSB(&pieces);
        const int enemy = PieceColour(pos->board[square]) ^ 1;
        const int value = swapoff1(pos, enemy, NO_SQUARE, square, Occupied(pos));
        if (value != 0) { PrintDirect("sq= %s, swap= %d\n", square_name[square], value); }
    }
}

// ---- files ----

constexpr const char* GAME_START = "[Event ";

bool StartsGame(const TextLine& line) { return std::strstr(line.text, GAME_START) != nullptr; }

// Moves the reader to the start of the wanted game; false when the file has no such game. A file
// without any event tag is one game.
bool FindGame(LineReader* reader, const char* tag) {
    const bool by_number = tag[0] == '\0' || std::isdigit(static_cast<unsigned char>(tag[0]));
    int wanted = by_number ? AnyNumber(tag) : 0;
    if (by_number && (wanted < 1 || wanted > GAME_NUMBER_MAX)) { wanted = 1; }
    u64 game_start = reader->offset;
    int games = 0;
    TextLine line;
    while (ReadLine(reader, &line)) {
        if (StartsGame(line)) {
            game_start = line.offset;
            if (++games == wanted) { return SeekLine(reader, game_start); }
        }
        if (!by_number && std::strstr(line.text, tag) != nullptr) {
            return SeekLine(reader, game_start);
        }
    }
    return games == 0 && wanted == 1 && SeekLine(reader, game_start);
}

// What is open at the end of a line of a game.
struct GameTextState {
    bool in_comment = false;       // in braces
    bool in_line_comment = false;  // behind a semicolon
    int variations = 0;            // depth of parentheses
};

// Plays one word of a game's text, from its first letter on. False when it is no legal move.
bool PlayGameWord(const std::string& word) {
    const auto letter = std::find_if(word.begin(), word.end(), [](char c) {
        return std::isalpha(static_cast<unsigned char>(c)) != 0;
    });
    if (letter == word.end()) { return true; }
    const std::string text(letter,
                           letter + std::min<std::ptrdiff_t>(word.end() - letter, PGN_MOVE_LENGTH));
    Move m;
    if (IsValidMove(text, &m)) {
        PlayGameMove(game_position, m);
        return true;
    }
    ShowMessageF("can't parse move '%s'", text.c_str());
    return false;
}

// Plays the moves of one line, without comments and variations. False at a move that is not legal.
bool PlayGameLine(const TextLine& line, GameTextState* state) {
    std::string word;
    for (const char c : std::string_view(line.text, line.length)) {
        if (state->in_line_comment) { return true; }
        if (state->in_comment) {
            state->in_comment = c != '}';
            continue;
        }
        const bool plain =
            static_cast<unsigned char>(c) > ' ' && std::strchr("{};()", c) == nullptr;
        if (plain && state->variations == 0) { word += c; }
        if (plain) { continue; }
        if (!word.empty() && !PlayGameWord(word)) { return false; }
        word.clear();
        if (c == ';') { state->in_line_comment = true; }
        if (c == '{') { state->in_comment = true; }
        if (c == '(') { ++state->variations; }
        if (c == ')' && state->variations > 0) { --state->variations; }
    }
    return word.empty() || PlayGameWord(word);
}

void PlayGame(LineReader* reader) {
    GameTextState state;
    TextLine line;
    for (bool first = true; ReadLine(reader, &line); first = false) {
        if (!first && StartsGame(line)) { return; }
        if (line.starts_line) { state.in_line_comment = false; }
        const bool skipped =
            line.starts_line && !state.in_comment && (line.text[0] == '[' || line.text[0] == '%');
        if (!skipped && !PlayGameLine(line, &state)) { return; }
    }
}

void LoadCommand(const Command& c) {
    ShowMessageF("loading %s, tag %s\n", c.word[1], c.word[2]);
    LineReader reader;
    if (OpenLines(&reader, c.word[1])) {
        EndSelfPlay();
        NewGamePosition(fen_opn);
        if (FindGame(&reader, c.word[2])) { PlayGame(&reader); }
        CloseLines(&reader);
        EndGameRecord();
        ShowBoard(game_position);
    }
    PBlock.time.clock[WHITE] = PBlock.time.clock[BLACK] = PBlock.time.base_time;
}

void SaveCommand(const Command&) {
    std::FILE* out = std::fopen("tmp.pgn", "a");
    if (out == nullptr) { return; }
    Position* pos = game_position;
    const int moves = pos->hist_count;
    TakeBackAll();
    std::fputs("[Event \"Unknown\"]\n", out);
    for (int i = 1; i <= moves; ++i) {
        const Move m = pos->undo[pos->hist_count].move;
        MoveForms forms;
        GenMoveStrings(pos, m, &forms);
        std::fprintf(out, i % SAVED_MOVES_PER_LINE == 0 ? "%s \n" : "%s ", forms.san);
        PlayGameMove(pos, m);
    }
    std::fputs("\n\n", out);
    std::fclose(out);
}

void MakeBookCommand(const Command&) {
    EndSelfPlay();
    MakeBook();
    EndGameRecord();
}

void TuneWeightCommand(const Command& c) {
    if (c.word[1][0] == '\0' || c.word[2][0] == '\0') { return; }
    EndSelfPlay();
    const OwnSearch own;
    TuneCommand(c.word[1], c.word[2]);
    EndGameRecord();
}

// ---- dispatch ----

struct ConsoleWord {
    const char* name;
    void (*run)(const Command&);
    bool anywhere = false;  // the name may stand anywhere in the word
};

// In the order in which they are tried.
constexpr ConsoleWord console_words[] = {
    {"new", NewCommand},
    {"fen", FenCommand},
    {"force", ForceCommand},
    {"quit", QuitCommand},
    {"go", GoCommand},
    {"an", AnalyseCommand},
    {".", StopCommand},
    {"mv", ThinkCommand},
    {"bd", BoardCommand},
    {"level", LevelCommand},
    {"depth", DepthCommand},
    {"sd", DepthCommand},
    {"time", TimeCommand},
    {"ponder", PonderCommand},
    {"self", SelfPlayCommand},
    {"get", GetCommand},
    {"noise", NoiseCommand},
    {"hash", HashCommand},
    {"ev", EvaluationCommand},
    {"sp", ParametersCommand},
    {"pv", LineCommand},
    {"trace", TraceCommand},
    {"lmr", ReductionsCommand},
    {"debug", DebugCommand},
    {"multipv", MultiPvCommand, true},
    {"undo", UndoCommand},
    {"[", UndoCommand},
    {"]", RedoCommand},
    {"load", LoadCommand},
    {"save", SaveCommand},
    {"jump", JumpCommand},
    {"edit", EditCommand},
    {"book", BookCommand},
    {"mkbook", MakeBookCommand},
    {"set", SetCommand},
    {"tune", TuneWeightCommand},
    {"perft", PerftCommand},
    {"swap", SwapCommand},
    {"move", MoveCommand},
};

}  // namespace

void ConsoleCommand(const char* line) {
    if (line[0] == '\0') { return; }
    Command command;
    SplitWords(line, &command);
    const char* word = command.word[0];
    for (const ConsoleWord& w : console_words) {
        const bool meant =
            w.anywhere ? std::strstr(word, w.name) != nullptr : std::strcmp(word, w.name) == 0;
        if (meant) {
            w.run(command);
            return;
        }
    }
    EnterMove(word);
}

// The UCI protocol: one line at a time is turned into changes of the game position, of PBlock's
// options and time control, and into requests that the command loop serves. Front-end thread;
// whatever replaces memory that search threads use ends their search first.
#include "frontend/uci.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>

#include "board/trace.h"
#include "book/gamemove.h"
#include "eval/threadblock.h"
#include "frontend/commandloop.h"
#include "frontend/output.h"
#include "frontend/parameteroptions.h"
#include "frontend/pblock.h"
#include "frontend/standard.h"
#include "frontend/ucioptions.h"
#include "frontend/units.h"
#include "platform/words.h"
#include "search/search.h"
#include "search/ttable.h"

const char* const version = "Vesk 3.0";

namespace {

constexpr double NEW_GAME_SECONDS = 60.0;
constexpr double DEPTH_LIMIT_SECONDS = 360000.0;  // time of a move that is limited by depth
constexpr double UNLIMITED_SECONDS = 10000000.0;  // and of one limited by nodes, or by nothing
constexpr u8 MOVES_PER_CONTROL = 40;  // any number above 1: the moves to go come with each "go"

const char* AfterBlanks(const char* text) {
    while (*text == ' ') { ++text; }
    return text;
}

// --- options ---

// The names of many weights hold "value": there it must be a word of its own.
const char* FindValueWord(const char* text) {
    constexpr std::size_t length = std::string_view("value").size();
    const char* found = std::strstr(text, "value");
    if (!PBlock.options.weights_as_options) { return found; }
    while (found != nullptr &&
           (found == text || found[-1] != ' ' || (found[length] != ' ' && found[length] != '\0'))) {
        found = std::strstr(found + 1, "value");
    }
    return found;
}

void SetOptionCommand(const char* rest) {
    const char* name_word = std::strstr(rest, "name");
    const char* value_word = FindValueWord(rest);
    if (name_word == nullptr || (value_word != nullptr && value_word < name_word)) { return; }
    const char* begin = AfterBlanks(name_word + std::strlen("name"));
    const char* end = value_word != nullptr ? value_word : begin + std::strlen(begin);
    while (end > begin && end[-1] == ' ') { --end; }
    const std::string name(begin, std::max(begin, end));
    const std::string value =
        value_word != nullptr ? AfterBlanks(value_word + std::strlen("value")) : "";
    SetUciOption(name, value);
}

// --- position ---

// The move of a word such as "e7e8q", NO_MOVE when it names no squares. What comes after them and
// is no piece ("e2e4+") adds nothing.
Move MoveOfWord(const std::string& word) {
    constexpr std::size_t SQUARES_SIZE = 4;
    if (word.size() < SQUARES_SIZE) { return NO_MOVE; }
    const int from = SquareOfText(word);
    const int to = SquareOfText(std::string_view(word).substr(2));
    if (from == NO_SQUARE || to == NO_SQUARE) { return NO_MOVE; }
    switch (word.size() > SQUARES_SIZE ? word[SQUARES_SIZE] : ' ') {
        case 'q':
            return MakeMoveWord(from, to, PROMOTE_QUEEN);
        case 'n':
            return MakeMoveWord(from, to, PROMOTE_KNIGHT);
        case 'b':
            return MakeMoveWord(from, to, PROMOTE_BISHOP);
        case 'r':
            return MakeMoveWord(from, to, PROMOTE_ROOK);
        default:
            return MakeMoveWord(from, to);
    }
}

// The king's own move for one that has it take its rook, where that is another way to castle.
Move CastlingByRook(Move m) {
    const Position* pos = game_position;
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    if (!PBlock.options.conventions.rook_castling || from != init_king_sq[pos->side] ||
        (to != from + KING_SIDE_ROOK && to != from + QUEEN_SIDE_ROOK) ||
        pos->board[from] != PieceCode(pos->side, KING) ||
        pos->board[to] != PieceCode(pos->side, ROOK)) {
        return m;
    }
    return MakeMoveWord(from, to > from ? from + CASTLING_STEP : from - CASTLING_STEP);
}

// Makes the moves as long as they are possible; whether they leave a king in check is the GUI's
// affair, and is asked for before a search.
void PlayMoves(const char* text) {
    while (*(text = AfterBlanks(text)) != '\0') {
        const std::string word = GetWord(text);
        const Move m = CastlingByRook(MoveOfWord(word));
        if (m == NO_MOVE || !MoveIsPseudoLegal(game_position, m)) {
            ShowMessageF("info string %s is no possible move, the rest of the line is dropped",
                         word.c_str());
            break;
        }
        PlayGameMove(game_position, m);
        text += word.size();
    }
    game_position->undo[game_position->hist_count].move = NO_MOVE;
}

// False when the line ends here: without moves nothing more of it is read.
[[nodiscard]] bool PositionCommand(const char* rest) {
    const char* moves = std::strstr(rest, "moves");
    const std::string setup(rest, moves != nullptr ? moves : rest + std::strlen(rest));
    const std::size_t fen = setup.find("fen");
    if (setup.find("startpos") != std::string::npos) {
        FinishSearch();
        SetPosition(game_position, fen_opn);
    } else if (fen != std::string::npos) {
        FinishSearch();
        SetUpGame(AfterBlanks(setup.c_str() + fen + std::strlen("fen")));
    } else {
        return false;
    }
    if (moves == nullptr) { return false; }
    PlayMoves(moves + std::strlen("moves"));
    return true;
}

// --- what a "go" starts from ---

// The value of a keyword; nothing when the text does not hold it.
std::optional<std::string> KeywordValue(const char* text, const char* keyword) {
    const char* found = std::strstr(text, keyword);
    if (found == nullptr) { return std::nullopt; }
    return GetWord(found + std::strlen(keyword));
}

bool NamesAnyOf(const char* text, std::initializer_list<const char*> keywords) {
    return std::any_of(keywords.begin(), keywords.end(),
                       [text](const char* k) { return std::strstr(text, k) != nullptr; });
}

// Nothing of an earlier "go" is left: a clock starts without increment and moves to go, and without
// any limit the time of the command line holds.
void ForgetLimits(const char* rest) {
    PBlock.limits.max_depth = PBlock.options.go_limits.max_depth;
    PBlock.limits.node_limit = PBlock.options.go_limits.node_limit;
    PBlock.limits.mate_moves = 0;
    PBlock.root.wanted_count = 0;
    PBlock.time.moves_per_control = 0;
    PBlock.time.increment = 0.0;
    const bool clock = NamesAnyOf(rest, {"wtime", "btime", "winc", "binc", "movestogo"});
    if (!clock && !NamesAnyOf(rest, {"depth", "nodes", "movetime", "infinite"})) {
        PBlock.time.SetTimePerMove(PBlock.options.go_seconds);
    }
}

// The legal moves after "searchmoves", up to the first word that is none.
void ReadWantedMoves(const char* text) {
    RootFacts& root = PBlock.root;
    while (root.wanted_count < MAX_WANTED_MOVES) {
        text = AfterBlanks(text);
        const std::string word = GetWord(text);
        const Move m = CastlingByRook(MoveOfWord(word));
        if (!IsLegalMove(game_position, m)) { return; }
        root.wanted[root.wanted_count++] = m;
        text += word.size();
    }
}

// "searchmoves" and "mate". A mate is looked for at least some plies deeper than it lies.
void ReadStandardLimits(const char* rest) {
    constexpr int EXTRA_PLIES = 6;
    if (WhyUnplayable(game_position) != nullptr) { return; }
    if (const char* moves = std::strstr(rest, "searchmoves")) {
        ReadWantedMoves(moves + std::strlen("searchmoves"));
    }
    if (const auto value = KeywordValue(rest, "mate")) {
        const int moves = WholeNumber(value->c_str(), 0, MAX_DEPTH);
        PBlock.limits.mate_moves = static_cast<u8>(moves);
        PBlock.limits.max_depth =
            static_cast<i8>(std::min(PLIES_PER_MOVE * moves + EXTRA_PLIES, MAX_DEPTH));
        if (!NamesAnyOf(rest, {"wtime", "btime", "movetime"})) {
            PBlock.time.SetTimePerMove(UNLIMITED_SECONDS);
        }
    }
}

// --- other commands ---

void IdentifyCommand() {
    ShowMessageF("id name %s", version);
    ShowMessage("id author Dorin Kael");
    ShowUciOptions();
    PBlock.options.log = 0;
    PBlock.options.own_book = 0;
    ShowMessage("uciok");
    PBlock.options.protocol = PROTOCOL_UCI;
    SetTraceStyle(TextStyle());
    PBlock.control.selfplay = 0;
    DropWaitingRequests();
}

void NewGameCommand() {
    FinishSearch();
    PBlock.time.base_time = NEW_GAME_SECONDS;
    PBlock.time.ResetClocks();
    PBlock.time.increment = 0.0;
    PBlock.time.moves_per_control = 0;
    PBlock.control.stop = STOP_ABANDON;
    game_position->hist_count = 0;
    game_position->undo[0].move = NO_MOVE;
    if (PBlock.options.hash_mode != 0) { ClearTTable(); }
    ClearEvalCaches();
}

void GoCommand(const char* rest) {
    FinishSearch();
    PBlock.control.stop = STOP_ABANDON;
    ForgetLimits(rest);
    if (PBlock.options.conventions.all_limits) { ReadStandardLimits(rest); }
    PBlock.control.infinite = std::strstr(rest, "infinite") != nullptr;
    PBlock.control.start_request =
        std::strstr(rest, "ponder") != nullptr ? SEARCH_PONDER : SEARCH_THINK;
    PBlock.control.computer = game_position->side;
}

void StopCommand() {
    PBlock.control.stop = STOP_FINISH;  // a tool's search as well
    PBlock.control.computer = NO_COMPUTER;
    if (PBlock.control.search_state == SEARCH_IDLE) { return; }
    PBlock.control.infinite = 0;
    PBlock.control.search_state = SEARCH_THINK;
}

// --- search limits ---

double NotNegative(double value) { return std::max(value, 0.0); }

u64 NodeCount(const char* text) {
    return static_cast<u64>(std::max(0LL, std::strtoll(text, nullptr, 10)));
}

// Any line may carry limits; where two touch the same field the later one of this order holds.
void ReadLimits(const char* text) {
    const bool white = game_position->side == WHITE;
    const bool clock_holds =
        PBlock.options.conventions.all_limits && NamesAnyOf(text, {"wtime", "btime"});
    if (const auto value = KeywordValue(text, "wtime")) {
        PBlock.time.clock[WHITE] = NotNegative(DecimalNumber(value->c_str()) * SECONDS_PER_MS);
    }
    if (const auto value = KeywordValue(text, "btime")) {
        PBlock.time.clock[BLACK] = NotNegative(DecimalNumber(value->c_str()) * SECONDS_PER_MS);
    }
    if (const auto value = KeywordValue(text, white ? "winc" : "binc")) {
        PBlock.time.increment = NotNegative(DecimalNumber(value->c_str()) * SECONDS_PER_MS);
    }
    if (const auto value = KeywordValue(text, "movestogo")) {
        PBlock.time.moves_per_control = MOVES_PER_CONTROL;
        if (PBlock.limits.mate_moves == 0) { PBlock.limits.max_depth = MAX_DEPTH; }
        PBlock.time.moves_to_go = static_cast<u16>(WholeNumber(value->c_str(), 0, UINT16_MAX));
        PBlock.limits.node_limit = 0;
    }
    if (const auto value = KeywordValue(text, "depth")) {
        if (!clock_holds) { PBlock.time.SetTimePerMove(DEPTH_LIMIT_SECONDS); }
        PBlock.limits.max_depth = static_cast<i8>(WholeNumber(value->c_str(), 0, MAX_DEPTH));
    }
    if (const auto value = KeywordValue(text, "nodes")) {
        PBlock.limits.node_limit = NodeCount(value->c_str());
        if (!clock_holds) { PBlock.time.SetTimePerMove(UNLIMITED_SECONDS); }
    }
    if (const auto value = KeywordValue(text, "movetime")) {
        PBlock.time.SetTimePerMove(DecimalNumber(value->c_str()) * SECONDS_PER_MS);
        PBlock.time.increment = 0.0;
    }
    if (KeywordValue(text, "infinite")) {
        PBlock.time.SetTimePerMove(UNLIMITED_SECONDS);
        PBlock.limits.max_depth = MAX_DEPTH;
        PBlock.limits.node_limit = 0;
        PBlock.time.increment = 0.0;
    }
}

// For the log; the classic form shows it too.
void EchoCommand(const std::string& text) {
    if (!PBlock.options.log) { return; }
    const std::string echo = "CMD: " + text;
    if (PBlock.options.conventions.marked_remarks) {
        LogMessage(echo.c_str());
    } else {
        ShowMessage(echo.c_str());
    }
}

}  // namespace

void ProcessUCI(const char* line) {
    std::string text(line, std::strcspn(line, "\n"));
    if (text.empty()) { return; }
    EchoCommand(text);
    if (PBlock.options.conventions.free_words) {
        std::replace(text.begin(), text.end(), '\t', ' ');
    }
    const std::string command = GetWord(text.c_str());
    const std::size_t command_end = text.find_first_not_of(' ') + command.size();
    const char* rest = text.c_str() + std::min(command_end + 1, text.size());
    if (command != "setoption") { TakeUpParameters(); }
    if (command == "go" && GetWord(rest) == "perft" && PBlock.options.conventions.more_options) {
        static_cast<void>(StandardCommand("perft", rest));
        return;
    }
    if (command == "uci") {
        IdentifyCommand();
    } else if (command == "isready") {
        ShowMessage("readyok");
    } else if (command == "setoption") {
        SetOptionCommand(rest);
    } else if (command == "ucinewgame") {
        NewGameCommand();
    } else if (command == "position") {
        if (!PositionCommand(rest)) { return; }
    } else if (command == "go") {
        GoCommand(rest);
    } else if (command == "ponderhit") {
        if (PBlock.control.search_state == SEARCH_PONDER) {
            PBlock.control.search_state = SEARCH_THINK;
        }
    } else if (command == "stop") {
        StopCommand();
    } else if (command == "quit") {
        PBlock.control.stop = STOP_ABANDON;
        PBlock.control.quit = 1;
    } else if (PBlock.options.conventions.more_options && StandardCommand(command, rest)) {
        return;
    }
    ReadLimits(rest);
}

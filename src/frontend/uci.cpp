// The UCI protocol: one line at a time is turned into changes of the game position, of PBlock's
// options and time control, and into requests that the command loop serves. The two word readers
// stand here as well. Front-end thread; whatever replaces memory that search threads use ends their
// search first.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "eval/threadblock.h"
#include "frontend/frontend.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/threads.h"
#include "search/ttable.h"

const char* const version = "Vesk 3.0";

namespace {

constexpr double NEW_GAME_SECONDS = 60.0;
constexpr double FIXED_DEPTH_SECONDS = 360000.0;  // time of a move that is limited by depth
constexpr double UNLIMITED_SECONDS = 10000000.0;  // and of one limited by nodes, or by nothing
constexpr double SECONDS_PER_MS = 0.001;
constexpr u8 MOVES_PER_CONTROL = 40;  // any number above 1: the moves to go come with each "go"
constexpr int MAX_OVERHEAD_MS = 5000;
constexpr int MAX_MULTIPV = 20;
constexpr int FAILED_RESIZE_STATUS = -1;
constexpr std::size_t WORD_SIZE = 128;
constexpr std::size_t GAME_WORD_SIZE = 256;

const char* AfterBlanks(const char* text) {
    while (*text == ' ') ++text;
    return text;
}

// Ends the process at once: search threads may be running, so nothing is torn down around them.
[[noreturn]] void GiveUp(const char* what) {
    ShowMessageF("info string not enough memory for %s", what);
    CloseLog();
    std::_Exit(FAILED_RESIZE_STATUS);
}

// --- options ---

void SetHashSize(const char* value) {
    FinishSearch();
    PBlock.hash_mb = static_cast<u16>(WholeNumber(value, 0, MAX_HASH_MB));
    if (InitTTable() != 0) GiveUp("the hash table");
    ShowMessageF("info string Hash size set to %dM bytes", PBlock.hash_mb);
}

void SetThreads(const char* value) {
    FinishSearch();
    const int n = WholeNumber(value, 1, MAX_THREADS);
    if (n != PBlock.threads) {
        KillThreadPool(PBlock.threads);
        PBlock.threads = static_cast<u8>(n);
        if (CreateThreadPool(n) != 0) GiveUp("the search threads");
    }
    ShowMessageF("info string Threads set to %d", PBlock.threads);
}

void SetOption(const std::string& name, const char* value) {
    const bool is_true = std::strcmp(value, "true") == 0;
    if (name == "Hash") {
        SetHashSize(value);
    } else if (name == "Threads") {
        SetThreads(value);
    } else if (name == "Communication Overhead") {
        const int ms = WholeNumber(value, 0, MAX_OVERHEAD_MS);
        PBlock.comm_overhead = ms * SECONDS_PER_MS;
        ShowMessageF("info string Communication Overhead set to %d", ms);
    } else if (name == "Ponder") {
        PBlock.ponder = is_true;
    } else if (name == "MultiPV") {
        PBlock.multipv = static_cast<u16>(WholeNumber(value, 1, MAX_MULTIPV));
        ShowMessageF("info string MultiPV set to %d", PBlock.multipv.Get());
    } else if (name == "OwnBook") {
        PBlock.own_book = is_true;
        ShowMessageF("info string OwnBook set to %d", PBlock.own_book);
    } else if (name == "Log") {
        PBlock.log = std::strstr(value, "true") != nullptr;
        ShowMessageF("info string Log set to %d", PBlock.log.Get());
    } else if (name == "Clear Hash") {
        FinishSearch();
        if (PBlock.hash_mode != 0) ClearTTable();
        ShowMessage("Hash table cleared");
    }
}

void SetOptionCommand(const char* rest) {
    const char* name_word = std::strstr(rest, "name");
    const char* value_word = std::strstr(rest, "value");
    if (name_word == nullptr || (value_word != nullptr && value_word < name_word)) return;
    const char* begin = AfterBlanks(name_word + std::strlen("name"));
    const char* end = value_word != nullptr ? value_word : begin + std::strlen(begin);
    while (end > begin && end[-1] == ' ') --end;
    const std::string name(begin, std::max(begin, end));
    const char* value = value_word != nullptr ? GetWord(value_word + std::strlen("value")) : "";
    SetOption(name, value);
}

// --- position ---

// The move of a word such as "e7e8q", NO_MOVE when it is not one.
Move MoveOfWord(const std::string& word) {
    const auto square = [&word](std::size_t at) {
        const int file = word[at] - 'a';
        const int rank = word[at + 1] - '1';
        return file >= 0 && file < 8 && rank >= 0 && rank < 8 ? 8 * rank + file : NO_SQUARE;
    };
    if (word.size() != 4 && word.size() != 5) return NO_MOVE;
    const int from = square(0);
    const int to = square(2);
    if (from == NO_SQUARE || to == NO_SQUARE) return NO_MOVE;
    if (word.size() == 4) return MakeMoveWord(from, to);
    switch (word[4]) {
        case 'q':
            return MakeMoveWord(from, to, PROMOTE_QUEEN);
        case 'n':
            return MakeMoveWord(from, to, PROMOTE_KNIGHT);
        case 'b':
            return MakeMoveWord(from, to, PROMOTE_BISHOP);
        case 'r':
            return MakeMoveWord(from, to, PROMOTE_ROOK);
        default:
            return NO_MOVE;
    }
}

// Makes the moves as long as they are possible; whether they leave a king in check is the GUI's
// affair, and is asked for before a search.
void PlayMoves(const char* text) {
    while (*(text = AfterBlanks(text)) != '\0') {
        const std::string word = GetWord(text);
        const Move m = MoveOfWord(word);
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
bool PositionCommand(const char* rest) {
    const char* moves = std::strstr(rest, "moves");
    const std::string setup(rest, moves != nullptr ? moves : rest + std::strlen(rest));
    const std::size_t fen = setup.find("fen");
    if (setup.find("startpos") != std::string::npos) {
        FinishSearch();
        SetPosition(game_position, fen_opn);
    } else if (fen != std::string::npos) {
        FinishSearch();
        SetPosition(game_position, AfterBlanks(setup.c_str() + fen + std::strlen("fen")));
    } else {
        return false;
    }
    if (moves == nullptr) return false;
    PlayMoves(moves + std::strlen("moves"));
    return true;
}

// --- other commands ---

void IdentifyCommand() {
    ShowMessageF("id name %s", version);
    ShowMessage("id author Dorin Kael");
    ShowMessage("option name Hash type spin default 64 min 0 max 8192");
    ShowMessage("option name Threads type spin default 1 min 1 max 64");
    ShowMessage("option name Ponder type check default true");
    ShowMessage("option name MultiPV type spin default 1 min 1 max 20");
    ShowMessage("option name Clear Hash type button");
    ShowMessage("option name Communication Overhead type spin default 25 min 0 max 5000");
    ShowMessage("option name OwnBook type check default false");
    ShowMessage("option name Log type check default false");
    PBlock.log = 0;
    PBlock.own_book = 0;
    ShowMessage("uciok");
    PBlock.protocol = PROTOCOL_UCI;
    selfplay = 0;
    DropWaitingRequests();
}

void NewGameCommand() {
    FinishSearch();
    PBlock.base_time = NEW_GAME_SECONDS;
    PBlock.clock[WHITE] = PBlock.clock[BLACK] = NEW_GAME_SECONDS;
    PBlock.increment = 0.0;
    PBlock.moves_per_control = 0;
    PBlock.stop = STOP_ABANDON;
    game_position->hist_count = 0;
    game_position->undo[0].move = NO_MOVE;
    if (PBlock.hash_mode != 0) ClearTTable();
    ClearEvalCaches();
}

void GoCommand(const char* rest) {
    FinishSearch();
    PBlock.stop = STOP_ABANDON;
    PBlock.moves_per_control = 0;
    PBlock.max_depth = PBlock.line_max_depth;
    PBlock.node_limit = PBlock.line_node_limit;
    PBlock.infinite = std::strstr(rest, "infinite") != nullptr;
    PBlock.start_request = std::strstr(rest, "ponder") != nullptr ? SEARCH_PONDER : SEARCH_THINK;
    computer = game_position->side;
}

void StopCommand() {
    if (PBlock.search_state == SEARCH_IDLE) return;
    PBlock.stop = STOP_FINISH;
    PBlock.infinite = 0;
    PBlock.search_state = SEARCH_THINK;
    computer = 2;
}

// --- search limits ---

// The value of a keyword, nullptr when the text does not hold it.
const char* KeywordValue(const char* text, const char* keyword) {
    const char* found = std::strstr(text, keyword);
    return found != nullptr ? GetWord(found + std::strlen(keyword)) : nullptr;
}

double NotNegative(double value) { return std::max(value, 0.0); }

void FixedMove(double seconds) {
    PBlock.base_time = seconds;
    PBlock.moves_per_control = 1;
}

u64 NodeCount(const char* text) {
    return static_cast<u64>(std::max(0LL, std::strtoll(text, nullptr, 10)));
}

// Any line may carry limits; where two touch the same field the later one of this order holds.
void ReadLimits(const char* text) {
    const bool white = game_position->side == WHITE;
    if (const char* value = KeywordValue(text, "wtime"))
        PBlock.clock[WHITE] = NotNegative(DecimalNumber(value) * SECONDS_PER_MS);
    if (const char* value = KeywordValue(text, "btime"))
        PBlock.clock[BLACK] = NotNegative(DecimalNumber(value) * SECONDS_PER_MS);
    if (const char* value = KeywordValue(text, white ? "winc" : "binc"))
        PBlock.increment = NotNegative(DecimalNumber(value) * SECONDS_PER_MS);
    if (const char* value = KeywordValue(text, "movestogo")) {
        PBlock.moves_per_control = MOVES_PER_CONTROL;
        PBlock.max_depth = MAX_DEPTH;
        PBlock.moves_to_go = static_cast<u16>(WholeNumber(value, 0, UINT16_MAX));
        PBlock.node_limit = 0;
    }
    if (const char* value = KeywordValue(text, "depth")) {
        FixedMove(FIXED_DEPTH_SECONDS);
        PBlock.max_depth = static_cast<i8>(WholeNumber(value, 0, MAX_DEPTH));
    }
    if (const char* value = KeywordValue(text, "nodes")) {
        PBlock.node_limit = NodeCount(value);
        FixedMove(UNLIMITED_SECONDS);
    }
    if (const char* value = KeywordValue(text, "movetime")) {
        FixedMove(DecimalNumber(value) * SECONDS_PER_MS);
        PBlock.increment = 0.0;
    }
    if (KeywordValue(text, "infinite") != nullptr) {
        FixedMove(UNLIMITED_SECONDS);
        PBlock.max_depth = MAX_DEPTH;
        PBlock.node_limit = 0;
        PBlock.increment = 0.0;
    }
}

}  // namespace

void ProcessUCI(const char* line) {
    const std::string text(line, std::strcspn(line, "\n"));
    if (text.empty()) return;
    if (PBlock.log) ShowMessageF("CMD: %s", text.c_str());
    const std::string command = GetWord(text.c_str());
    const std::size_t command_end = text.find_first_not_of(' ') + command.size();
    const char* rest = text.c_str() + std::min(command_end + 1, text.size());
    if (command == "uci") {
        IdentifyCommand();
    } else if (command == "isready") {
        ShowMessage("readyok");
    } else if (command == "setoption") {
        SetOptionCommand(rest);
    } else if (command == "ucinewgame") {
        NewGameCommand();
    } else if (command == "position") {
        if (!PositionCommand(rest)) return;
    } else if (command == "go") {
        GoCommand(rest);
    } else if (command == "ponderhit") {
        if (PBlock.search_state == SEARCH_PONDER) PBlock.search_state = SEARCH_THINK;
    } else if (command == "stop") {
        StopCommand();
    } else if (command == "quit") {
        PBlock.stop = STOP_ABANDON;
        PBlock.quit = 1;
    }
    ReadLimits(rest);
}

const char* GetWord(const char* text) {
    static char word[WORD_SIZE];
    text = AfterBlanks(text);
    const std::size_t length = std::min(std::strcspn(text, " \r\n"), WORD_SIZE - 1);
    std::memcpy(word, text, length);
    word[length] = '\0';
    return word;
}

const char* NextWord(const char* text) {
    static const char* cursor = "";
    static char word[GAME_WORD_SIZE];
    if (text != nullptr) cursor = text;
    while (*cursor != '\0') {
        const char first = *cursor;
        if (first == ' ' || first == '\t') {
            ++cursor;
            continue;
        }
        if (std::strchr("{}()", first) != nullptr) {
            ++cursor;
            word[0] = first;
            word[1] = '\0';
            return word;
        }
        std::size_t length = 0;
        for (; std::strchr(" \t{}()", *cursor) == nullptr; ++cursor) {  // NUL ends it too
            const unsigned char c = static_cast<unsigned char>(*cursor);
            if (c >= 32 && c <= 127 && length + 1 < GAME_WORD_SIZE)
                word[length++] = static_cast<char>(c);
        }
        word[length] = '\0';
        if (length != 0) return word;
    }
    cursor = "";  // the text may be gone by the next call
    return nullptr;
}

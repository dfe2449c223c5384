// The console command language: one complete line in, its effect on the game position (slot 0) and
// on PBlock, its answer through the message output. Here: the words of a line, the table of
// commands, and the help that is made of it.

#include "frontend/console.h"

#include <algorithm>
#include <cstring>

#include "frontend/consolecommands.h"
#include "frontend/output.h"
#include "frontend/uci.h"
#include "platform/lineedit.h"
#include "platform/terminal.h"

namespace {

// Splits at every single blank; what is too long is cut.
Command SplitWords(const char* line) {
    Command command;
    command.line = line;
    const char* start = line;
    for (std::string& word : command.word) {
        const char* end = std::strchr(start, ' ');
        const std::size_t length =
            end == nullptr ? std::strlen(start) : static_cast<std::size_t>(end - start);
        word.assign(start, std::min(length, CONSOLE_WORD_LENGTH));
        if (end == nullptr) { break; }
        start = end + 1;
    }
    return command;
}

// The whole line has to be the word: a longer one stays without effect.
void UciCommand(const Command& c) {
    if (c.line == c.word[0]) { ProcessUCI(c.line.c_str()); }
}

void HelpCommand(const Command& c);

// clang-format off
constexpr ConsoleWord console_words[] = {
    {"help", "[WORD]", "this list, or what one command does", HelpCommand},

    {"new", "", "start position, clocks reset", NewCommand},
    {"fen", "TEXT", "sets the position", FenCommand},
    {"move", "MOVE", "plays a move; the move alone does so too", MoveCommand},
    {"undo", "", "takes the last move back", UndoCommand},
    {"[", "", "takes the last move back", UndoCommand},
    {"]", "", "plays a move again that was taken back", RedoCommand},
    {"jump", "PLY", "goes to the position after so many half-moves", JumpCommand},
    {"bd", "", "shows the board", BoardCommand},
    {"board", "style WORD", "how the board is drawn: ascii or symbols", BoardStyleCommand},
    {"edit", "", "edits the board", EditCommand},

    {"go", "DEPTH", "searches to that depth without a time limit", GoCommand},
    {"an", "", "analyses until stopped", AnalyseCommand},
    {".", "", "stops the search", StopCommand},
    {"wait", "", "hears nothing but a . until the search has ended", WaitCommand},
    {"mv", "", "thinks about the side to move, plays nothing", ThinkCommand},
    {"self", "", "plays both sides", SelfPlayCommand},
    {"force", "", "stops; the engine plays no side", ForceCommand},
    {"level", "MOVES BASE INC", "time control: moves, seconds or min:sec, increment", LevelCommand},
    {"time", "SECONDS", "the engine's clock", TimeCommand},
    {"depth", "N", "depth limit, at most 66", DepthCommand},
    {"sd", "N", "depth limit, at most 66", DepthCommand},
    {"multipv", "N", "number of lines that are searched, 1 to 20", MultiPvCommand, true},
    {"noise", "SECONDS", "search lines are shown after so much time", NoiseCommand},
    {"ponder", "0/1", "allows thinking in the opponent's time", PonderCommand},
    {"hash", "MODE", "0 no table, 1 cleared before go and an, 2 kept", HashCommand},
    {"quit", "", "ends the program", QuitCommand},

    {"ev", "", "shows the evaluation, term by term", EvaluationCommand},
    {"debug", "0/1", "shows the evaluation instead of the board", DebugCommand},
    {"pv", "", "shows the line of best moves", LineCommand},
    {"perft", "DEPTH", "counts legal move sequences", PerftCommand},
    {"swap", "", "shows what captures win on each square", SwapCommand},
    {"sp", "", "shows evaluation tables", ParametersCommand},
    {"lmr", "", "shows the two reduction tables", ReductionsCommand},
    {"trace", "PLY", "writes the moves of searches to trace.txt", TraceCommand},
    {"set", "NAME VALUE", "selectivity: one value, ss_off, or the defaults", SetCommand},

    {"load", "FILE [N or TEXT]", "loads game N, or the first game with TEXT", LoadCommand},
    {"save", "", "appends the game to tmp.pgn", SaveCommand},
    {"get", "ID", "sets the position with that id from test.epd", GetCommand},
    {"book", "", "lists the book moves of the position", BookCommand},
    {"mkbook", "", "builds book.opn from book.pgn", MakeBookCommand},
    {"tune", "NAME RANGE", "finds the best value of a weight for tune.epd", TuneWeightCommand},
    {"uci", "", "switches to the UCI protocol", UciCommand},
};
// clang-format on

// The row that a word calls, nullptr when it is no command.
const ConsoleWord* FindConsoleWord(const std::string& word) {
    const auto* row = std::find_if(
        std::begin(console_words), std::end(console_words), [&word](const ConsoleWord& w) {
            return w.anywhere ? word.find(w.name) != std::string::npos : word == w.name;
        });
    return row == std::end(console_words) ? nullptr : row;
}

void ShowHelp(const ConsoleWord& w) {
    constexpr int USAGE_WIDTH = 22;
    const std::string usage = std::string(w.name) + ' ' + w.arguments;
    ShowMessageF("%-*s %s", USAGE_WIDTH, usage.c_str(), w.help);
}

void HelpCommand(const Command& c) {
    const std::string& wanted = c.word[1];
    if (wanted.empty()) {
        for (const ConsoleWord& w : console_words) { ShowHelp(w); }
    } else if (const ConsoleWord* w = FindConsoleWord(wanted)) {
        ShowHelp(*w);
    } else {
        ShowMessageF("%s is no command; help lists them all", wanted.c_str());
    }
}

}  // namespace

std::span<const ConsoleWord> ConsoleWords() { return console_words; }

void ConsoleCommand(const char* line) {
    if (line[0] == '\0') { return; }
    const Command command = SplitWords(line);
    if (const ConsoleWord* w = FindConsoleWord(command.word[0])) {
        w->run(command);
    } else {
        EnterMove(command.word[0]);
    }
}

void StartConsole() {
    if (PBlock.options.protocol != PROTOCOL_CONSOLE) { return; }
    if (TerminalShowsSymbols()) { PBlock.options.board_style = BoardStyle::Symbols; }
    StartLineEditing(ConsoleCompletions);
}
